#include "core/console/text_style.hpp"
#include "core/listing/listing_change.hpp"
#include "core/listing/word_difference.hpp"
#include "tests/fuzz/targets.hpp"

namespace kestu::fuzz {

/// The runs are the old text and the new one again, and what is shown of them fits and can't steer a terminal.
void wordDifferences(std::string_view bytes) {
  Input input(bytes);
  int width = static_cast<int>(20 + input.byte() % 100);
  std::string_view before = input.rest().substr(0, input.rest().find("\n~\n"));
  std::string_view after = input.rest().substr(std::min(before.size() + 3, input.rest().size()));
  std::string old, now;
  bool first = true;
  auto kind = WordRun::Kind::same;
  for (const WordRun& run : wordDifference(before, after)) {
    require(!run.text.empty(), "a run has a text");
    require(first || run.kind != kind, "runs of one kind are one");
    first = false;
    kind = run.kind;
    if (run.kind != WordRun::Kind::comes) old += run.text;
    if (run.kind != WordRun::Kind::goes) now += run.text;
  }
  require(old == before && now == after, "the runs make up both texts");
  std::vector<ListingDifference> all = {{"en-US", "description", std::string(before), std::string(after)}};
  for (auto columns : {std::optional<int>(), std::optional(width)}) {
    requirePrintable(differencesText(all, columns, TextStyles(true)), "a difference");
    requirePrintable(wordDifferencesText(all, columns, TextStyles(false)), "a difference in words");
  }
}

} // namespace kestu::fuzz
