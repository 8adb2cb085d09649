#include "core/kit/flag_scan.hpp"
#include "core/kit/source_blanker.hpp"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

} // namespace

/// Blanking keeps every offset and line and changes nothing more the second time; reads lie in the text, in order, and
/// survive the blanking.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string text(reinterpret_cast<const char*>(data), size);
  std::string blanked = kestu::SourceBlanker::withoutComments(text);
  require(blanked.size() == text.size());
  for (std::size_t at = 0; at < size; ++at) {
    require(blanked[at] == text[at] || (blanked[at] == ' ' && !kestu::isLineBreak(text[at])));
  }
  require(kestu::SourceBlanker::withoutComments(blanked) == blanked);

  auto reads = kestu::FlagScan::reads({{"a.swift", text}});
  require(reads == kestu::FlagScan::reads({{"a.swift", blanked}}));
  auto lines = 1 + std::count_if(text.begin(), text.end(), kestu::isLineBreak);
  int last = 1;
  for (const kestu::FlagRead& read : reads) {
    require(read.line >= last && read.line <= lines);
    require(!read.key.empty() && blanked.find(read.key) != std::string::npos);
    last = read.line;
  }
  return 0;
}
