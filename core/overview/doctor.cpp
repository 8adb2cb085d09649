#include "core/overview/doctor.hpp"

#include "core/console/printable.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <array>
#include <string_view>

namespace kestu {

namespace {

using State = DoctorItem::State;

constexpr std::array<std::string_view, 4> words = {"ok", "todo", "problem", "unknown"};

std::string_view word(State state) { return words.at(static_cast<std::size_t>(state)); }

std::string mark(State state, const TextStyles& style) {
  if (state == State::ok) return style.green("✓");
  return state == State::problem ? style.red("✗") : style.amber("!");
}

std::size_t count(const std::vector<DoctorGroup>& groups, State state) {
  std::size_t sum = 0;
  for (const DoctorGroup& group : groups) {
    for (const DoctorItem& item : group.items) sum += item.state == state ? 1 : 0;
  }
  return sum;
}

std::string itemText(const DoctorItem& item, std::size_t titles, int width, const TextStyles& style) {
  std::string title = printable(item.title);
  std::string text = mark(item.state, style) + " " + title;
  // In a narrow window what is known of it stands below its title.
  bool below = width < static_cast<int>(titles) + 34;
  int indent = below ? 2 : static_cast<int>(titles) + 4;
  std::string blanks(static_cast<std::size_t>(indent), ' ');
  if (item.detail && !item.detail->empty()) {
    std::string detail = TextStyle::wrap(printable(*item.detail), width - indent, 0);
    detail = Text::joined(Text::split(detail, '\n'), "\n" + blanks);
    text += below ? "\n" + blanks + detail : std::string(titles - Text::columns(title) + 2, ' ') + detail;
  }
  if (item.next && item.state != State::ok) {
    std::string next = TextStyle::wrap("→ " + printable(*item.next), width - indent, 2);
    text += "\n" + blanks + Text::joined(Text::split(next, '\n'), "\n" + blanks);
  }
  return text;
}

std::string counted(std::size_t number, const std::string& one, const std::string& several) {
  return std::to_string(number) + " " + (number == 1 ? one : several);
}

std::string summary(const std::vector<DoctorGroup>& groups) {
  std::size_t problems = count(groups, State::problem), todos = count(groups, State::todo);
  std::vector<std::string> parts;
  if (problems > 0) parts.push_back(counted(problems, "thing is broken", "things are broken"));
  if (todos > 0) parts.push_back(counted(todos, "isn't set up", "aren't set up"));
  return parts.empty() ? "✓ Nothing is broken, and all is set up." : Text::joined(parts, ", ") + ".";
}

} // namespace

DoctorItem DoctorItem::read(const JSONValue& value) {
  DoctorItem item{value.at("key").text(), value.at("title").text(), State::unknown};
  const auto* found = std::find(words.begin(), words.end(), value.at("state").text());
  if (found != words.end()) item.state = static_cast<State>(found - words.begin());
  item.detail = value.find("detail", &JSONValue::text);
  item.next = value.find("next", &JSONValue::text);
  return item;
}

std::string Doctor::text(const std::vector<DoctorGroup>& groups, int width, const TextStyles& style) {
  std::size_t titles = 0;
  for (const DoctorGroup& group : groups) {
    for (const DoctorItem& item : group.items) titles = std::max(titles, Text::columns(printable(item.title)));
  }
  std::string text;
  for (const DoctorGroup& group : groups) {
    if (group.items.empty()) continue;
    text += style.bold(printable(group.title)) + "\n";
    for (const DoctorItem& item : group.items) text += itemText(item, titles, width, style) + "\n";
    text += "\n";
  }
  return text + summary(groups);
}

JSONData Doctor::data(const std::vector<DoctorGroup>& groups) {
  JSONData items = JSONData::array();
  for (const DoctorGroup& group : groups) {
    for (const DoctorItem& item : group.items) {
      JSONData one = JSONData::object(
          {{"where", group.key}, {"key", item.key}, {"title", item.title}, {"state", word(item.state)}});
      one.setGiven("detail", item.detail).setGiven("next", item.next);
      items.add(std::move(one));
    }
  }
  return JSONData::object({{"items", items}});
}

bool Doctor::fails(const std::vector<DoctorGroup>& groups) { return count(groups, State::problem) > 0; }

} // namespace kestu
