#include "core/release/placeholder.hpp"
#include "core/support/text.hpp"
#include "core/support/utf8.hpp"
#include "tests/fuzz/targets.hpp"

#include <algorithm>
#include <array>

namespace kestu::fuzz {

/// The functions of text on three lines: an order is one, folding is done at once, pieces are of the text.
void texts(std::string_view bytes) {
  Input input(bytes);
  std::array<std::string_view, 3> lines = {input.line(), input.line(), input.rest()};
  for (std::string_view line : lines) {
    std::string folded = Text::folded(line), lower = Text::lowercased(line), trimmed = Text::trimmed(line);
    require(Text::folded(folded) == folded, "folded once for all: " + folded);
    require(Text::folded(lower) == folded, "case is folded too: " + folded);
    require(Text::trimmed(trimmed) == trimmed && line.find(trimmed) != std::string_view::npos, "trimmed once for all");
    require(Text::characters(line) <= line.size() && Text::columns(line) <= 2 * line.size(), "sizes are bounded");
    for (std::size_t columns : {0U, 1U, 7U}) {
      std::string_view fits = Text::fitting(line, columns);
      require(line.starts_with(fits) && Text::columns(fits) <= columns, "what fits is a start");
    }
    std::string joined;
    for (const std::string& word : Text::words(line)) {
      require(!word.empty() && Text::trimmed(word) == word, "words are without blanks");
      joined += word;
    }
    require(joined.size() <= line.size() && joined.empty() == trimmed.empty(), "words are of the text");
    require(Text::joined(Text::split(line, '/'), "/") == line, "pieces make up the text");
    require(!Text::naturalLess(line, line), "nothing comes before itself");
    auto placeholder = placeholderIn(line);
    if (placeholder) require(line.find(*placeholder) != std::string_view::npos, "a placeholder stands in the text");
  }
  std::sort(lines.begin(), lines.end(), Text::naturalLess);
  for (std::size_t i = 0; i < lines.size(); ++i) {
    for (std::size_t j = i + 1; j < lines.size(); ++j) {
      bool same = lines[i] == lines[j];
      require(Text::naturalLess(lines[i], lines[j]) == !same, "texts stand in an order");
      require(!Text::naturalLess(lines[j], lines[i]), "and in no other");
    }
  }
}

} // namespace kestu::fuzz
