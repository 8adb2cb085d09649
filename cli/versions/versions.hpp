#pragma once

#include "cli/app_platform.hpp"
#include "cli/context.hpp"
#include "cli/options.hpp"
#include "core/release/versions.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestu {

/// The options that name a version.
struct VersionTarget {
  std::optional<std::string> version;
  std::optional<std::string> platform;
  AppTarget app;

  void declare(Command& command, const std::string& help, bool required = true);
  void declarePlace(Command& command); ///< all but the version
};

/// An app's versions on the platform that a command is about, and what the command needs beside them.
struct VersionsFound {
  Client client;
  AppOnPlatform app;
  std::vector<StoreVersion> all; ///< of that platform
  Versions::CommandTail tail;    ///< for the command lines that are named

  static VersionsFound on(const Context& context, const VersionTarget& target);

  /// The version of that number; a CLIError when App Store Connect has none.
  const StoreVersion& named(const std::string& number) const;

  /// A change of the version ("/submit"), or with an empty word of the version itself.
  ChangeRequest request(const StoreVersion& version, const std::string& word,
                        const std::optional<JSONData>& body = std::nullopt) const;

  /// "kestu submit 1.2 --platform macos"
  std::string line(const std::string& command, const std::string& number) const;
  std::string status() const { return "kestu status" + tail.app; }
};

/// The tail of command lines about another platform than the app's first, or another app than the repository's.
Versions::CommandTail commandTail(const AppTarget& app, const std::optional<std::string>& platform,
                                  const AppOnPlatform& on);

} // namespace kestu
