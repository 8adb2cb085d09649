#include "core/kit/flag_patterns.hpp"
#include "core/kit/flag_scan.hpp"
#include "core/kit/source_blanker.hpp"
#include "core/support/text.hpp"
#include "core/support/utf8.hpp"
#include "tests/fuzz/literal_flag_scan.hpp"
#include "tests/fuzz/targets.hpp"

#include <algorithm>

namespace kestu::fuzz {

namespace {

std::string utf8(const std::u32string& points) {
  std::string text;
  for (char32_t point : points) UTF8::append(text, point);
  return text;
}

/// The offset of a code point.
std::size_t offset(const std::u32string& text, std::size_t at) { return utf8(text.substr(0, at)).size(); }

/// The same as the rules say by their letter; of text in which no byte is broken.
void literally(const std::string& blanked, const std::u32string& points) {
  auto reads = FlagPatterns::literalReads(blanked);
  auto expected = Literal::literalReads(points);
  require(reads.size() == expected.size(), "as many reads as the pattern has matches");
  for (std::size_t i = 0; i < reads.size(); ++i) {
    require(reads[i].key == utf8(expected[i].group), "a key is the pattern's: " + reads[i].key);
    require(reads[i].offset == offset(points, expected[i].at), "a read is where the pattern matches");
  }
  for (auto which : {FlagPatterns::Declared::enumerations, FlagPatterns::Declared::enumerationsAndExtensions}) {
    auto found = FlagPatterns::declarations(blanked, which);
    auto meant = Literal::declarations(points, which == FlagPatterns::Declared::enumerationsAndExtensions);
    require(found.size() == meant.size(), "as many declarations as the pattern has matches");
    for (std::size_t i = 0; i < found.size(); ++i) {
      require(found[i].name == utf8(meant[i].name), "a name is the pattern's");
      require(found[i].brace + 1 == offset(points, meant[i].end), "a body begins where the pattern ends");
      std::vector<std::string> inherited;
      for (const std::string& type : Text::split(utf8(meant[i].group), ',')) inherited.push_back(Text::trimmed(type));
      require(found[i].inherited == inherited, "what it inherits is the pattern's");
    }
  }
}

} // namespace

/// Blanking keeps every offset and line and changes nothing more the second time; reads lie in the text, in order,
/// survive the blanking, and are those that the rules say by their letter.
void flagScan(std::string_view input) {
  std::string text(input);
  std::string blanked = SourceBlanker::withoutComments(text);
  require(blanked == Literal::withoutComments(text), "comments are blanked by the rules");
  require(SourceBlanker::withoutComments(blanked) == blanked, "a second time changes nothing");

  auto reads = FlagScan::reads({{"a.swift", text}});
  require(reads == FlagScan::reads({{"a.swift", blanked}}), "comments hold no reads");
  auto lines = 1 + std::count_if(text.begin(), text.end(), isLineBreak);
  int last = 1;
  for (const FlagRead& read : reads) {
    require(read.line >= last && read.line <= lines, "reads stand in order");
    require(!read.key.empty() && blanked.find(read.key) != std::string::npos, "a key is in the text");
    last = read.line;
  }
  bool broken = false;
  std::u32string points = codePoints(blanked, &broken);
  if (broken || points.size() > 2000) return; // the letter of the rules takes cubic time
  literally(blanked, points);
  for (const auto& match : Literal::literalReads(points)) {
    FlagRead read{utf8(match.group), "a.swift", Literal::line(points, match.at)};
    require(std::find(reads.begin(), reads.end(), read) != reads.end(), "the scan has what the patterns find");
  }
}

} // namespace kestu::fuzz
