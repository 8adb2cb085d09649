#include "core/events/event_text.hpp"

#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/support/moments.hpp"
#include "core/support/text.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace kestu::Format {

namespace {

using Row = std::vector<std::string>;

std::string dayText(std::chrono::local_days day, std::chrono::local_days today) {
  std::chrono::year_month_day date{std::chrono::sys_days(day.time_since_epoch())};
  std::string text =
      Format::day(fmt::format("{:04}-{:02}-{:02}", int(date.year()), unsigned(date.month()), unsigned(date.day())));
  bool sameYear = date.year() == std::chrono::year_month_day{std::chrono::sys_days(today.time_since_epoch())}.year();
  bool near = sameYear || std::chrono::abs(day - today) < std::chrono::days(183);
  return near ? text.substr(0, text.rfind(' ')) : text;
}

std::string clockText(std::chrono::local_seconds time) {
  std::chrono::hh_mm_ss clock(time - std::chrono::floor<std::chrono::days>(time));
  return fmt::format("{}:{:02}", clock.hours().count(), clock.minutes().count());
}

std::string languageCodes(const Event& event) {
  std::vector<std::string> codes;
  for (const EventLanguage& language : event.languages) codes.push_back(printable(language.locale));
  return Text::joined(codes, ", ");
}

std::string countriesText(const Event& event) {
  if (!event.regions) return "every country";
  std::vector<std::string> all;
  for (const std::string& region : *event.regions) all.push_back(printable(region));
  return all.empty() ? "none" : Text::joined(all, ", ");
}

std::string mediaText(const std::optional<EventMedia>& media) {
  if (!media) return "none yet";
  std::string text = printable(media->fileName) + ", ";
  if (media->state == "ready") return text + "ready" + (media->frame ? ", frame " + printable(*media->frame) : "");
  if (media->state != "failed") return text + "Apple is checking it";
  return text + "Apple refused it" + (media->error ? ": " + printable(*media->error) : "");
}

bool fits(const std::string& text, int width) {
  auto lines = Text::split(TextStyle::plain(text), '\n');
  return width <= 0 || std::all_of(lines.begin(), lines.end(), [&](const std::string& line) {
           return Text::columns(line) <= static_cast<std::size_t>(width);
         });
}

std::string styledState(const Event& event, const TextStyles& style) {
  std::string text = eventState(event);
  switch (event.stateKind()) {
  case EventState::rejected:
    return style.red(text);
  case EventState::approved:
  case EventState::published:
    return style.green(text);
  default:
    return text;
  }
}

/// Labels in a column of their own and values beside them, or, where that leaves too little, below.
std::string fields(const std::vector<std::pair<std::string, std::string>>& rows, int indent, int width,
                   const TextStyles& style) {
  std::size_t widest = 0;
  for (const auto& [label, value] : rows) widest = std::max(widest, Text::columns(label));
  const int column = indent + static_cast<int>(widest) + 2;
  const std::string margin(static_cast<std::size_t>(indent), ' ');
  std::string text;
  for (const auto& [label, value] : rows) {
    std::string line = margin + label + std::string(widest - Text::columns(label) + 2, ' ') + value;
    if (!text.empty()) text += "\n";
    std::string wrapped = width > 0 ? TextStyle::wrap(line, width, column) : line;
    // The label is styled last, as what is styled would be measured as its words are.
    text += margin + style.dim(label) + wrapped.substr(margin.size() + label.size());
  }
  return text;
}

std::string languageText(const Event& event, const EventLanguage& language, int width, const TextStyles& style) {
  std::string text = "\n\n" + style.bold(printable(language.locale));
  if (event.primaryLocale == language.locale) text += " (primary)";
  auto given = [](const std::optional<std::string>& value) { return value ? printable(*value) : "none yet"; };
  return text + "\n" +
         fields({{"Name", given(language.name)},
                 {"On its card", given(language.shortDescription)},
                 {"On its page", given(language.longDescription)},
                 {"Card", mediaText(language.card)},
                 {"Details page", mediaText(language.details)}},
                2, width, style);
}

std::string territoryText(const TerritoryDates& own, const TimeZone& zone, Moment now) {
  std::vector<std::string> codes;
  for (const std::string& code : own.storefronts) codes.push_back(printable(code));
  return Text::joined(codes, ", ") + ": " + eventDates(own.dates, zone, now);
}

} // namespace

