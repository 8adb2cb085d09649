#include "cli/stored_pages.hpp"

#include <algorithm>

namespace kestu::StoredPages {

namespace {

std::string_view text(Piece piece) { return {texts + piece.at, piece.length}; }

Page::Section read(const Section& stored) {
  Page::Section section{std::string(text(stored.title)), {}, stored.examples};
  const Entry* next = entries + stored.firstEntry;
  for (const Entry* end = next + stored.entries; next != end; ++next)
    section.entries.push_back({std::string(text(next->head)), std::string(text(next->text))});
  return section;
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
  const Section* next = sections + found->firstSection;
  for (const Section* last = next + found->sections; next != last; ++next) page.sections.push_back(read(*next));
  page.closing = text(found->closing);
  page.runs = found->runs;
  return page;
}

std::optional<Page> askedFor(const std::vector<std::string>& words) {
  auto first = words.begin(), last = words.end();
  bool asked = true;
  if (first != last && *first == "help") {
    ++first;
    if (last - first == 1) {
      if (auto topic = find("kestu help " + *first)) return topic;
    }
  } else if (first != last && (words.back() == "--help" || words.back() == "-h")) {
    --last;
  } else {
    asked = false;
  }
  std::string path = "kestu";
  for (; first != last; ++first) {
    // "assets push" as one word is no command, and a topic is no command's word.
    if (first->find(' ') != std::string::npos || *first == "help") return std::nullopt;
    path += " " + *first;
  }
  auto page = find(path);
  return page && (asked || !page->runs) ? page : std::nullopt;
}

} // namespace kestu::StoredPages
