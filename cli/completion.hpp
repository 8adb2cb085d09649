#pragma once

#include "cli/command.hpp"

#include <optional>
#include <string>

namespace kestu {

/// A completion script for "bash", "zsh" or "fish", from the whole tree; none for another shell.
std::optional<std::string> completionScript(const Command& root, const std::string& shell);

} // namespace kestu
