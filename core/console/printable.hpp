#pragma once

#include <string>
#include <string_view>

namespace kestu {

/// Text from outside as one line that can't steer a terminal: line feeds and tabs become blanks, other control
/// characters, line separators and overrides of the writing direction become visible ("\u{1b}"), broken UTF-8 becomes
/// U+FFFD. Ordinary text is returned as it is, joined emoji and marks of direction included.
std::string printable(std::string_view text);

/// The same with its line feeds kept.
std::string printableText(std::string_view text);

/// A JSON document of the same value whose texts can't steer a terminal: what would stands there as JSON escapes it.
std::string printableJSON(std::string_view document);

} // namespace kestu
