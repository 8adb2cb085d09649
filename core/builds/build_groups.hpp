#pragma once

#include "core/builds/managed_build.hpp"

#include <string>
#include <vector>

namespace kestu::BuildGroups {

/// The app's groups.
std::vector<BuildGroup> fetch(const Client& client, const std::string& appPath);

/// The groups of these names, each once; letter case and blanks around a name are ignored where no name is written so.
/// Unknown names, and one that several groups have, are a CLIError.
std::vector<BuildGroup> named(const std::vector<std::string>& names, const std::vector<BuildGroup>& groups);

} // namespace kestu::BuildGroups
