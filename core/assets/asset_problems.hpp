#pragma once

#include <string>
#include <vector>

namespace kestu {

/// A scan's problems, each on a line of its own after a line feed, printable. `grouped` puts files with the same fault
/// in one line: the first, how many more there are and in which languages.
std::string problemLines(const std::vector<std::string>& problems, bool grouped);

} // namespace kestu
