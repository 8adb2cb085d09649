#include "core/console/fitted_table.hpp"

#include "core/console/console.hpp"
#include "core/console/text_style.hpp"
#include "core/support/text.hpp"

#include <algorithm>

namespace kestu::Format {

namespace {

using Row = std::vector<std::string>;

Table withoutEmptyColumns(const Table& table) {
  Table result;
  result.rows.resize(table.rows.size());
  for (std::size_t column = 0; column < table.headings.size(); ++column) {
    auto isEmpty = [&](const Row& row) { return column >= row.size() || row[column].empty(); };
    if (std::all_of(table.rows.begin(), table.rows.end(), isEmpty)) continue;
    result.headings.push_back(table.headings[column]);
    for (std::size_t row = 0; row < table.rows.size(); ++row) {
      result.rows[row].push_back(isEmpty(table.rows[row]) ? "" : table.rows[row][column]);
    }
  }
  return result;
}

bool fits(const std::string& text, int width) {
  auto lines = Text::split(TextStyle::plain(text), '\n');
  return std::all_of(lines.begin(), lines.end(),
                     [&](const std::string& line) { return Text::columns(line) <= static_cast<std::size_t>(width); });
}

std::string folded(const Table& table, int width, const TextStyles& style) {
  std::vector<std::string> blocks;
  for (const Row& row : table.rows) {
    std::vector<std::string> rest;
    for (std::size_t column = 1; column < row.size(); ++column) {
      if (!row[column].empty()) rest.push_back(style.dim(table.headings[column]) + " " + row[column]);
    }
    std::string block = TextStyle::wrap(style.bold(row.front()), width, 2);
    if (!rest.empty()) block += "\n  " + TextStyle::wrap(Text::joined(rest, "  "), width - 2, 2);
    blocks.push_back(std::move(block));
  }
  return Text::joined(blocks, "\n");
}

} // namespace

std::string tableIn(const Table& table, const Console& console) {
  Table shown = withoutEmptyColumns(table);
  std::vector<Row> rows = {shown.headings};
  for (std::string& heading : rows.front()) heading = console.style().bold(heading);
  for (Row row : shown.rows) {
    while (!row.empty() && row.back().empty()) row.pop_back();
    rows.push_back(std::move(row));
  }
  std::string text = Format::table(rows);
  if (!console.isTerminal(Stream::out) || fits(text, console.width())) return text;
  return folded(shown, console.width(), console.style());
}

} // namespace kestu::Format
