#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace kestu {

/// What a command lists, once for all the forms that it can be asked for.
struct Table {
  std::vector<std::string> headings;
  std::vector<std::vector<std::string>> rows;
};

namespace Format {

/// Aligned columns, two blanks apart, measured in characters without style sequences; rows may differ in length. No
/// blanks at the end of a row, no line feed after the last, and nothing at all for no rows.
std::string table(const std::vector<std::vector<std::string>>& rows);

/// The same with the headings as the first row.
std::string table(const Table& table);

/// The rows, the first of them the headings, for a window of so many columns: the table where it fits, else each row's
/// first cells, with the others below them behind their headings.
std::string folded(const std::vector<std::vector<std::string>>& rows, std::size_t firstCells, int width);

/// Rows of a name and a text, which is broken between words within its column.
std::string facts(const std::vector<std::pair<std::string, std::string>>& rows, int width);

/// RFC 4180 with line feeds, the last row ended too; without style sequences.
std::string csv(const Table& table);

/// A table of GitHub's Markdown; without style sequences.
std::string markdown(const Table& table);

} // namespace Format

} // namespace kestu
