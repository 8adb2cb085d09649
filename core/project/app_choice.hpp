#pragma once

#include "core/service/client.hpp"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace kestu {

/// One of the account's apps.
struct App {
  std::int64_t appId = 0;
  std::string bundleId;
  std::string name;
  std::vector<std::string> platforms;
  std::string primaryLocale;

  static App read(const JSONValue& value);

  /// "Daylight Weather (1234567890)", made printable.
  std::string described() const;
};

/// The apps that the sign-in covers, in the service's order, with the answer's bytes.
Response<std::vector<App>> fetchApps(const Client& client);

/// Which app a command works on.
namespace AppChoice {

struct Chosen {
  App app;              ///< its IDs alone when it is linked and the sign-in doesn't list it
  bool foreign = false; ///< it was named, and the repository is linked to another one
};

/// The same as `resolve` out of the apps of the sign-in.
Chosen choose(const std::optional<std::string>& app, const std::vector<App>& apps, const std::filesystem::path& folder);

/// The App Store ID of the app named by `app`, else of the repository's linked one. CLIErrors name what to do.
std::int64_t resolve(const std::optional<std::string>& app, const Client& client, const std::filesystem::path& folder);

/// The app that the text names: its ID, its bundle ID, its name, or how only its name begins, case and diacritics
/// ignored. None and several are CLIErrors.
const App& match(const std::string& text, const std::vector<App>& apps);

/// The app whose bundle ID the repository's Xcode projects set. None and several are CLIErrors.
const App& ofRepository(const std::filesystem::path& root, const std::vector<App>& apps);

} // namespace AppChoice

} // namespace kestu
