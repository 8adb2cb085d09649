#pragma once

#include <array>
#include <string>
#include <string_view>

namespace kestu {

/// The platforms of App Store Connect as they are typed and sent, in the order in which they are listed.
inline constexpr std::array<std::string_view, 4> platforms = {"ios", "macos", "tvos", "visionos"};

/// "iOS" of "ios"; any other text made printable.
std::string platformLabel(std::string_view platform);

} // namespace kestu
