#include "core/release/placeholder.hpp"

#include "core/support/text.hpp"
#include "core/support/utf8.hpp"

#include <array>
#include <span>

namespace kestu {

namespace {

enum class Case { matters, ignored };

/// Where the words end that begin at `position`; none when others do, or only the start of a longer word.
std::optional<std::size_t> endOf(std::string_view words, std::string_view text, std::size_t position, Case letters) {
  for (char expected : words) {
    if (position >= text.size()) return std::nullopt;
    UTF8::Decoded decoded = UTF8::decode(text, position);
    char32_t found = letters == Case::ignored ? Text::caseFolded(decoded.value) : decoded.value;
    if (found != static_cast<char32_t>(expected)) return std::nullopt;
    position += decoded.length;
  }
  bool goesOn = position < text.size() && Text::isWordCharacter(UTF8::decode(text, position).value);
  return goesOn ? std::nullopt : std::optional(position);
}

std::optional<std::string> firstOf(std::span<const std::string_view> all, std::string_view text, Case letters) {
  bool inWord = false;
  for (std::size_t position = 0; position < text.size();) {
    UTF8::Decoded decoded = UTF8::decode(text, position);
    if (!inWord) {
      for (std::string_view words : all) {
        if (auto end = endOf(words, text, position, letters)) {
          return std::string(text.substr(position, *end - position));
        }
      }
    }
    inWord = Text::isWordCharacter(decoded.value);
    position += decoded.length;
  }
  return std::nullopt;
}

} // namespace

std::optional<std::string> placeholderIn(std::string_view text) {
  static constexpr std::array<std::string_view, 4> filler = {"lorem ipsum", "placeholder", "text here", "your text"};
  static constexpr std::array<std::string_view, 3> reminders = {"TODO", "TBD", "FIXME"};
  if (auto found = firstOf(filler, text, Case::ignored)) return found;
  return firstOf(reminders, text, Case::matters);
}

} // namespace kestu
