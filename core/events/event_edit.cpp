#include "core/events/event_edit.hpp"

#include "core/console/printable.hpp"
#include "core/console/table.hpp"
#include "core/console/text_style.hpp"
#include "core/events/event_text.hpp"
#include "core/support/moments.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <utility>

namespace kestu {

namespace {

std::string none(const std::optional<std::string>& text) { return text ? printable(*text) : "none"; }

std::optional<std::string> joined(const std::optional<std::vector<std::string>>& codes) {
  return codes ? std::optional(Text::joined(*codes, ",")) : std::nullopt;
}

using Codes = std::optional<std::vector<std::string>>;

/// Whether they are the same countries, whatever their order.
bool same(Codes some, Codes others) {
  if (some) std::sort(some->begin(), some->end());
  if (others) std::sort(others->begin(), others->end());
  return some == others;
}

std::string countries(const std::optional<std::vector<std::string>>& codes) {
  return codes ? printable(Text::joined(*codes, ", ")) : "every country";
}

const std::optional<std::string>& textOf(const EventLanguage& language, std::string_view key) {
  if (key == "name") return language.name;
  return key == "shortDescription" ? language.shortDescription : language.longDescription;
}

} // namespace

std::vector<std::string> EventEdit::parts() const {
  std::vector<std::string> all;
  for (const Value& value : values) all.push_back(value.part);
  return all;
}

std::string EventEdit::lines(int width) const {
  std::vector<std::vector<std::string>> rows;
  for (const Value& value : values) {
    rows.push_back({"  " + value.part, value.from ? value.fromText + " → " + value.toText : value.toText});
  }
  std::size_t column = 0; // where values stand, and go on where there's room
  for (const Value& value : values) column = std::max(column, Text::columns(value.part) + 4);
  const int under = static_cast<int>(column) + 24 <= width ? static_cast<int>(column) : 4;
  std::vector<std::string> wrapped;
  for (const std::string& line : Text::split(Format::table(rows), '\n')) {
    wrapped.push_back(width > 0 ? TextStyle::wrap(line, width, under) : line);
  }
  return Text::joined(wrapped, "\n");
}

void EventEdit::add(const std::string& key, Value value) {
  if (!value.to || value.from == value.to) return;
  body.set(key, *value.to);
  values.push_back(std::move(value));
}

EventEdit EventEdit::between(const Event& event, const EventGiven& given, const TimeZone& zone, Moment now) {
  EventEdit edit;
  auto plain = [&](const char* key, const char* part, const std::optional<std::string>& from,
                   const std::optional<std::string>& to) {
    edit.add(key, {part, from, to, none(from), none(to)});
  };
  auto word = [&](const char* key, const char* part, const std::vector<EventWord>& words,
                  const std::optional<std::string>& from, const std::optional<std::string>& to) {
    auto label = [&](const auto& value) { return value ? Events::label(words, *value) : "none"; };
    edit.add(key, {part, from, to, label(from), label(to)});
  };
  auto present = [](const std::string& text) { return text.empty() ? std::nullopt : std::optional(text); };
  plain("name", "name", present(event.name), given.name);
  auto was = event.schedule ? std::optional(event.schedule->dates) : std::nullopt;
  if (given.dates.any()) {
    EventDates dates = EventRules::merged(was, given.dates);
    auto date = [&](const char* part, Moment EventDates::*which) {
      auto shown = [&](Moment moment) { return Format::eventTime(moment, zone, now); };
      if (was && (*was).*which == dates.*which) return;
      Value value{part, std::nullopt, Moments::iso8601(dates.*which), "", shown(dates.*which)};
      if (was) {
        value.from = Moments::iso8601((*was).*which);
        value.fromText = shown((*was).*which);
      }
      edit.values.push_back(std::move(value));
    };
    date("start", &EventDates::eventStart);
    date("end", &EventDates::eventEnd);
    // One that goes along with the start isn't a change of its own.
    bool along = dates.publishStart == dates.eventStart && (!was || was->publishStart == was->eventStart);
    if (!along) date("promotion", &EventDates::publishStart);
    if (was != dates) edit.body.set("schedule", scheduleData(dates));
  }
  word("badge", "badge", Events::badges(), event.badge, given.badge);
  if (!given.deepLink || !given.deepLink->empty()) {
    plain("deepLink", "deep link", event.deepLink, given.deepLink);
  } else if (event.deepLink) { // it goes
    edit.body.set("deepLink", JSONData());
    edit.values.push_back({"deep link", event.deepLink, std::nullopt, none(event.deepLink), "none"});
  }
  word("purpose", "purpose", Events::purposes(), present(event.purpose), given.purpose);
  word("priority", "priority", Events::priorities(), present(event.priority), given.priority);
  plain("primaryLocale", "primary language", event.primaryLocale, given.primaryLocale);
  if (given.regions && !same(event.regions, given.regions)) {
    edit.body.set("regions", *given.regions);
    edit.values.push_back({"countries", joined(event.regions), joined(given.regions), countries(event.regions),
                           countries(given.regions)});
  }
  return edit;
}

EventEdit EventEdit::between(const EventLanguage* language,
                             const std::vector<std::pair<EventText, std::string>>& given) {
  EventEdit edit;
  for (const auto& [text, value] : given) {
    auto from = language ? textOf(*language, text.key) : std::nullopt;
    edit.add(std::string(text.key), {std::string(text.word), from, value, none(from), printable(value)});
  }
  return edit;
}

JSONData scheduleData(const EventDates& dates) {
  return JSONData::object({{"publishStart", Moments::iso8601(dates.publishStart)},
                           {"eventStart", Moments::iso8601(dates.eventStart)},
                           {"eventEnd", Moments::iso8601(dates.eventEnd)}});
}

} // namespace kestu
