#pragma once

#include <filesystem>
#include <optional>

namespace kestu {

/// Where the running program's file is, links resolved; none when the system doesn't say.
std::optional<std::filesystem::path> executablePath();

} // namespace kestu
