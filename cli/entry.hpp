#pragma once

#include "cli/context.hpp"

#include <string>
#include <vector>

namespace kestu {

/// Runs what the arguments (less the program's path) ask for, and gives the exit status. Every failure is written here;
/// Stopped and BrokenPipe pass through.
int runEntry(Context& context, const std::vector<std::string>& arguments);

} // namespace kestu
