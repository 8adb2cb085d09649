#pragma once

#include "core/console/table.hpp"

#include <string>

namespace kestu {

class Console;

namespace Format {

/// A table for people: headings in bold, no columns that are empty throughout. In a window that it is too wide for each
/// row stands in lines of its own: its first cell, and below it the others, each after its heading.
std::string tableIn(const Table& table, const Console& console);

} // namespace Format

} // namespace kestu
