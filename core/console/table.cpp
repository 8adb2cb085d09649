#include "core/console/table.hpp"

#include "core/console/text_style.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <cctype>
#include <string_view>
#include <utility>

namespace kestu::Format {

namespace {

using Row = std::vector<std::string>;

std::vector<Row> withHeadings(const Table& table) {
  std::vector<Row> rows = {table.headings};
  rows.insert(rows.end(), table.rows.begin(), table.rows.end());
  return rows;
}

std::string csvCell(const std::string& cell) {
  std::string text = TextStyle::plain(cell);
  bool quoted = text.find_first_of(",\"\r\n") != std::string::npos || text.starts_with(' ') || text.ends_with(' ');
  if (!quoted) return text;
  return '"' + Text::joined(Text::split(text, '"'), "\"\"") + '"';
}

/// Whether the character would be taken for markup where it stands: emphasis, a link, code, a tag or an entity.
bool isMarkup(const std::string& text, std::size_t at) {
  auto isPlain = [&](std::size_t i) {
    return i < text.size() && (std::isalnum(static_cast<unsigned char>(text[i])) != 0 || (text[i] & 0x80) != 0);
  };
  switch (text[at]) {
  case '_': // my_flag is a word
    return at == 0 || !isPlain(at - 1) || !isPlain(at + 1);
  case '&': { // R&D is no entity
    std::size_t end = at + 1;
    while (isPlain(end) || (end < text.size() && text[end] == '#')) ++end;
    return end > at + 1 && end < text.size() && text[end] == ';';
  }
  default:
    return std::string_view("|\\*`[]<~").find(text[at]) != std::string_view::npos;
  }
}

std::string markdownCell(const std::string& cell) {
  std::string text = TextStyle::plain(cell);
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\n' || text[i] == '\r') {
      if (text.compare(i, 2, "\r\n") == 0) ++i;
      result += "<br>";
      continue;
    }
    if (isMarkup(text, i)) result += '\\';
    result += text[i];
  }
  return result;
}

std::string markdownRow(const Row& cells) {
  std::string result = "|";
  for (const std::string& cell : cells) result += " " + cell + " |";
  return result + "\n";
}

} // namespace

std::string table(const std::vector<Row>& rows) {
  std::vector<std::vector<std::size_t>> lengths;
  std::vector<std::size_t> widths;
  for (const Row& row : rows) {
    std::vector<std::size_t>& own = lengths.emplace_back();
    for (const std::string& cell : row) own.push_back(TextStyle::width(cell));
    widths.resize(std::max(widths.size(), own.size()));
    for (std::size_t i = 0; i < own.size(); ++i) widths[i] = std::max(widths[i], own[i]);
  }
  std::string result;
  for (std::size_t r = 0; r < rows.size(); ++r) {
    if (r > 0) result += '\n';
    for (std::size_t i = 0; i < rows[r].size(); ++i) {
      result += rows[r][i];
      if (i + 1 < rows[r].size()) result.append(widths[i] - lengths[r][i] + 2, ' ');
    }
  }
  return result;
}

std::string table(const Table& table) { return Format::table(withHeadings(table)); }

namespace {

bool fits(const std::string& text, int width) {
  auto lines = Text::split(TextStyle::plain(text), '\n');
  return std::all_of(lines.begin(), lines.end(), [&](const std::string& line) {
    return Text::columns(line) <= static_cast<std::size_t>(std::max(width, 0));
  });
}

/// The first cells of a row where not even those fit beside each other.
std::string stacked(const Row& row, std::size_t firstCells, int width) {
  Row cells(row.begin(), row.begin() + static_cast<std::ptrdiff_t>(std::min(firstCells, row.size())));
  std::erase(cells, "");
  return TextStyle::wrap(Text::joined(cells, "  "), width, 2);
}

/// The cells that follow, each whole on a line where it can be.
std::string details(const Row& cells, int width, std::size_t indent) {
  const std::string margin(indent, ' ');
  std::string text, line;
  for (const std::string& cell : cells) {
    const std::string longer = (line.empty() ? margin : line + "  ") + cell;
    if (!line.empty() && !fits(longer, width))
      text += "\n" + std::exchange(line, margin + cell);
    else
      line = longer;
  }
  std::string lines = text + "\n" + line;
  return TextStyle::wrap(lines, width, static_cast<int>(indent) + 2);
}

} // namespace

std::string folded(const std::vector<Row>& rows, std::size_t firstCells, int width) {
  std::string whole = table(rows);
  if (fits(whole, width)) return whole;
  std::vector<Row> heads;
  for (const Row& row : rows) {
    heads.emplace_back(row.begin(), row.begin() + static_cast<std::ptrdiff_t>(std::min(firstCells, row.size())));
  }
  auto lines = Text::split(table(heads), '\n');
  bool beside = fits(Text::joined(lines, "\n"), width);
  // Names that follow a mark, which has no heading: theirs alone would say nothing.
  bool isMarked = firstCells == 2 && rows.front().front().empty();
  std::size_t indent = isMarked && beside ? TextStyle::plain(lines.front()).find_first_not_of(' ') + 2 : 2;
  std::string text = beside && !isMarked ? lines.front() : "";
  for (std::size_t at = 1; at < rows.size(); ++at) {
    const Row& row = rows[at];
    text += (text.empty() ? "" : "\n") + (beside ? lines[at] : stacked(row, firstCells, width));
    Row rest;
    for (std::size_t column = firstCells; column < row.size(); ++column) {
      const std::string heading = column < rows.front().size() ? rows.front()[column] + " " : "";
      if (!row[column].empty()) rest.push_back(heading + row[column]);
    }
    if (!rest.empty()) text += details(rest, width, indent);
  }
  return text;
}

std::string facts(const std::vector<std::pair<std::string, std::string>>& rows, int width) {
  std::size_t longest = 0;
  for (const auto& [name, text] : rows) longest = std::max(longest, TextStyle::width(name));
  auto indent = static_cast<int>(longest) + 2;
  std::vector<std::string> lines;
  for (const auto& [name, text] : rows) {
    std::string gap(longest - TextStyle::width(name) + 2, ' ');
    // Wrapped beside the name, so that the first line is as long as the others.
    lines.push_back(TextStyle::wrap(name + gap + text, width, indent));
  }
  return Text::joined(lines, "\n");
}

std::string csv(const Table& table) {
  std::string result;
  for (const Row& row : withHeadings(table)) {
    std::vector<std::string> cells;
    for (const std::string& cell : row) cells.push_back(csvCell(cell));
    result += Text::joined(cells, ",") + "\n";
  }
  return result;
}

std::string markdown(const Table& table) {
  std::string result;
  bool isHeading = true;
  for (const Row& row : withHeadings(table)) {
    std::vector<std::string> cells;
    for (const std::string& cell : row) cells.push_back(markdownCell(cell));
    result += markdownRow(cells);
    if (std::exchange(isHeading, false)) result += markdownRow(Row(cells.size(), "---"));
  }
  return result;
}

} // namespace kestu::Format
