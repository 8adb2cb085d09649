#include "core/project/platform.hpp"

#include "core/console/printable.hpp"

#include <algorithm>

namespace kestu {

std::string platformLabel(std::string_view platform) {
  static constexpr std::array<std::string_view, 4> labels = {"iOS", "macOS", "tvOS", "visionOS"};
  const auto* found = std::find(platforms.begin(), platforms.end(), platform);
  if (found == platforms.end()) return printable(platform);
  return std::string(labels.at(static_cast<std::size_t>(found - platforms.begin())));
}

} // namespace kestu
