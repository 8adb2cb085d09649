#pragma once

#include "cli/page.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestu {

/// The pages of all commands and topics as `kestu-write-pages` writes them when kestu is built. One text and numbers,
/// without a pointer, so that a start neither sets up nor relocates any of it.
namespace StoredPages {

struct Piece {
  std::uint32_t at, length; ///< in `texts`, bytes
};

struct Entry {
  Piece head, text;
};

struct Section {
  Piece title;
  std::uint32_t firstEntry;
  std::uint16_t entries;
  bool examples;
};

struct Record {
  Piece path, abstract, discussion, usage, closing;
  std::uint32_t firstSection;
  std::uint16_t sections;
  bool runs;
};

extern const char texts[];
extern const Entry entries[];
extern const Section sections[];
extern const Record records[]; ///< by path, in the order of bytes
extern const std::size_t count;

/// The page of the command of the path, as "kestu assets push", or of a topic, as "kestu help files".
std::optional<Page> find(std::string_view path);

/// The page that is asked for by the words of a command and help alone: "assets push --help", "help assets push", or a
/// group's words; or by "help" and a topic. None for anything else that may be typed.
std::optional<Page> askedFor(const std::vector<std::string>& words);

} // namespace StoredPages

} // namespace kestu
