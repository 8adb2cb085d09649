#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Text in UTF-8. Broken bytes are taken as one replacement character each, never as an error.
namespace kestu::Text {

/// User-perceived characters (extended grapheme clusters, UAX #29).
std::size_t characters(std::string_view text);

/// The columns that a terminal gives the text: 2 for wide East Asian characters and emoji, 0 for marks that combine.
std::size_t columns(std::string_view text);

/// The longest start of the text, in whole characters, that fits in so many columns.
std::string_view fitting(std::string_view text, std::size_t columns);

/// For comparisons that ignore case and diacritics: case-folded, decomposed and without combining marks.
std::string folded(std::string_view text);

/// The order of a file browser: digits compared as numbers, case ignored; equal only for the same bytes.
bool naturalLess(std::string_view a, std::string_view b);

/// Letters, marks, decimal digits and connecting punctuation, as \w of UTS #18 has them.
bool isWordCharacter(char32_t value);

std::string lowercased(std::string_view text);         ///< full Unicode lower-casing, no locale
std::string trimmed(std::string_view text);            ///< without Unicode white space at both ends
std::vector<std::string> words(std::string_view text); ///< split at white space, no empty pieces

char32_t caseFolded(char32_t value); ///< simple case folding

/// Each piece between separators, empty ones too.
std::vector<std::string> split(std::string_view text, char separator);
std::string joined(const std::vector<std::string>& parts, std::string_view separator);

/// "a", "a or b", "a, b or c".
std::string orList(const std::vector<std::string>& parts);

} // namespace kestu::Text
