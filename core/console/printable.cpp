#include "core/console/printable.hpp"

#include "core/support/utf8.hpp"

#include <fmt/format.h>

#include <cstdint>

namespace kestu {

namespace {

bool isHarmful(char32_t value) {
  bool control = value < 0x20 || (value >= 0x7F && value < 0xA0);
  bool lineSeparator = value == 0x2028 || value == 0x2029;
  // Embeddings, overrides and isolates show a text in another order than it is read in. Plain marks of direction don't.
  bool reorders = (value >= 0x202A && value <= 0x202E) || (value >= 0x2066 && value <= 0x2069);
  return control || lineSeparator || reorders;
}

std::string harmless(std::string_view text, std::string_view lineFeed) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t position = 0; position < text.size();) {
    UTF8::Decoded decoded = UTF8::decode(text, position);
    std::string_view bytes = text.substr(position, decoded.length);
    position += decoded.length;
    if (decoded.value == '\n') {
      result += lineFeed;
    } else if (decoded.value == '\t') {
      result += ' ';
    } else if (decoded.value == '\r' && text.substr(position).starts_with('\n')) {
      continue; // the line feed stands for both
    } else if (decoded.broken) {
      UTF8::append(result, UTF8::replacement);
    } else if (isHarmful(decoded.value)) {
      result += fmt::format("\\u{{{:x}}}", static_cast<std::uint32_t>(decoded.value));
    } else {
      result += bytes;
    }
  }
  return result;
}

} // namespace

std::string printableJSON(std::string_view document) {
  std::string result;
  result.reserve(document.size());
  for (std::size_t position = 0; position < document.size();) {
    UTF8::Decoded decoded = UTF8::decode(document, position);
    std::string_view bytes = document.substr(position, decoded.length);
    position += decoded.length;
    if (bytes == "\n" || !isHarmful(decoded.value)) {
      result += bytes;
    } else {
      result += fmt::format("\\u{:04x}", static_cast<std::uint32_t>(decoded.value));
    }
  }
  return result;
}

std::string printable(std::string_view text) { return harmless(text, " "); }

std::string printableText(std::string_view text) { return harmless(text, "\n"); }

} // namespace kestu
