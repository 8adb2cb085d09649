#include "cli/page.hpp"

#include "core/support/plain_columns.hpp"

#include <algorithm>

namespace kestu {

namespace {

/// The text up to the separator, which is taken off too.
std::string_view taken(std::string_view& text, char separator) {
  std::string_view piece = text.substr(0, text.find(separator));
  text.remove_prefix(std::min(piece.size() + 1, text.size()));
  return piece;
}

std::string_view takenPiece(std::string_view& line) {
  char quote = 0;
  int depth = 0;
  std::size_t at = 0, word = 0;
  for (; at < line.size(); ++at) {
    char c = line[at];
    if (quote != 0 || c == '"' || c == '\'') {
      if (quote == 0 || quote == c) quote = quote == 0 ? c : '\0';
    } else if (c == '<' || c == '[') {
      ++depth;
    } else if (c == '>' || c == ']') {
      --depth;
    } else if (c == ' ' && depth == 0) {
      bool isOption = line.substr(word).starts_with('-') || line.substr(word).starts_with("(-");
      char next = at + 1 < line.size() ? line[at + 1] : '-';
      if (!isOption || next == '-' || next == '[' || next == '(' || next == '|') break;
      word = at + 1;
    }
  }
  std::string_view piece = line.substr(0, at);
  line.remove_prefix(std::min(at + 1, line.size()));
  return piece;
}

/// A command line in as many lines as it needs, `indent` blanks before those that follow; `end` stands at the end of
/// each that goes on.
std::string brokenLine(std::string_view line, std::size_t first, std::size_t indent, std::size_t width,
                       std::string_view end) {
  std::string result;
  std::size_t column = first;
  while (!line.empty()) {
    std::string_view piece = takenPiece(line);
    std::size_t needed = plainColumns(piece) + (line.empty() ? 0 : end.size());
    if (result.empty()) {
      column += plainColumns(piece);
    } else if (column + 1 + needed <= width) {
      result += ' ';
      column += 1 + plainColumns(piece);
    } else {
      result += std::string(end) + "\n" + std::string(indent, ' ');
      column = indent + plainColumns(piece);
    }
    result += piece;
  }
  return result;
}

/// One line filled word by word into as many as it needs, each indented.
std::string filledLine(std::string_view line, std::size_t indent, std::size_t width) {
  std::string result;
  std::size_t column = 0;
  while (!line.empty()) {
    std::string_view word = taken(line, ' ');
    if (word.empty()) continue;
    bool fits = column > 0 && column + 1 + plainColumns(word) <= width;
    if (column > 0 && !fits) result += "\n";
    if (!fits) column = indent;
    result += fits ? " " : std::string(indent, ' ');
    result += word;
    column += plainColumns(word) + (fits ? 1 : 0);
  }
  return result;
}

std::string filled(std::string_view text, std::size_t indent, std::size_t width) {
  std::string result = filledLine(taken(text, '\n'), indent, width);
  while (!text.empty()) result += "\n" + filledLine(taken(text, '\n'), indent, width);
  return result;
}

std::string lines(const Page::Section& section, std::size_t width) {
  std::string text;
  for (const Page::Entry& entry : section.entries)
    text += "  " + brokenLine(entry.head, 2, 6, width, " \\") + "\n" + filled(entry.text, 4, width) + "\n";
  return text;
}

std::size_t longestWord(std::string_view text) {
  std::size_t longest = 0;
  while (!text.empty()) longest = std::max(longest, plainColumns(taken(text, ' ')));
  return longest;
}

/// The texts in a column beside the heads, or below them where too little room is left beside them.
std::string list(const Page::Section& section, std::size_t width) {
  constexpr std::size_t longestBeside = 24;
  std::size_t longest = 0, room = 28;
  for (const Page::Entry& entry : section.entries) {
    longest = std::max(longest, plainColumns(entry.head));
    room = std::max(room, longestWord(entry.text));
  }
  std::size_t column = std::min(longest, longestBeside) + 4;
  if (column + room > width) column = 6;
  std::string text;
  for (const Page::Entry& entry : section.entries) {
    std::string body = filled(entry.text, column, width);
    std::size_t used = plainColumns(entry.head) + 2;
    bool fits = used + 2 <= column;
    text += "  " + entry.head + (fits ? body.substr(std::min(used, body.size())) : "\n" + body) + "\n";
  }
  return text;
}

} // namespace

std::vector<std::string> piecesOf(std::string_view line) {
  std::vector<std::string> pieces;
  while (!line.empty()) pieces.emplace_back(takenPiece(line));
  return pieces;
}

std::string laidOut(const Page& page, int width) {
  auto columns = static_cast<std::size_t>(std::clamp(width, 40, 100));
  std::string text = filled(page.abstract, 0, columns) + "\n";
  if (!page.discussion.empty()) text += "\n" + filled(page.discussion, 0, columns) + "\n";
  if (!page.usage.empty()) text += "\nUsage: " + brokenLine(page.usage, 7, 7, columns, "") + "\n";
  for (const Page::Section& section : page.sections)
    text += "\n" + section.title + "\n" + (section.examples ? lines(section, columns) : list(section, columns));
  if (!page.closing.empty()) text += "\n" + filled(page.closing, 0, columns) + "\n";
  return text;
}

} // namespace kestu
