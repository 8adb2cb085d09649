#include "cli/stored_pages.hpp"

#include <algorithm>

namespace kestu::StoredPages {

namespace {

std::string_view text(Piece piece) { return {texts + piece.at, piece.length}; }

std::vector<Page::Entry> read(const Entry*& next, std::size_t count) {
  std::vector<Page::Entry> read;
  for (const Entry* end = next + count; next != end; ++next)
    read.push_back({std::string(text(next->head)), std::string(text(next->text))});
  return read;
}

} // namespace

std::optional<Page> find(std::string_view path) {
  const Record* end = records + count;
  const Record* found = std::lower_bound(
      records, end, path, [](const Record& record, std::string_view name) { return text(record.path) < name; });
  if (found == end || text(found->path) != path) return std::nullopt;
  Page page;
  page.path = path;
  page.abstract = text(found->abstract);
  page.discussion = text(found->discussion);
  page.usage = text(found->usage);
  const Entry* next = entries + found->firstEntry;
  page.arguments = read(next, found->arguments);
  page.commands = read(next, found->commands);
  page.options = read(next, found->options);
  page.runs = found->runs;
  return page;
}

std::optional<Page> askedFor(const std::vector<std::string>& words) {
  auto first = words.begin(), last = words.end();
  bool asked = true;
  if (first != last && *first == "help") {
    ++first;
  } else if (first != last && (words.back() == "--help" || words.back() == "-h")) {
    --last;
  } else {
    asked = false;
  }
  std::string path = "kestu";
  for (; first != last; ++first) {
    if (first->find(' ') != std::string::npos) return std::nullopt; // "assets push" as one word is no command
    path += " " + *first;
  }
  auto page = find(path);
  return page && (asked || !page->runs) ? page : std::nullopt;
}

} // namespace kestu::StoredPages
