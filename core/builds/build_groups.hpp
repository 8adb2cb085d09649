#pragma once

#include "core/builds/managed_build.hpp"

#include <string>
#include <vector>

namespace kestu::BuildGroups {

/// The app's groups.
std::vector<BuildGroup> fetch(const Client& client, const std::string& appPath);

/// The groups of these names, letter case ignored where no name is written so. An unknown name, and one that several
/// groups have, is a CLIError.
std::vector<BuildGroup> named(const std::vector<std::string>& names, const std::vector<BuildGroup>& groups);

} // namespace kestu::BuildGroups
