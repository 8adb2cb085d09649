#pragma once

#include <string_view>
#include <vector>

namespace kestu {

/// A run of a text that both have, that only the old one has, or only the new one.
struct WordRun {
  enum class Kind { same, goes, comes };
  Kind kind;
  std::string_view text; ///< into the texts compared

  bool operator==(const WordRun&) const = default;
};

/// What makes the new text of the old one, in words, blanks and marks, and in single characters where a script has no
/// blanks between its words; the fewest changes (a longest common subsequence). Texts too long for that part once.
std::vector<WordRun> wordDifference(std::string_view before, std::string_view after);

/// Whether what goes or comes next would read as one word with what comes or goes before it.
bool wouldGlue(const WordRun& run, const WordRun& next);

} // namespace kestu
