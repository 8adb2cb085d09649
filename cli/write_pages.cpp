#include "cli/command_tree.hpp"
#include "cli/help.hpp"
#include "cli/manual.hpp"
#include "cli/topics.hpp"
#include "core/support/files.hpp"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>

namespace {

using namespace kestu;

/// Text as pieces of a C++ literal, a line of the source for each of its own lines.
std::string literal(const std::string& text) {
  std::string source = "\"";
  for (char c : text) {
    auto byte = static_cast<unsigned char>(c);
    if (c == '\n') {
      source += "\\n\"\n\"";
    } else if (c == '"' || c == '\\') {
      source += std::string("\\") + c;
    } else if (byte >= 0x20 && byte < 0x7F) {
      source += c;
    } else {
      for (unsigned shift : {6U, 3U, 0U}) source += (shift == 6 ? "\\" : "") + std::to_string((byte >> shift) & 7U);
    }
  }
  return source + "\"";
}

/// The source of what StoredPages declares. Texts that stand on several pages are kept once.
class Source {
 public:
  void add(const Page& page) {
    records_ += "{" + piece(page.path) + ", " + piece(page.abstract) + ", " + piece(page.discussion) + ", " +
                piece(page.usage) + ", " + piece(page.closing) + ", " + std::to_string(sectionCount_) + ", " +
                std::to_string(page.sections.size()) + (page.runs ? ", true},\n" : ", false},\n");
    for (const Page::Section& section : page.sections) {
      sections_ += "{" + piece(section.title) + ", " + std::to_string(entryCount_) + ", " +
                   std::to_string(section.entries.size()) + (section.examples ? ", true},\n" : ", false},\n");
      for (const Page::Entry& entry : section.entries)
        entries_ += "{" + piece(entry.head) + ", " + piece(entry.text) + "},\n";
      entryCount_ += section.entries.size();
    }
    sectionCount_ += page.sections.size();
    ++count_;
  }

  std::string text() const {
    return "#include \"cli/stored_pages.hpp\"\n\nnamespace kestu::StoredPages {\n\nconst char texts[] =\n" + texts_ +
           ";\n\nconst Entry entries[] = {\n" + entries_ + "};\n\nconst Section sections[] = {\n" + sections_ +
           "};\n\nconst Record records[] = {\n" + records_ +
           "};\n\nconst std::size_t count = " + std::to_string(count_) + ";\n\n} // namespace kestu::StoredPages\n";
  }

 private:
  std::string piece(const std::string& text) {
    auto [kept, isNew] = kept_.try_emplace(text, size_);
    if (isNew) {
      texts_ += literal(text) + "\n";
      size_ += text.size();
    }
    return "{" + std::to_string(kept->second) + ", " + std::to_string(text.size()) + "}";
  }

  std::map<std::string, std::size_t> kept_; ///< texts, and where they stand
  std::size_t size_ = 0, entryCount_ = 0, sectionCount_ = 0, count_ = 0;
  std::string texts_, entries_, sections_, records_;
};

} // namespace

/// kestu-write-pages <file> <folder>: writes the pages of the whole tree as constant data, and those of the manual into
/// the folder. A file that says the same already is left alone, so that nothing is built again for it.
int main(int count, char** words) try {
  if (count != 3) {
    std::fputs("Usage: kestu-write-pages <file> <folder>\n", stderr);
    return 2;
  }
  auto pages = allPages(rootCommand("*"));
  pages.insert(pages.end(), topics().begin(), topics().end());
  for (const Page& page : pages) {
    std::filesystem::path file = std::filesystem::path(words[2]) / Manual::fileName(page);
    Files::writeAtomically(file, Manual::text(page, pages));
  }
  std::sort(pages.begin(), pages.end(), [](const Page& a, const Page& b) { return a.path < b.path; });
  Source source;
  for (const Page& page : pages) source.add(page);
  if (Files::read(words[1], 16'777'216) != source.text()) Files::writeAtomically(words[1], source.text());
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
