#pragma once

#include "core/support/environment.hpp"

#include <filesystem>
#include <optional>

namespace kestu {

/// Where this user's programs keep what they remember between runs, for this one: below XDG_STATE_HOME or
/// ~/.local/state, on macOS ~/Library/Application Support. None without a home folder. It may not be there yet.
std::optional<std::filesystem::path> stateFolder(const Environment& environment);

/// Where this user's programs keep what they can do without: below XDG_CACHE_HOME or ~/.cache, on macOS
/// ~/Library/Caches. None without a home folder. It may not be there yet.
std::optional<std::filesystem::path> cacheFolder(const Environment& environment);

} // namespace kestu
