#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kestu {

/// A line feed or a carriage return; both together end one line.
constexpr bool isLineBreak(char byte) { return byte == '\n' || byte == '\r'; }

namespace SourceBlanker {

/// Writes blanks over the comments of Swift source: each byte of one but its line breaks, so that offsets and lines
/// stay. "//" runs to the end of the line and "/*" to the next "*/" or the text's end. Markers inside a string literal
/// are text; a literal ends at the next unescaped double quote or with its line.
void blank(std::string& text);

std::string withoutComments(std::string_view text);

/// The offset behind the literal that begins at `quote`: by the rule above, and with the literals that stand inside its
/// interpolations as parts of it.
std::size_t pastLiteral(std::string_view text, std::size_t quote);

} // namespace SourceBlanker

} // namespace kestu
