#include "core/release/web_address.hpp"

#include "core/support/text.hpp"
#include "core/support/utf8.hpp"

#include <algorithm>
#include <cctype>
#include <string>

namespace kestu {

namespace {

/// Characters that a URL never holds as they are, and escapes that aren't ones.
bool isWellFormed(std::string_view text) {
  constexpr std::string_view refused = "\"<>\\^`{|}";
  auto isHexadecimal = [&](std::size_t i) {
    return i < text.size() && std::isxdigit(static_cast<unsigned char>(text[i])) != 0;
  };
  for (std::size_t position = 0; position < text.size();) {
    UTF8::Decoded decoded = UTF8::decode(text, position);
    char byte = text[position];
    if (decoded.broken || decoded.value < 0x20 || decoded.value == 0x7F || UTF8::isWhiteSpace(decoded.value)) {
      return false;
    }
    if (refused.find(byte) != std::string_view::npos) return false;
    if (byte == '%' && !(isHexadecimal(position + 1) && isHexadecimal(position + 2))) return false;
    position += decoded.length;
  }
  return true;
}

/// The host of what stands between "//" and the path; empty when the port isn't one.
std::string_view hostOf(std::string_view authority) {
  authority.remove_prefix(authority.rfind('@') + 1); // 0 without one
  std::size_t end = authority.starts_with('[') ? authority.find(']') : authority.find(':');
  if (authority.starts_with('[')) {
    if (end == std::string_view::npos || end < 2) return {};
    ++end;
  }
  end = std::min(end, authority.size());
  std::string_view port = authority.substr(end);
  if (!port.empty() && !port.starts_with(':')) return {};
  if (!port.empty()) port.remove_prefix(1);
  bool digits = std::all_of(port.begin(), port.end(), [](char byte) { return byte >= '0' && byte <= '9'; });
  std::string_view host = authority.substr(0, end);
  bool bracketed = host.starts_with('[');
  bool stray = !bracketed && host.find_first_of("[]") != std::string_view::npos;
  return digits && !stray ? host : std::string_view();
}

} // namespace

bool isWebAddress(std::string_view text) {
  std::size_t colon = text.find("://");
  if (colon == std::string_view::npos || !isWellFormed(text)) return false;
  std::string scheme = Text::lowercased(text.substr(0, colon));
  if (scheme != "https" && scheme != "http") return false;
  std::string_view rest = text.substr(colon + 3);
  return !hostOf(rest.substr(0, rest.find_first_of("/?#"))).empty();
}

} // namespace kestu
