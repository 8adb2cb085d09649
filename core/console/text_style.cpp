#include "core/console/text_style.hpp"

#include "core/support/text.hpp"

#include <algorithm>
#include <vector>

namespace kestu {

namespace {

constexpr char escape = '\x1B';

/// The length of the style sequence at the text's start; 0 when none begins there.
std::size_t sequenceLength(std::string_view text) {
  if (!text.starts_with("\x1B[")) return 0;
  std::size_t end = text.find_first_not_of("0123456789;", 2);
  return end != std::string_view::npos && text[end] == 'm' ? end + 1 : 0;
}

/// The text in pieces, each one sequence or text without any.
std::vector<std::string_view> pieces(std::string_view text) {
  std::vector<std::string_view> result;
  while (!text.empty()) {
    std::size_t length = sequenceLength(text);
    if (length == 0) {
      length = text.find(escape, 1);
      while (length != std::string_view::npos && sequenceLength(text.substr(length)) == 0) {
        length = text.find(escape, length + 1);
      }
      length = std::min(length, text.size());
    }
    result.push_back(text.substr(0, length));
    text.remove_prefix(length);
  }
  return result;
}

std::size_t columnsOf(std::string_view text) { return Text::columns(TextStyle::plain(text)); }

/// A line's words, each with the blanks before it.
struct Word {
  std::size_t gap;
  std::string_view text;
};

std::vector<Word> wordsOf(std::string_view line) {
  std::vector<Word> result;
  while (true) {
    std::size_t gap = line.find_first_not_of(' ');
    if (gap == std::string_view::npos) return result;
    line.remove_prefix(gap);
    std::size_t length = std::min(line.find(' '), line.size());
    result.push_back({gap, line.substr(0, length)});
    line.remove_prefix(length);
  }
}

std::string wrapLine(std::string_view line, std::size_t width, std::size_t indent) {
  std::string result;
  std::size_t column = 0;
  bool hasWord = false;
  for (const Word& word : wordsOf(line)) {
    std::size_t columns = columnsOf(word.text);
    if (columns == 0) { // a style turned on or off, which stays where it is
      result += word.text;
      continue;
    }
    if (hasWord && column + word.gap + columns > width) {
      result += "\n" + std::string(indent, ' ');
      column = indent;
    } else {
      result.append(word.gap, ' ');
      column += word.gap;
    }
    result += word.text;
    column += columns;
    hasWord = true;
  }
  return result;
}

} // namespace

std::string TextStyle::operator()(std::string_view text, bool on) const {
  if (!on || text.empty()) return std::string(text);
  std::string result;
  for (std::string_view part : {std::string_view("\x1B["), on_, std::string_view("m"), text, std::string_view("\x1B["),
                                off_, std::string_view("m")}) {
    result += part;
  }
  return result;
}

std::string TextStyle::plain(std::string_view text) {
  if (text.find(escape) == std::string_view::npos) return std::string(text);
  std::string result;
  for (std::string_view piece : pieces(text)) {
    if (sequenceLength(piece) == 0) result += piece;
  }
  return result;
}

std::size_t TextStyle::width(std::string_view text) { return Text::characters(plain(text)); }

std::string TextStyle::wrap(std::string_view text, int width, int indent) {
  auto columns = static_cast<std::size_t>(std::max(width, 1));
  auto blanks = static_cast<std::size_t>(std::max(indent, 0));
  std::vector<std::string> lines;
  for (const std::string& line : Text::split(text, '\n')) lines.push_back(wrapLine(line, columns, blanks));
  return Text::joined(lines, "\n");
}

std::string TextStyle::line(std::string_view text, int width) {
  std::string single(text);
  std::replace(single.begin(), single.end(), '\n', ' ');
  auto columns = static_cast<std::size_t>(std::max(width, 0));
  if (columnsOf(single) <= columns) return single;
  std::size_t left = std::max<std::size_t>(columns, 1) - 1;
  bool cut = false;
  std::string result;
  for (std::string_view piece : pieces(single)) {
    if (sequenceLength(piece) > 0) { // also after the cut, as these turn off what is on
      result += piece;
    } else if (!cut) {
      std::string_view kept = Text::fitting(piece, left);
      left -= Text::columns(kept);
      cut = kept.size() < piece.size();
      result += kept;
      if (cut && columns > 0) result += "…";
    }
  }
  return result;
}

} // namespace kestu
