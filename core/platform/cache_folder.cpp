#include "core/platform/cache_folder.hpp"

namespace kestu {

std::optional<std::filesystem::path> cacheFolder(const Environment& environment) {
  std::filesystem::path given = environment.get("XDG_CACHE_HOME").value_or("");
  if (given.is_absolute()) return given / "kestu"; // a relative one is to be ignored
  std::filesystem::path home = environment.get("HOME").value_or("");
  if (!home.is_absolute()) return std::nullopt;
#ifdef __APPLE__
  return home / "Library" / "Caches" / "kestu";
#else
  return home / ".cache" / "kestu";
#endif
}

} // namespace kestu
