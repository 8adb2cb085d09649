#include "core/console/qr.hpp"

#include <qrencode.h>

#include <memory>

namespace kestu {

namespace {

constexpr int quietZone = 4;

// Numbers of the colour cube, which themes leave alone: 16 is black and 231 is white.
constexpr std::string_view blackOnWhite = "\x1B[38;5;16;48;5;231m";
constexpr std::string_view ownColours = "\x1B[39;49m";

using Code = std::unique_ptr<QRcode, decltype(&QRcode_free)>;

Code encoded(std::string_view text) {
  constexpr std::size_t mostBytes = 2953; // of the largest code at the lowest level of correction
  bool fits = !text.empty() && text.size() <= mostBytes;
  const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
  return {fits ? QRcode_encodeData(static_cast<int>(text.size()), bytes, 0, QR_ECLEVEL_L) : nullptr, &QRcode_free};
}

bool isDark(const QRcode& code, int x, int y) {
  bool inside = x >= 0 && y >= 0 && x < code.width && y < code.width;
  return inside && (code.data[y * code.width + x] & 1) != 0;
}

std::string_view block(bool upper, bool lower) {
  if (upper) return lower ? "█" : "▀";
  return lower ? "▄" : " ";
}

} // namespace

std::string qr(std::string_view text, bool styles) {
  Code code = encoded(text);
  if (!code) return "";
  std::string result;
  for (int y = -quietZone; y < code->width + quietZone; y += 2) {
    if (y > -quietZone) result += '\n';
    if (styles) result += blackOnWhite;
    for (int x = -quietZone; x < code->width + quietZone; ++x) {
      result += block(isDark(*code, x, y) == styles, isDark(*code, x, y + 1) == styles);
    }
    if (styles) result += ownColours;
  }
  return result;
}

int qrColumns(std::string_view text) {
  Code code = encoded(text);
  return code ? code->width + 2 * quietZone : 0;
}

} // namespace kestu
