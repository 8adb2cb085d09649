#pragma once

#include <string>
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

/// RFC 4180 with line feeds, the last row ended too; without style sequences.
std::string csv(const Table& table);

/// A table of GitHub's Markdown; without style sequences.
std::string markdown(const Table& table);

} // namespace Format

} // namespace kestu
