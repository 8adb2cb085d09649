#include "core/platform/state_folder.hpp"

#include <string_view>

namespace kestu {

namespace {

/// A base directory as XDG has it, or where there is no such variable its place below the home folder.
std::optional<std::filesystem::path> folder(const Environment& environment, std::string_view variable,
                                            const std::filesystem::path& belowHome) {
  std::filesystem::path given = environment.get(variable).value_or("");
  if (given.is_absolute()) return given / "kestu"; // a relative one is to be ignored
  std::filesystem::path home = environment.get("HOME").value_or("");
  if (!home.is_absolute()) return std::nullopt;
  return home / belowHome / "kestu";
}

#ifdef __APPLE__
constexpr const char* states = "Library/Application Support";
constexpr const char* caches = "Library/Caches";
#else
constexpr const char* states = ".local/state";
constexpr const char* caches = ".cache";
#endif

} // namespace

std::optional<std::filesystem::path> stateFolder(const Environment& environment) {
  return folder(environment, "XDG_STATE_HOME", states);
}

std::optional<std::filesystem::path> cacheFolder(const Environment& environment) {
  return folder(environment, "XDG_CACHE_HOME", caches);
}

} // namespace kestu
