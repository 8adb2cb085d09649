#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kestu::UTF8 {

inline constexpr char32_t replacement = U'\uFFFD';

struct Decoded {
  char32_t value; ///< the replacement character when the bytes are broken
  std::size_t length;
  bool broken;
};

/// The code point at `position`, which is before the text's end. Of broken bytes it takes the longest start of a valid
/// sequence as one (Unicode, "maximal subparts"), at least one byte.
Decoded decode(std::string_view text, std::size_t position);

void append(std::string& text, char32_t value);

/// White_Space of the Unicode character database, ASCII control blanks included.
bool isWhiteSpace(char32_t value);

/// Whether no bytes are broken.
bool isValid(std::string_view text);

bool isASCII(std::string_view text);

} // namespace kestu::UTF8
