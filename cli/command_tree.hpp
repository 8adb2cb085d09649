#pragma once

#include "cli/command.hpp"

#include <string>

namespace kestu {

/// The root command with its rows, of which the one named by `word` has its subcommands and options declared, or every
/// one for "*".
Command rootCommand(const std::string& word);

} // namespace kestu
