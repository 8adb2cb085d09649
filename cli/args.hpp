#pragma once

#include "cli/command.hpp"

#include <string>
#include <vector>

namespace kestu {

/// What was asked for: a command to run, or its help.
struct Parsed {
  const Command* command = nullptr;
  bool help = false;
};

/// Parses the arguments into the command's options. Throws a UsageError whose text is whole, usage and all.
Parsed parse(const Command& root, const std::vector<std::string>& arguments);

} // namespace kestu
