#include "core/events/event.hpp"

#include "core/console/printable.hpp"
#include "core/console/table.hpp"
#include "core/support/error.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <array>
#include <utility>

namespace kestu {

using Kind = CLIError::Kind;

namespace {

constexpr std::array<std::pair<std::string_view, EventState>, 10> states = {{
    {"draft", EventState::draft},
    {"readyforreview", EventState::readyForReview},
    {"waitingforreview", EventState::waitingForReview},
    {"inreview", EventState::inReview},
    {"rejected", EventState::rejected},
    {"accepted", EventState::accepted},
    {"approved", EventState::approved},
    {"published", EventState::published},
    {"past", EventState::past},
    {"archived", EventState::archived},
}};

/// In lower case, without what parts words.
std::string joinedWord(std::string_view text) {
  std::string result = Text::lowercased(Text::trimmed(text));
  std::erase_if(result, [](char c) { return c == ' ' || c == '-' || c == '_'; });
  return result;
}

std::string listed(const std::vector<const Event*>& events) {
  std::vector<std::vector<std::string>> rows;
  for (const Event* event : events) {
    rows.push_back({"  " + printable(event->eventId), printable(event->name), printable(event->state)});
  }
  return Format::table(rows);
}

} // namespace

EventMedia EventMedia::read(const JSONValue& value) {
  return {value.at("fileName").text(), value.whenTrue("video"), value.at("state").text(),
          value.find("error", &JSONValue::text), value.find("frame", &JSONValue::text)};
}

EventLanguage EventLanguage::read(const JSONValue& value) {
  return {value.at("locale").text(),
          value.find("name", &JSONValue::text),
          value.find("shortDescription", &JSONValue::text),
          value.find("longDescription", &JSONValue::text),
          value.find("card", EventMedia::read),
          value.find("details", EventMedia::read)};
}

EventDates EventDates::read(const JSONValue& value) {
  return {value.at("publishStart").moment(), value.at("eventStart").moment(), value.at("eventEnd").moment()};
}

TerritoryDates TerritoryDates::read(const JSONValue& value) {
  return {value.at("storefronts").texts(), EventDates::read(value)};
}

EventSchedule EventSchedule::read(const JSONValue& value) {
  EventSchedule schedule{EventDates::read(value), {}};
  if (value.find("territories")) schedule.territories = value.listAt("territories", TerritoryDates::read);
  return schedule;
}

Event Event::read(const JSONValue& value) {
  Event event;
  event.eventId = value.at("eventId").text();
  event.name = value.at("name").text();
  event.state = value.at("state").text();
  event.badge = value.find("badge", &JSONValue::text);
  event.deepLink = value.find("deepLink", &JSONValue::text);
  event.purpose = value.at("purpose").text();
  event.priority = value.at("priority").text();
  event.primaryLocale = value.find("primaryLocale", &JSONValue::text);
  event.regions = value.find("regions", &JSONValue::texts);
  event.schedule = value.find("schedule", EventSchedule::read);
  event.languages = value.listAt("languages", EventLanguage::read);
  event.needs = value.find("needs", &JSONValue::texts).value_or(std::vector<std::string>());
  return event;
}

EventState Event::stateKind() const {
  const auto* found = std::find_if(states.begin(), states.end(), [&](const auto& each) { return each.first == state; });
  return found == states.end() ? EventState::other : found->second;
}

const EventLanguage* Event::language(std::string_view locale) const {
  auto found = std::find_if(languages.begin(), languages.end(),
                            [&](const EventLanguage& language) { return language.locale == locale; });
  return found == languages.end() ? nullptr : &*found;
}

std::string Event::quoted() const { return "\"" + printable(name) + "\""; }

namespace Events {

const std::vector<EventWord>& badges() {
  static const std::vector<EventWord> all = {{"liveevent", "Live Event"},      {"premiere", "Premiere"},
                                             {"challenge", "Challenge"},       {"competition", "Competition"},
                                             {"newseason", "New Season"},      {"majorupdate", "Major Update"},
                                             {"specialevent", "Special Event"}};
  return all;
}

const std::vector<EventWord>& purposes() {
  static const std::vector<EventWord> all = {{"appropriateforallusers", "Everyone"},
                                             {"attractnewusers", "Attract new users"},
                                             {"keepactiveusersinformed", "Keep active users informed"},
                                             {"bringbacklapsedusers", "Bring back lapsed users"}};
  return all;
}

const std::vector<EventWord>& priorities() {
  static const std::vector<EventWord> all = {{"high", "High"}, {"normal", "Normal"}};
  return all;
}

std::optional<std::string> word(const std::vector<EventWord>& words, std::string_view typed) {
  std::string wanted = joinedWord(typed);
  auto found = std::find_if(words.begin(), words.end(), [&](const EventWord& each) {
    return each.word == wanted || joinedWord(each.label) == wanted;
  });
  return found == words.end() ? std::nullopt : std::optional(std::string(found->word));
}

std::string label(const std::vector<EventWord>& words, const std::string& word) {
  auto found = std::find_if(words.begin(), words.end(), [&](const EventWord& each) { return each.word == word; });
  return found == words.end() ? printable(word) : std::string(found->label);
}

Response<std::vector<Event>> fetch(const Client& client, const std::string& appPath) {
  return client.get(appPath + "/events", {},
                    [](const JSONValue& value) { return value.listAt("events", Event::read); });
}

const Event& named(const std::vector<Event>& events, const std::string& text) {
  const std::string wanted = Text::trimmed(text);
  auto all = [&](auto isMeant) {
    std::vector<const Event*> found;
    for (const Event& event : events) {
      if (isMeant(event)) found.push_back(&event);
    }
    return found;
  };
  auto found = all([&](const Event& event) { return event.eventId == wanted; });
  if (found.empty()) found = all([&](const Event& event) { return Text::trimmed(event.name) == wanted; });
  if (found.empty()) {
    found = all([&, folded = Text::folded(wanted)](const Event& event) {
      return Text::folded(Text::trimmed(event.name)) == folded;
    });
  }
  if (found.size() == 1) return *found.front();
  if (found.empty()) {
    throw CLIError(Kind::notFound, "The app has no event named " + printable(wanted) + ": kestu events lists them.");
  }
  throw CLIError(Kind::usage, std::to_string(found.size()) + " events are named " + printable(wanted) +
                                  ". Name one by Apple's ID:\n" + listed(found));
}

} // namespace Events

} // namespace kestu
