#include "sandbox/page/difference.hpp"

#include "sandbox/text.hpp"

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace kestu::sandbox::Page {

namespace {

constexpr std::size_t mostWords = 4000;

bool isBlank(char c) { return c == ' ' || c == '\n' || c == '\t'; }

// Each word with the blanks behind it, so that joined they are the text again and a blank alone never counts as kept.
std::vector<std::string_view> wordsOf(std::string_view text) {
  std::vector<std::string_view> words;
  while (!text.empty()) {
    const auto blank = std::find_if(text.begin(), text.end(), isBlank);
    const auto end = std::find_if_not(blank, text.end(), isBlank);
    words.push_back(text.substr(0, static_cast<std::size_t>(end - text.begin())));
    text.remove_prefix(words.back().size());
  }
  return words;
}

// The text so far, with its marks: neighbours of one kind share one.
class Marked {
 public:
  void add(const char* kind, std::string_view word) {
    if (kind != kind_) {
      close();
      if (*kind) html_ += std::string("<") + kind + ">";
      kind_ = kind;
    }
    html_ += htmlEscaped(word);
  }
  std::string take() {
    close();
    return std::move(html_);
  }

 private:
  void close() {
    if (*kind_) html_ += std::string("</") + kind_ + ">";
    kind_ = "";
  }
  std::string html_;
  const char* kind_ = "";
};

} // namespace

std::string wordDifference(std::string_view before, std::string_view after) {
  static constexpr const char *same = "", *goes = "del", *comes = "ins";
  Marked marked;
  const auto old = wordsOf(before), now = wordsOf(after);
  if (old.size() > mostWords || now.size() > mostWords) {
    marked.add(goes, before);
    marked.add(comes, after);
    return marked.take();
  }
  // The longest common subsequence of what is left of both, by dynamic programming from the ends.
  const std::size_t width = now.size() + 1;
  std::vector<unsigned short> common((old.size() + 1) * width);
  for (std::size_t i = old.size(); i-- > 0;) {
    for (std::size_t j = now.size(); j-- > 0;) {
      common[i * width + j] = old[i] == now[j] ? static_cast<unsigned short>(common[(i + 1) * width + j + 1] + 1)
                                               : std::max(common[(i + 1) * width + j], common[i * width + j + 1]);
    }
  }
  std::size_t i = 0, j = 0;
  while (i < old.size() || j < now.size()) {
    if (i < old.size() && j < now.size() && old[i] == now[j]) {
      marked.add(same, old[i++]), ++j;
    } else if (j == now.size() || (i < old.size() && common[(i + 1) * width + j] >= common[i * width + j + 1])) {
      marked.add(goes, old[i++]);
    } else {
      marked.add(comes, now[j++]);
    }
  }
  return marked.take();
}

} // namespace kestu::sandbox::Page
