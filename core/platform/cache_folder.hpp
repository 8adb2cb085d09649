#pragma once

#include "core/support/environment.hpp"

#include <filesystem>
#include <optional>

namespace kestu {

/// Where this user's programs keep what can be made again, for this one: below XDG_CACHE_HOME or ~/.cache, on macOS
/// ~/Library/Caches. None without a home folder. It may not be there yet.
std::optional<std::filesystem::path> cacheFolder(const Environment& environment);

} // namespace kestu