std::string eventState(const Event& event) {
  switch (event.stateKind()) {
  case EventState::draft:
    return "a draft";
  case EventState::readyForReview:
    return "to go to App Review with a version";
  case EventState::waitingForReview:
    return "waiting for App Review";
  case EventState::inReview:
    return "in App Review";
  case EventState::rejected:
    return "rejected by App Review";
  case EventState::accepted:
    return "accepted by App Review, with the rest of its submission to come";
  case EventState::approved:
    return "approved";
  case EventState::published:
    return "on the App Store";
  case EventState::past:
    return "over";
  case EventState::archived:
    return "archived";
  case EventState::other:
    break;
  }
  return printable(event.state);
}

std::string eventTime(Moment moment, const TimeZone& zone, Moment now) {
  auto time = zone.local(moment);
  auto day = std::chrono::floor<std::chrono::days>(time);
  auto today = std::chrono::floor<std::chrono::days>(zone.local(now));
  if (day == today) return clockText(time);
  if (day == today + std::chrono::days(1)) return "tomorrow, " + clockText(time);
  if (day == today - std::chrono::days(1)) return "yesterday, " + clockText(time);
  return dayText(day, today) + ", " + clockText(time);
}

std::string eventDates(const EventDates& dates, const TimeZone& zone, Moment now) {
  auto end = zone.local(dates.eventEnd);
  using std::chrono::days;
  bool oneDay = std::chrono::floor<days>(zone.local(dates.eventStart)) == std::chrono::floor<days>(end);
  return eventTime(dates.eventStart, zone, now) + " to " +
         (oneDay ? clockText(end) : eventTime(dates.eventEnd, zone, now));
}

std::string eventDays(const EventDates& dates, Moment now) {
  if (now < dates.eventStart) return "starts " + until(dates.eventStart, now);
  if (now >= dates.eventEnd) return "ended " + ago(dates.eventEnd, now);
  std::string left = until(dates.eventEnd, now);
  return left == "now" ? "ends now" : "ends " + left;
}

std::string events(const std::vector<Event>& events, const TimeZone& zone, Moment now, const TextStyles& style,
                   int width) {
  std::vector<Row> rows = {{"Event", "State", "Runs (" + zone.id() + ")", "", "Languages"}};
  for (std::string& heading : rows.front()) heading = style.bold(heading);
  for (const Event& event : events) {
    Row row = {printable(event.name), styledState(event, style), "no dates yet", "", languageCodes(event)};
    if (event.schedule) {
      row[2] = eventDates(event.schedule->dates, zone, now);
      row[3] = eventDays(event.schedule->dates, now);
    }
    rows.push_back(std::move(row));
  }
  for (std::size_t columns : {5U, 4U, 3U}) { // what there's no room for is left out from the right
    auto narrow = rows;
    for (Row& row : narrow) {
      row.resize(std::min(row.size(), columns));
      while (row.back().empty()) row.pop_back();
    }
    if (std::string text = table(narrow); fits(text, width)) return text;
  }
  std::vector<std::string> blocks;
  for (std::size_t at = 1; at < rows.size(); ++at) {
    Row row = rows[at];
    row.resize(5);
    std::string runs = row[2] + (row[3].empty() ? "" : ", " + row[3]);
    std::vector<std::pair<std::string, std::string>> facts = {{"State", row[1]}, {"Runs", runs}};
    if (!row[4].empty()) facts.emplace_back("Languages", row[4]);
    blocks.push_back(TextStyle::wrap(style.bold(row[0]), width) + "\n" + fields(facts, 2, width, style));
  }
  return Text::joined(blocks, "\n") + "\n" + TextStyle::wrap("Times are those of " + zone.id() + ".", width);
}

