#include "cli/page.hpp"

#include <algorithm>

namespace kestu {

namespace {

/// What a help says has no characters of two columns or of none.
std::size_t columns(std::string_view text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; }));
}

/// The text up to the separator, which is taken off too.
std::string_view taken(std::string_view& text, char separator) {
  std::string_view piece = text.substr(0, text.find(separator));
  text.remove_prefix(std::min(piece.size() + 1, text.size()));
  return piece;
}

/// One line filled word by word into as many as it needs, each indented.
std::string filledLine(std::string_view line, std::size_t indent, std::size_t width) {
  std::string result;
  std::size_t column = 0;
  while (!line.empty()) {
    std::string_view word = taken(line, ' ');
    if (word.empty()) continue;
    bool fits = column > 0 && column + 1 + columns(word) <= width;
    if (column > 0 && !fits) result += "\n";
    if (!fits) column = indent;
    result += fits ? " " : std::string(indent, ' ');
    result += word;
    column += columns(word) + (fits ? 1 : 0);
  }
  return result;
}

std::string filled(std::string_view text, std::size_t indent, std::size_t width) {
  std::string result = filledLine(taken(text, '\n'), indent, width);
  while (!text.empty()) result += "\n" + filledLine(taken(text, '\n'), indent, width);
  return result;
}

std::string section(const std::string& title, const std::vector<Page::Entry>& entries, std::size_t width) {
  if (entries.empty()) return "";
  std::size_t longest = 0;
  for (const Page::Entry& entry : entries) longest = std::max(longest, columns(entry.head));
  std::size_t column = std::min<std::size_t>(longest, 24) + 4;
  std::string text = "\n" + title + "\n";
  for (const Page::Entry& entry : entries) {
    std::string body = filled(entry.text, column, width);
    std::size_t taken = columns(entry.head) + 2;
    bool fits = taken + 2 <= column;
    text += "  " + entry.head + (fits ? body.substr(std::min(taken, body.size())) : "\n" + body) + "\n";
  }
  return text;
}

} // namespace

std::string laidOut(const Page& page, int width) {
  auto columns = static_cast<std::size_t>(std::clamp(width, 40, 100));
  std::string text = filled(page.abstract, 0, columns) + "\n";
  if (!page.discussion.empty()) text += "\n" + filled(page.discussion, 0, columns) + "\n";
  text += "\nUsage: " + page.usage + "\n";
  text += section("Arguments", page.arguments, columns);
  text += section("Commands", page.commands, columns);
  text += section("Options", page.options, columns);
  if (!page.commands.empty())
    text += "\n" + filled("kestu help" + page.path.substr(5) + " <command> tells more about one.", 0, columns) + "\n";
  return text;
}

} // namespace kestu
