#include "core/console/readable.hpp"

#include "core/console/format.hpp"

namespace kestu {

std::string readableStart(std::string_view text) {
  constexpr std::size_t longest = 10'000; // bytes
  if (text.size() <= longest) return std::string(text);
  std::size_t end = longest;
  while (longest - end < 3 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80) --end;
  return std::string(text.substr(0, end)) + "… (" + Format::bytes(text.size()) + " in all)";
}

} // namespace kestu
