#pragma once

#include "cli/command.hpp"
#include "cli/page.hpp"

#include <string>
#include <vector>

namespace kestu {

/// "kestu assets push <version> [options]"
std::string usage(const Command& command);

/// What the help of a command tells.
Page page(const Command& command);

/// The pages of the command and of all below it, each before its own subcommands.
std::vector<Page> allPages(const Command& command);

/// The whole help of a command, laid out for the width in columns.
std::string help(const Command& command, int width);

} // namespace kestu
