#include "core/support/uuid.hpp"

#include <cctype>

namespace kestu {

std::optional<std::string> uuid(std::string_view text) {
  std::string result(text);
  for (std::size_t i = 0; i < result.size(); ++i) {
    bool dash = i == 8 || i == 13 || i == 18 || i == 23;
    auto c = static_cast<unsigned char>(result[i]);
    if (dash ? c != '-' : std::isxdigit(c) == 0) return std::nullopt;
    result[i] = static_cast<char>(std::tolower(c));
  }
  return result.size() == 36 ? std::optional(result) : std::nullopt;
}

} // namespace kestu
