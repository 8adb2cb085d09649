#include "core/console/printable.hpp"
#include "core/console/table.hpp"
#include "core/listing/listing_change.hpp"
#include "core/support/text.hpp"
#include "core/support/utf8.hpp"

#include <algorithm>

namespace kestu {

namespace {

constexpr std::string_view arrow = " → ";
constexpr std::size_t narrowest = 24; // columns for both texts; where fewer are left, they go below their field

/// Whether a text may be cut before the position: not within a joined or combined character.
bool mayCut(std::string_view text, std::size_t position) {
  constexpr std::string_view joiner = "\u200D";
  if (position >= text.size()) return true;
  UTF8::Decoded next = UTF8::decode(text, position);
  return Text::columns(text.substr(position, next.length)) > 0 && !text.substr(0, position).ends_with(joiner);
}

/// Bytes that both begin with and a reader needn't see again: up to a word's start where there is one near.
std::size_t sameStart(std::string_view a, std::string_view b) {
  std::size_t same = static_cast<std::size_t>(std::mismatch(a.begin(), a.end(), b.begin(), b.end()).first - a.begin());
  while (same > 0 && same < a.size() && (static_cast<unsigned char>(a[same]) & 0xC0U) == 0x80) --same;
  std::size_t blank = a.substr(0, same).rfind(' ');
  if (blank != std::string_view::npos && same - blank < 24) return blank + 1;
  while (same > 0 && !(mayCut(a, same) && mayCut(b, same))) {
    --same;
    while (same > 0 && (static_cast<unsigned char>(a[same]) & 0xC0U) == 0x80) --same;
  }
  return same;
}

/// Secrets are sent whenever they are there, and compared with nothing.
std::string hiddenText(const ListingDifference& difference) {
  return difference.before ? "changes, not shown" : "sent, never shown";
}

std::string whole(const ListingDifference& difference) {
  if (difference.hidden) return hiddenText(difference);
  std::string after = printable(difference.after);
  return difference.before ? printable(*difference.before) + std::string(arrow) + after : after;
}

std::string shortened(const ListingDifference& difference, std::size_t columns) {
  if (difference.hidden) return hiddenText(difference);
  std::string after = printable(difference.after);
  if (!difference.before) return TextStyle::line(after, static_cast<int>(columns));
  std::string before = printable(*difference.before);
  std::size_t room = columns - Text::columns(arrow);
  if (Text::columns(before) + Text::columns(after) > room) {
    std::size_t half = room / 2;
    if (std::size_t same = sameStart(before, after); same > 8) {
      before = "…" + before.substr(same);
      after = "…" + after.substr(same);
    }
    std::size_t left = std::max(half, room - std::min(room, Text::columns(after)));
    before = TextStyle::line(before, static_cast<int>(left));
    after = TextStyle::line(after, static_cast<int>(room - Text::columns(before)));
  }
  return before + std::string(arrow) + after;
}

/// For a narrow window: a field's texts below it.
std::string stacked(const std::vector<ListingDifference>& differences, std::size_t room, const TextStyles& style) {
  constexpr std::string_view indent = "    ";
  std::size_t columns = std::max(narrowest, room > indent.size() ? room - indent.size() : 0);
  std::vector<std::string> lines;
  for (const ListingDifference& each : differences) {
    lines.push_back("  " + style.bold(printable(each.place)) + "  " + each.label);
    lines.push_back(std::string(indent) + shortened(each, columns));
  }
  return Text::joined(lines, "\n");
}

} // namespace

std::string differencesText(const std::vector<ListingDifference>& differences, std::optional<int> width,
                            const TextStyles& style) {
  std::size_t places = 0;
  std::size_t labels = 0;
  for (const ListingDifference& each : differences) {
    places = std::max(places, Text::columns(each.place));
    labels = std::max(labels, Text::columns(each.label));
  }
  const std::size_t taken = 2 + places + 2 + labels + 2;
  auto room = static_cast<std::size_t>(std::max(width.value_or(0), 0));
  if (width && room < taken + narrowest) return stacked(differences, room, style);
  std::size_t columns = width ? room - taken : 0;
  std::vector<std::vector<std::string>> rows;
  for (const ListingDifference& each : differences) {
    rows.push_back(
        {"  " + style.bold(printable(each.place)), each.label, width ? shortened(each, columns) : whole(each)});
  }
  return Format::table(rows);
}

std::vector<ChangeItem> changeItems(const std::vector<ListingDifference>& differences) {
  std::vector<ChangeItem> items;
  for (const ListingDifference& each : differences) {
    items.push_back({each.place, each.label, each.before, each.after, each.hidden});
  }
  return items;
}

std::string placesText(const std::vector<ListingDifference>& differences) {
  constexpr std::size_t most = 6;
  std::vector<std::string> places;
  for (const ListingDifference& each : differences) places.push_back(printable(each.place) + " " + each.label);
  std::size_t more = places.size() > most ? places.size() - most : 0;
  places.resize(places.size() - more);
  return Text::joined(places, ", ") + (more > 0 ? " and " + std::to_string(more) + " more" : "");
}

} // namespace kestu
