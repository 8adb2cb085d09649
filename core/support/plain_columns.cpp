#include "core/support/plain_columns.hpp"

#include "core/support/utf8.hpp"

#include <algorithm>
#include <array>

namespace kestu {

namespace {

struct Range {
  char32_t first, last;
  std::size_t columns;
};

constexpr std::array ranges = {
    Range{0x0, 0x1F, 0},        Range{0x7F, 0x9F, 0},       Range{0xAD, 0xAD, 0},       Range{0x300, 0x36F, 0},
    Range{0x483, 0x489, 0},     Range{0x591, 0x5BD, 0},     Range{0x610, 0x61A, 0},     Range{0x64B, 0x65F, 0},
    Range{0x1100, 0x115F, 2},   Range{0x1AB0, 0x1ACE, 0},   Range{0x1DC0, 0x1DFF, 0},   Range{0x200B, 0x200F, 0},
    Range{0x202A, 0x202E, 0},   Range{0x2060, 0x2064, 0},   Range{0x20D0, 0x20F0, 0},   Range{0x231A, 0x231B, 2},
    Range{0x23E9, 0x23EC, 2},   Range{0x2614, 0x2615, 2},   Range{0x26A1, 0x26A1, 2},   Range{0x2705, 0x2705, 2},
    Range{0x270A, 0x270B, 2},   Range{0x2728, 0x2728, 2},   Range{0x274C, 0x274C, 2},   Range{0x2753, 0x2755, 2},
    Range{0x2795, 0x2797, 2},   Range{0x2B50, 0x2B50, 2},   Range{0x2E80, 0x2E99, 2},   Range{0x2E9B, 0x2EF3, 2},
    Range{0x2F00, 0x2FD5, 2},   Range{0x2FF0, 0x2FFB, 2},   Range{0x3000, 0x3029, 2},   Range{0x302E, 0x303E, 2},
    Range{0x3041, 0x3096, 2},   Range{0x309B, 0x30FF, 2},   Range{0x3105, 0x312F, 2},   Range{0x3131, 0x318E, 2},
    Range{0x3190, 0x31E3, 2},   Range{0x31F0, 0x321E, 2},   Range{0x3220, 0x3247, 2},   Range{0x3250, 0x4DBF, 2},
    Range{0x4E00, 0xA48C, 2},   Range{0xA490, 0xA4C6, 2},   Range{0xA960, 0xA97C, 2},   Range{0xAC00, 0xD7A3, 2},
    Range{0xF900, 0xFAFF, 2},   Range{0xFE00, 0xFE0E, 0},   Range{0xFE10, 0xFE19, 2},   Range{0xFE20, 0xFE2F, 0},
    Range{0xFE30, 0xFE52, 2},   Range{0xFE54, 0xFE66, 2},   Range{0xFE68, 0xFE6B, 2},   Range{0xFEFF, 0xFEFF, 0},
    Range{0xFF01, 0xFF60, 2},   Range{0xFFE0, 0xFFE6, 2},   Range{0x1F300, 0x1F320, 2}, Range{0x1F32D, 0x1F335, 2},
    Range{0x1F337, 0x1F37C, 2}, Range{0x1F37E, 0x1F393, 2}, Range{0x1F3A0, 0x1F3CA, 2}, Range{0x1F3E0, 0x1F3F0, 2},
    Range{0x1F400, 0x1F43E, 2}, Range{0x1F442, 0x1F4FC, 2}, Range{0x1F4FF, 0x1F53D, 2}, Range{0x1F550, 0x1F567, 2},
    Range{0x1F5FB, 0x1F64F, 2}, Range{0x1F680, 0x1F6C5, 2}, Range{0x1F90C, 0x1F93A, 2}, Range{0x1F93C, 0x1F945, 2},
    Range{0x1F947, 0x1F9FF, 2}, Range{0x20000, 0x3FFFD, 2},
};

std::size_t columnsOf(char32_t value) {
  const auto found = std::lower_bound(ranges.begin(), ranges.end(), value,
                                      [](const Range& range, char32_t point) { return range.last < point; });
  return found != ranges.end() && found->first <= value ? found->columns : 1;
}

} // namespace

std::size_t plainColumns(std::string_view text) {
  std::size_t count = 0;
  for (std::size_t at = 0; at < text.size();) {
    UTF8::Decoded decoded = UTF8::decode(text, at);
    count += columnsOf(decoded.value);
    at += decoded.length;
  }
  return count;
}

} // namespace kestu
