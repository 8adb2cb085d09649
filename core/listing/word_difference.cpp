#include "core/listing/word_difference.hpp"

#include "core/support/text.hpp"
#include "core/support/utf8.hpp"

#include <algorithm>
#include <cstdint>
#include <string>

namespace kestu {

namespace {

using Words = std::vector<std::string_view>;

constexpr std::size_t mostCells = std::size_t{8} << 20U; ///< of the table, two bytes each

/// Wide characters stand alone, since no blank parts their words.
bool isWide(std::string_view character) { return Text::columns(character) > 1; }

Words wordsOf(std::string_view text) {
  Words words;
  bool open = false; // whether the last word may go on
  for (std::size_t position = 0; position < text.size();) {
    UTF8::Decoded decoded = UTF8::decode(text, position);
    std::string_view character = text.substr(position, decoded.length);
    bool inWord = Text::isWordCharacter(decoded.value) && !isWide(character);
    bool combined = !words.empty() && decoded.value >= 0x80 && Text::columns(character) == 0;
    if ((open && inWord) || combined) {
      words.back() = text.substr(static_cast<std::size_t>(words.back().data() - text.data()),
                                 words.back().size() + decoded.length);
    } else {
      words.push_back(character);
      open = inWord;
    }
    position += decoded.length;
  }
  return words;
}

/// Adds the words as one run, longer where the run before is of the same kind.
void add(std::vector<WordRun>& runs, WordRun::Kind kind, std::string_view word) {
  if (!runs.empty() && runs.back().kind == kind && runs.back().text.data() + runs.back().text.size() == word.data()) {
    runs.back().text = {runs.back().text.data(), runs.back().text.size() + word.size()};
  } else if (!word.empty()) {
    runs.push_back({kind, word});
  }
}

/// The lengths of the longest common subsequences of all ends of both.
class Table {
 public:
  Table(const Words& before, const Words& after) : columns_(after.size() + 1), cells_((before.size() + 1) * columns_) {
    for (std::size_t i = before.size(); i-- > 0;) {
      for (std::size_t j = after.size(); j-- > 0;) {
        cell(i, j) = before[i] == after[j] ? static_cast<std::uint16_t>(cell(i + 1, j + 1) + 1)
                                           : std::max(cell(i + 1, j), cell(i, j + 1));
      }
    }
  }
  std::uint16_t& cell(std::size_t i, std::size_t j) { return cells_[i * columns_ + j]; }

 private:
  std::size_t columns_;
  std::vector<std::uint16_t> cells_;
};

void compare(std::vector<WordRun>& runs, const Words& before, const Words& after) {
  std::size_t i = 0;
  std::size_t j = 0;
  if (before.size() * after.size() <= mostCells && std::max(before.size(), after.size()) < UINT16_MAX) {
    Table table(before, after);
    while (i < before.size() && j < after.size()) {
      if (before[i] == after[j]) {
        add(runs, WordRun::Kind::same, after[j]);
        ++i;
        ++j;
      } else if (table.cell(i + 1, j) >= table.cell(i, j + 1)) {
        add(runs, WordRun::Kind::goes, before[i++]);
      } else {
        add(runs, WordRun::Kind::comes, after[j++]);
      }
    }
  }
  while (i < before.size()) add(runs, WordRun::Kind::goes, before[i++]);
  while (j < after.size()) add(runs, WordRun::Kind::comes, after[j++]);
}

} // namespace

std::vector<WordRun> wordDifference(std::string_view before, std::string_view after) {
  Words old = wordsOf(before);
  Words now = wordsOf(after);
  auto parted = std::mismatch(old.begin(), old.end(), now.begin(), now.end());
  auto start = parted.first - old.begin();
  Words oldRest(parted.first, old.end());
  Words nowRest(parted.second, now.end());
  auto ends = std::mismatch(oldRest.rbegin(), oldRest.rend(), nowRest.rbegin(), nowRest.rend());
  auto tail = ends.first - oldRest.rbegin();
  std::vector<WordRun> runs;
  for (auto word = now.begin(); word != now.begin() + start; ++word) add(runs, WordRun::Kind::same, *word);
  compare(runs, Words(oldRest.begin(), oldRest.end() - tail), Words(nowRest.begin(), nowRest.end() - tail));
  for (auto word = nowRest.end() - tail; word != nowRest.end(); ++word) add(runs, WordRun::Kind::same, *word);
  return runs;
}

bool wouldGlue(const WordRun& run, const WordRun& next) {
  using enum WordRun::Kind;
  if (run.kind == same || next.kind == same) return false;
  auto isNarrow = [](std::string_view word) {
    return !Text::trimmed(word).empty() && !isWide(word.substr(0, UTF8::decode(word, 0).length));
  };
  return isNarrow(wordsOf(run.text).back()) && isNarrow(wordsOf(next.text).front());
}

} // namespace kestu
