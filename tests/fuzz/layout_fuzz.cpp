#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/console/table.hpp"
#include "core/console/text_style.hpp"
#include "core/support/text.hpp"
#include "tests/fuzz/targets.hpp"

#include <algorithm>

namespace kestu::fuzz {

namespace {

using Rows = std::vector<std::vector<std::string>>;

/// RFC 4180, told by itself.
Rows readCSV(std::string_view text) {
  Rows rows(1, {""});
  bool quoted = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    std::string& cell = rows.back().back();
    if (quoted && text.substr(i, 2) == "\"\"") {
      cell += text[i++];
    } else if (text[i] == '"') {
      quoted = !quoted;
    } else if (!quoted && text[i] == ',') {
      rows.back().emplace_back();
    } else if (!quoted && text[i] == '\n') {
      rows.emplace_back(1, "");
    } else {
      cell += text[i];
    }
  }
  rows.pop_back();
  return rows;
}

/// A word as a POSIX shell reads it; empty for what isn't one word.
std::string readShellWord(std::string_view word) {
  std::string result;
  bool quoted = false;
  for (std::size_t i = 0; i < word.size(); ++i) {
    if (word[i] == '\'') {
      quoted = !quoted;
    } else if (!quoted && word[i] == '\\' && i + 1 < word.size()) {
      result += word[++i];
    } else {
      if (!quoted && std::string_view(" \t\n;&|<>()$`\"#*?[]{}~!=\\").find(word[i]) != std::string_view::npos)
        return {};
      result += word[i];
    }
  }
  return quoted ? "" : result;
}

void tables(const Rows& rows) {
  std::string text = Format::table(rows);
  auto lines = Text::split(text, '\n');
  require(lines.size() == std::max<std::size_t>(rows.size(), 1), "a row is a line");
  std::size_t second = std::string::npos;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (rows[i].size() < 2 || rows[i][0].empty() || rows[i][1].empty()) continue;
    std::string after = lines[i].substr(rows[i][0].size());
    std::size_t at = TextStyle::width(rows[i][0]) + after.find_first_not_of(' ');
    if (rows[i][1].starts_with(' ')) continue;
    require(second == std::string::npos || at == second, "a column begins at one place: " + text);
    second = at;
  }
  Table table{rows.front(), Rows(rows.begin() + 1, rows.end())};
  require(readCSV(Format::csv(table)) == rows, "CSV is read back as it was");
  auto markdown = Text::split(Format::markdown(table), '\n');
  require(markdown.size() == rows.size() + 2, "a row is a line of Markdown");
}

std::string withoutBlanks(std::string text) {
  std::erase_if(text, [](char c) { return c == ' ' || c == '\n'; });
  return text;
}

} // namespace

/// Texts laid out in a window of any width: within it, in order, nothing lost; and read back by other programs.
void layout(std::string_view bytes) {
  Input input(bytes);
  int width = static_cast<int>(input.byte() % 100);
  int indent = static_cast<int>(input.byte() % 8);
  require(readShellWord(Format::shellWord(input.rest())) == input.rest(), "a shell reads a word back");

  std::string text = printableText(input.rest()), styled;
  Rows rows(1);
  for (const std::string& line : Text::split(text, '\n')) {
    rows.emplace_back();
    for (const std::string& cell : Text::split(line, '|')) {
      rows.back().push_back(cell);
      styled += TextStyle::bold(cell, true) + " ";
    }
    styled += "\n";
  }
  rows.erase(rows.begin());
  tables(rows);
  Format::folded(rows, 1, width);

  std::string cut = TextStyle::line(styled, width);
  require(Text::columns(TextStyle::plain(cut)) <= static_cast<std::size_t>(width), "a line fits its window: " + cut);
  require(cut.find('\n') == std::string::npos, "a line is one line");
  std::string wrapped = TextStyle::wrap(styled, width, indent);
  require(withoutBlanks(wrapped) == withoutBlanks(styled), "wrapping changes blanks alone");
  for (const std::string& line : Text::split(TextStyle::plain(wrapped), '\n')) {
    require(!line.ends_with(' '), "no line ends with a blank");
    auto words = Text::split(line, ' ');
    bool alone =
        std::count_if(words.begin(), words.end(), [](const auto& word) { return Text::columns(word) > 0; }) < 2;
    require(alone || Text::columns(line) <= static_cast<std::size_t>(std::max(width, 1)), "lines fit: " + line);
  }
  std::string_view fitting = Text::fitting(text, static_cast<std::size_t>(width));
  require(text.starts_with(fitting) && Text::columns(fitting) <= static_cast<std::size_t>(width), "what fits, fits");
}

} // namespace kestu::fuzz
