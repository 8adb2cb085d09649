#include "core/platform/machine_name.hpp"

#include <array>

#include <unistd.h>

namespace kestu {

std::string machineName() {
  std::array<char, 256> name{};
  if (gethostname(name.data(), name.size() - 1) != 0 || name[0] == '\0') return "this computer";
  std::string text(name.data());
  if (text.ends_with(".local")) text.resize(text.size() - 6);
  return text;
}

} // namespace kestu
