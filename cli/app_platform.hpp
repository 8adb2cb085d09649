#pragma once

#include "cli/options.hpp"
#include "core/assets/asset_catalog.hpp"
#include "core/service/client.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestu {

struct Context;

/// The app that a command is about as the service has it, and the platform.
struct AppOnPlatform {
  std::int64_t appId = 0;
  std::string path;                   ///< of the app's calls: "/v1/apps/1234567890"
  std::string platform;               ///< the one asked for, else the app's first
  std::string firstPlatform;          ///< of ios, macos, tvos and visionos; ios when the app has none yet
  std::vector<std::string> platforms; ///< every one that the app is on, and the one asked for
  std::string primaryLocale;          ///< empty when the sign-in doesn't list the app
  std::string name;                   ///< likewise
  std::string bundleId;
  bool foreign = false; ///< the repository is linked to another app

  /// "Daylight (com.example.daylight)", or "… (com.example.daylight, not this repo's app)"; printable.
  std::string appTitle() const;

  /// What a change is about: "Daylight (com.example.daylight) 1.2 for iOS"; printable.
  std::string title(std::string_view version) const;

  static AppOnPlatform resolve(const Client& client, const AppTarget& app, const std::optional<std::string>& platform,
                               const Context& context);
};

/// The displays of the platform.
Response<AssetCatalog> fetchCatalog(const Client& client, const AppOnPlatform& app);

/// The displays of all the app's platforms, so that a folder of another one's display is known for what it is.
AssetCatalog fetchCatalogs(const Client& client, const AppOnPlatform& app);

} // namespace kestu