Table eventsTable(const std::vector<Event>& events) {
  Table table{
      {"Name", "State", "Badge", "Purpose", "Priority", "Shown from", "Starts", "Ends", "Countries", "Languages", "ID"},
      {}};
  for (const Event& event : events) {
    auto date = [&](Moment EventDates::*which) {
      return event.schedule ? Moments::iso8601(event.schedule->dates.*which) : std::string();
    };
    table.rows.push_back({printable(event.name), printable(event.state), printable(event.badge.value_or("")),
                          printable(event.purpose), printable(event.priority), date(&EventDates::publishStart),
                          date(&EventDates::eventStart), date(&EventDates::eventEnd),
                          event.regions ? countriesText(event) : "", languageCodes(event), printable(event.eventId)});
  }
  return table;
}

std::string eventDetails(const Event& event, const TimeZone& zone, Moment now, const TextStyles& style, int width) {
  std::vector<std::pair<std::string, std::string>> rows = {{"State", styledState(event, style)}};
  if (event.schedule) {
    const EventDates& dates = event.schedule->dates;
    rows.emplace_back("Runs", eventDates(dates, zone, now) + ", " + eventDays(dates, now));
    rows.emplace_back("Shown from",
                      dates.publishStart == dates.eventStart ? "its start" : eventTime(dates.publishStart, zone, now));
    for (const TerritoryDates& own : event.schedule->territories) {
      rows.emplace_back("Otherwise in", territoryText(own, zone, now));
    }
    rows.emplace_back("Time zone", zone.id());
  } else {
    rows.emplace_back("Runs", "no dates yet");
  }
  rows.emplace_back("Badge", event.badge ? Events::label(Events::badges(), *event.badge) : "none yet");
  rows.emplace_back("For", Events::label(Events::purposes(), event.purpose));
  rows.emplace_back("Priority", Events::label(Events::priorities(), event.priority));
  rows.emplace_back("Countries", countriesText(event));
  rows.emplace_back("Opens", event.deepLink ? printable(*event.deepLink) : "the app");
  rows.emplace_back("Apple's ID", printable(event.eventId));
  std::string title = style.bold(printable(event.name));
  std::string text = (width > 0 ? TextStyle::wrap(title, width) : title) + "\n" + fields(rows, 2, width, style);
  for (const EventLanguage& language : event.languages) text += languageText(event, language, width, style);
  if (event.languages.empty()) text += "\n\nNo languages yet.";
  if (event.needs.empty()) return text;
  text += "\n\n" + style.amber("App Review still needs");
  for (const std::string& need : event.needs) {
    text += "\n" + (width > 0 ? TextStyle::wrap("  " + printable(need), width, 4) : "  " + printable(need));
  }
  return text;
}

Table eventTable(const Event& event) {
  Table all = eventsTable({event});
  Table table{{"Field", "Value"}, {}};
  for (std::size_t i = 0; i < all.headings.size(); ++i) table.rows.push_back({all.headings[i], all.rows[0][i]});
  table.rows.push_back({"Deep link", printable(event.deepLink.value_or(""))});
  table.rows.push_back({"Primary language", printable(event.primaryLocale.value_or(""))});
  for (const EventLanguage& language : event.languages) {
    const std::string of = printable(language.locale) + " ";
    table.rows.push_back({of + "name", printable(language.name.value_or(""))});
    table.rows.push_back({of + "short description", printable(language.shortDescription.value_or(""))});
    table.rows.push_back({of + "long description", printableText(language.longDescription.value_or(""))});
    table.rows.push_back({of + "card", language.card ? mediaText(language.card) : ""});
    table.rows.push_back({of + "details page", language.details ? mediaText(language.details) : ""});
  }
  for (const std::string& need : event.needs) table.rows.push_back({"Still needed", printable(need)});
  return table;
}

} // namespace kestu::Format
