#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kestu {

/// What an app says of itself in its Info.plist.
struct InfoPlist {
  std::optional<std::string> version; ///< CFBundleShortVersionString
  std::optional<std::string> number;  ///< CFBundleVersion
  std::string platform;               ///< "ios", "tvos" or "visionos"

  /// Of a property list in XML or binary form; none when it isn't one.
  static std::optional<InfoPlist> read(std::string_view bytes);
};

} // namespace kestu
