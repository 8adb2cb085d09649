#pragma once

#include "core/kit/flag_scan.hpp"

#include <string>
#include <string_view>
#include <vector>

/// The rules of the flag scan as they are said, one pass a rule and the patterns matched by trying; far too slow to
/// use.
namespace kestu::fuzz::Literal {

/// Each byte of a comment but its line breaks as a blank.
std::string withoutComments(std::string_view text);

struct Match {
  std::u32string group; ///< the last group's text
  std::u32string name;  ///< the first's, where there are two
  std::size_t at = 0;   ///< the code point that it begins at
  std::size_t end = 0;
};

/// KestuFlags\s*\.\s*(?:isOn|string|number|int|value|force)\s*\(\s*"([^"\\\n]+)"
std::vector<Match> literalReads(const std::u32string& text);

/// (?:enum|extension)\s+(\w+)\s*:\s*([^{]*)\{, or with "enum" alone.
std::vector<Match> declarations(const std::u32string& text, bool extensions);

/// 1 and the line breaks before it.
int line(const std::u32string& text, std::size_t at);

} // namespace kestu::fuzz::Literal
