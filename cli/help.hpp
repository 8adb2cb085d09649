#pragma once

#include "cli/command.hpp"

#include <string>

namespace kestu {

/// "kestu assets push <version> [options]"
std::string usage(const Command& command);

/// The whole help of a command, laid out for the width in columns.
std::string help(const Command& command, int width);

} // namespace kestu
