#pragma once

#include "cli/command.hpp"

#include <functional>
#include <string>
#include <vector>

namespace kestu {

/// A top-level command: its subcommands and options are only declared when it is the one that runs.
struct TreeRow {
  std::string_view word;
  std::string_view abstract;
  void (*expand)(Command&); ///< none while the command is not in this version
};

const std::vector<TreeRow>& commandTree();

/// The root command with its rows, of which the one named by `word` is expanded, or every one for "*".
Command rootCommand(const std::string& word);

} // namespace kestu
