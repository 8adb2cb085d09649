#include "core/support/base64.hpp"

#include <cstddef>
#include <cstdint>

namespace kestu {

std::string base64(std::string_view bytes) {
  constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text((bytes.size() + 2) / 3 * 4, '=');
  std::size_t at = 0;
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const std::size_t count = bytes.size() - i < 3 ? bytes.size() - i : 3;
    std::uint32_t group = 0;
    for (std::size_t j = 0; j < 3; ++j) {
      group = group << 8U | (j < count ? static_cast<unsigned char>(bytes[i + j]) : 0U);
    }
    for (std::size_t j = 0; j <= count; ++j) text[at + j] = digits[group >> (18U - 6U * j) & 0x3FU];
    at += 4;
  }
  return text;
}

} // namespace kestu
