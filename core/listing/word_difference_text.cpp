#include "core/console/printable.hpp"
#include "core/listing/listing_change.hpp"
#include "core/listing/word_difference.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <vector>

namespace kestu {

namespace {

constexpr std::size_t around = 60; ///< bytes of what stays, on either side of a change

/// Cut at a blank near, else where it is.
std::string_view lastPart(std::string_view text) {
  if (text.size() <= around) return text;
  std::size_t from = text.find(' ', text.size() - around);
  return from == std::string_view::npos ? text.substr(text.size()) : text.substr(from);
}

std::string_view firstPart(std::string_view text) {
  if (text.size() <= around) return text;
  std::size_t to = text.rfind(' ', around);
  return to == std::string_view::npos ? text.substr(0, 0) : text.substr(0, to + 1);
}

std::string stays(std::string_view text, bool first, bool last) {
  std::string_view begin = first ? std::string_view() : firstPart(text);
  std::string_view end = last ? std::string_view() : lastPart(text);
  if (begin.size() + end.size() + 8 >= text.size()) return printableText(text);
  return printableText(begin) + "…" + printableText(end);
}

std::string marked(const WordRun& run, const TextStyles& style) {
  std::string text = printableText(run.text);
  if (run.kind == WordRun::Kind::goes) return style.on() ? style.red(text) : "[-" + text + "-]";
  return style.on() ? style.green(text) : "{+" + text + "+}";
}

std::string body(const ListingDifference& difference, const TextStyles& style) {
  if (difference.hidden) return difference.before ? "changes, not shown" : "sent, never shown";
  const std::string before = difference.before.value_or(""); // the runs point into it
  std::vector<WordRun> runs = wordDifference(before, difference.after);
  std::string text;
  for (std::size_t i = 0; i < runs.size(); ++i) {
    bool same = runs[i].kind == WordRun::Kind::same;
    if (style.on() && i > 0 && wouldGlue(runs[i - 1], runs[i])) text += ' '; // colours alone part them
    text += same ? stays(runs[i].text, i == 0, i + 1 == runs.size()) : marked(runs[i], style);
  }
  return text;
}

} // namespace

std::string wordDifferencesText(const std::vector<ListingDifference>& differences, std::optional<int> width,
                                const TextStyles& style) {
  std::string text;
  for (const ListingDifference& each : differences) {
    text += (text.empty() ? "  " : "\n  ") + style.bold(printable(each.place)) + "  " + each.label;
    for (const std::string& line : Text::split(body(each, style), '\n')) {
      std::string folded = width ? TextStyle::wrap("    " + line, std::max(*width, 24), 4) : "    " + line;
      text += "\n" + folded;
    }
  }
  return text;
}

} // namespace kestu
