#pragma once

#include <cstddef>
#include <string_view>

namespace kestu {

/// The columns that a terminal gives a text of the program's own: 2 for a wide character, 0 for a mark that combines.
/// From a short table of ranges, for what starts without ICU; Text::columns is for text from outside.
std::size_t plainColumns(std::string_view text);

} // namespace kestu
