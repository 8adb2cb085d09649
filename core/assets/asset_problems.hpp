#pragma once

#include <string>
#include <vector>

namespace kestu {

/// A scan's problems, each on a line of its own after a line feed, printable. For a terminal of so many columns files
/// with the same fault share a line (the first, how many more there are and in which languages), and lines that are too
/// long break between words; 0 columns, for a pipe, leave each as it is.
std::string problemLines(const std::vector<std::string>& problems, int columns);

} // namespace kestu
