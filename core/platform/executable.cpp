#include "core/platform/executable.hpp"

#include <system_error>

#ifdef __APPLE__
#include <cstdint>
#include <string>

#include <mach-o/dyld.h>
#endif

namespace kestu {

std::optional<std::filesystem::path> executablePath() {
#ifdef __APPLE__
  std::uint32_t capacity = 0;
  _NSGetExecutablePath(nullptr, &capacity);
  std::string invoked(capacity, '\0');
  if (_NSGetExecutablePath(invoked.data(), &capacity) != 0) return std::nullopt;
  std::filesystem::path link = invoked.c_str();
#else
  std::filesystem::path link = "/proc/self/exe";
#endif
  std::error_code failed;
  auto path = std::filesystem::canonical(link, failed);
  return failed ? std::nullopt : std::optional(path);
}

} // namespace kestu
