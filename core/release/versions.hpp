#pragma once

#include "core/console/text_style.hpp"
#include "core/listing/store_version.hpp"
#include "core/service/client.hpp"

#include <optional>
#include <string>
#include <vector>

/// An app's versions, newest first as the service lists them.
namespace kestu::Versions {

/// Of the app with this path ("/v1/apps/123"); only one platform's when it is given.
Response<std::vector<StoreVersion>> fetch(const Client& client, const std::string& appPath,
                                          const std::optional<std::string>& platform);

/// The version of that number; none when there is none on the platform.
const StoreVersion* find(const std::vector<StoreVersion>& all, const std::string& number, const std::string& platform);

/// The one that is on its way to the App Store, of which Apple allows one a platform.
const StoreVersion* underWay(const std::vector<StoreVersion>& all, const std::string& platform);

/// How a command line names what it is about beside the version; mostly empty.
struct CommandTail {
  std::string platform; ///< " --platform macos"
  std::string app;      ///< " --app Ledger"

  std::string all() const { return platform + app; }
};

/// What comes next for a version: "App Review decides first: kestu status shows when it has."; empty when nothing does.
std::string advice(const StoreVersion& version, const CommandTail& tail);

/// The most useful command for it: "kestu release now 1.2".
std::string nextCommand(const StoreVersion& version, const CommandTail& tail);

/// "kestu submit 1.2 --platform macos"
std::string commandLine(const std::string& command, const StoreVersion& version, const CommandTail& tail);

/// The state with how far its phased release is, coloured by what it asks for: "on the App Store, in phases, day 3 of
/// 7".
std::string stateText(const StoreVersion& version, const TextStyles& style);

/// "1.2 for iOS is in review, so it can't be released. App Review decides first: …"
CLIError refusal(const StoreVersion& version, const std::string& reason, const CommandTail& tail);

} // namespace kestu::Versions
