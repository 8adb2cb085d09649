#include "core/platform/state_folder.hpp"

namespace kestu {

std::optional<std::filesystem::path> stateFolder(const Environment& environment) {
  std::filesystem::path given = environment.get("XDG_STATE_HOME").value_or("");
  if (given.is_absolute()) return given / "kestu"; // a relative one is to be ignored
  std::filesystem::path home = environment.get("HOME").value_or("");
  if (!home.is_absolute()) return std::nullopt;
#ifdef __APPLE__
  return home / "Library" / "Application Support" / "kestu";
#else
  return home / ".local" / "state" / "kestu";
#endif
}

} // namespace kestu
