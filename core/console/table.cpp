#include "core/console/table.hpp"

#include "core/console/text_style.hpp"
#include "core/support/text.hpp"

#include <algorithm>
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

std::string markdownCell(const std::string& cell) {
  std::string text = TextStyle::plain(cell);
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\n' || text[i] == '\r') {
      if (text.compare(i, 2, "\r\n") == 0) ++i;
      result += "<br>";
      continue;
    }
    if (text[i] == '|' || text[i] == '\\') result += '\\';
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
