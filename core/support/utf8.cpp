#include "core/support/utf8.hpp"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace kestu::UTF8 {

namespace {

struct Lead {
  std::size_t length; // 0 for a byte that begins nothing
  unsigned low;       // the range of the second byte, which keeps out overlong forms and surrogates
  unsigned high;
};

Lead leadOf(unsigned byte) {
  if (byte < 0xC2 || byte > 0xF4) return {0, 0, 0};
  if (byte < 0xE0) return {2, 0x80, 0xBF};
  if (byte < 0xF0) return {3, byte == 0xE0 ? 0xA0U : 0x80U, byte == 0xED ? 0x9FU : 0xBFU};
  return {4, byte == 0xF0 ? 0x90U : 0x80U, byte == 0xF4 ? 0x8FU : 0xBFU};
}

} // namespace

Decoded decode(std::string_view text, std::size_t position) {
  auto byteAt = [&](std::size_t index) { return static_cast<unsigned>(static_cast<unsigned char>(text[index])); };
  unsigned first = byteAt(position);
  if (first < 0x80) return {static_cast<char32_t>(first), 1, false};
  Lead lead = leadOf(first);
  if (lead.length == 0) return {replacement, 1, true};
  auto value = static_cast<char32_t>(first & (0x7FU >> lead.length));
  for (std::size_t i = 1; i < lead.length; ++i) {
    if (position + i >= text.size()) return {replacement, i, true};
    unsigned byte = byteAt(position + i);
    if (byte < (i == 1 ? lead.low : 0x80U) || byte > (i == 1 ? lead.high : 0xBFU)) return {replacement, i, true};
    value = value << 6 | (byte & 0x3FU);
  }
  return {value, lead.length, false};
}

void append(std::string& text, char32_t value) {
  auto put = [&](char32_t byte) { text.push_back(static_cast<char>(static_cast<unsigned char>(byte))); };
  auto follow = [&](unsigned shift) { put(0x80U | (value >> shift & 0x3FU)); };
  if (value < 0x80) {
    put(value);
  } else if (value < 0x800) {
    put(0xC0U | value >> 6);
    follow(0);
  } else if (value < 0x10000) {
    put(0xE0U | value >> 12);
    follow(6);
    follow(0);
  } else {
    put(0xF0U | value >> 18);
    follow(12);
    follow(6);
    follow(0);
  }
}

bool isWhiteSpace(char32_t value) {
  return (value >= 0x09 && value <= 0x0D) || value == 0x20 || value == 0x85 || value == 0xA0 || value == 0x1680 ||
         (value >= 0x2000 && value <= 0x200A) || value == 0x2028 || value == 0x2029 || value == 0x202F ||
         value == 0x205F || value == 0x3000;
}

bool isValid(std::string_view text) {
  constexpr std::uint64_t highBits = 0x8080808080808080U;
  std::size_t at = 0;
  while (at < text.size()) {
    std::uint64_t eight = 0;
    if (at + sizeof eight <= text.size()) {
      std::memcpy(&eight, text.data() + at, sizeof eight);
      if ((eight & highBits) == 0) {
        at += sizeof eight;
        continue;
      }
    }
    auto point = decode(text, at);
    if (point.broken) return false;
    at += point.length;
  }
  return true;
}

bool isASCII(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

} // namespace kestu::UTF8
