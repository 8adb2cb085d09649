#pragma once

#include "cli/context.hpp"
#include "cli/options.hpp"
#include "core/assets/asset_catalog.hpp"

#include <optional>
#include <string>
#include <vector>

namespace kestu {

/// The kinds that a command is about: one, or every one.
struct KindChoice {
  std::optional<AssetKind> only;

  std::vector<AssetKind> kinds() const {
    if (only) return {*only};
    return {allAssetKinds.begin(), allAssetKinds.end()};
  }
  std::string plural() const { return only ? std::string(facts(*only).plural) : "assets"; }
};

struct PlatformOption {
  std::optional<std::string> platform;

  void declare(Command& command);
};

/// Where a command's calls go: the app's path, and the platform that they are about.
struct Target {
  std::string path;
  std::string platform;
  std::vector<std::string> platforms; ///< every one that the app is on
};

Target resolve(const Client& client, const AppTarget& app, const PlatformOption& option, const Context& context);

/// The displays of the target's platform.
Response<AssetCatalog> fetchCatalog(const Client& client, const Target& target);

/// The displays of all the app's platforms, so that a folder of another one's display is known for what it is.
AssetCatalog fetchCatalogs(const Client& client, const Target& target, const std::stop_token& stop);

/// "iOS" for "ios".
std::string platformName(const std::string& platform);

void addAssetPush(Command& group, const KindChoice& choice);
void addAssetPull(Command& group, const KindChoice& choice);

} // namespace kestu
