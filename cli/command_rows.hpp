#pragma once

#include "cli/command.hpp"

#include <string_view>
#include <vector>

namespace kestu {

struct CommandRow {
  std::string_view word;
  std::string_view abstract;
};

/// The top-level commands, in the order of the help.
const std::vector<CommandRow>& commandRows();

/// The root command with its rows, none of them expanded: enough for its help.
Command bareRoot();

} // namespace kestu
