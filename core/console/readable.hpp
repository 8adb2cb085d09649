#pragma once

#include <string>
#include <string_view>

namespace kestu {

/// The text as it is, but for one that nobody reads to its end: of that the start, and how much there is in all.
std::string readableStart(std::string_view text);

} // namespace kestu
