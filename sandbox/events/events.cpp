#include "sandbox/events/events.hpp"

#include "sandbox/account/accounts.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace kestu::sandbox::Events {

namespace {

using nlohmann::json;
using namespace std::chrono_literals;

constexpr std::array<std::string_view, 3> textKeys{"name", "shortDescription", "longDescription"};
constexpr std::array<std::pair<std::string_view, std::string_view>, 2> slots{
    {{"card", "card"}, {"details", "details page"}}};

json datesJson(const EventDates& dates) {
  return {{"publishStart", isoText(dates.publishStart)},
          {"eventStart", isoText(dates.eventStart)},
          {"eventEnd", isoText(dates.eventEnd)}};
}

json mediaJson(const State& state, const EventMedia& media) {
  json value{{"fileName", media.fileName}, {"video", media.video}, {"state", "processing"}};
  if (state.clock() >= media.processed) value["state"] = media.error.empty() ? "ready" : "failed";
  if (value["state"] == "failed") value["error"] = media.error;
  if (!media.frame.empty()) value["frame"] = media.frame;
  return value;
}

json eventJson(const State& state, const InAppEvent& event) {
  json value(event.fields);
  value["eventId"] = event.eventId;
  value["state"] = event.state;
  if (event.regions) value["regions"] = *event.regions;
  if (event.dates) value["schedule"] = datesJson(*event.dates);
  for (const auto& [storefronts, dates] : event.own) {
    auto own = datesJson(dates);
    own["storefronts"] = storefronts;
    value["schedule"]["territories"].push_back(std::move(own));
  }
  value["languages"] = json::array();
  for (const auto& [locale, language] : event.languages) {
    json each(language.texts);
    each["locale"] = locale;
    for (const auto& [slot, media] : language.media) each[slot] = mediaJson(state, media);
    value["languages"].push_back(std::move(each));
  }
  if (const auto missing = needs(state, event); !missing.empty() && isOpen(event)) value["needs"] = missing;
  return value;
}

void needLanguage(const State& state, const std::string& locale, const EventLanguage& language,
                  std::vector<std::string>& missing) {
  constexpr std::array<std::string_view, 3> words{"a name", "a short description", "a long description"};
  for (std::size_t i = 0; i < textKeys.size(); ++i) {
    if (!language.texts.contains(std::string(textKeys[i])))
      missing.push_back(fmt::format("{} in {}", words[i], locale));
  }
  for (const auto& [slot, word] : slots) {
    const auto media = language.media.find(std::string(slot));
    if (media == language.media.end()) {
      missing.push_back(fmt::format("a {} in {}", word, locale));
    } else if (state.clock() < media->second.processed) {
      missing.push_back(fmt::format("Apple's check of the {} in {}", word, locale));
    } else if (!media->second.error.empty()) {
      missing.push_back(fmt::format("another {} in {}: {}", word, locale, media->second.error));
    }
  }
}

EventLanguage demoLanguage(const State& state, const char* name, const char* shortText, const char* longText) {
  EventLanguage language;
  language.texts = {{"name", name}, {"shortDescription", shortText}, {"longDescription", longText}};
  language.media = {{"card", {randomUuid(), "card.png", false, "", state.clock()}},
                    {"details", {randomUuid(), "details.mov", true, "00:00:02:00", state.clock()}}};
  return language;
}

} // namespace

void makeDemo(State& state) {
  state.events = {};
  const auto now = std::chrono::floor<std::chrono::hours>(state.clock());
  InAppEvent running{state.apps.front().appId, "6500000001", "published", now - 24h * 9};
  running.fields = {{"name", "Meteor Night 2026"},
                    {"badge", "liveevent"},
                    {"deepLink", "https://daylight.example.com/meteors"},
                    {"purpose", "appropriateforallusers"},
                    {"priority", "high"},
                    {"primaryLocale", "en-US"}};
  running.dates = EventDates{now - 24h * 9, now - 24h * 2, now + 24h * 5};
  running.languages["en-US"] = demoLanguage(state, "Meteor Night", "Watch the Leonids with the whole world.",
                                            "A live map of every meteor that somebody saw, minute by minute.");
  InAppEvent past{state.apps.front().appId, "6500000000", "past", now - 24h * 60};
  past.fields = {{"name", "Summer Solstice"},
                 {"badge", "specialevent"},
                 {"purpose", "keepactiveusersinformed"},
                 {"priority", "normal"},
                 {"primaryLocale", "en-US"}};
  past.dates = EventDates{now - 24h * 160, now - 24h * 154, now - 24h * 153};
  past.regions = std::vector<std::string>{"se", "no", "fi", "dk", "is"};
  past.languages["en-US"] = demoLanguage(state, "The Longest Day", "All of the light, all of the night.",
                                         "Count the hours of the longest day of the year together.");
  state.events.events = {running, past};
}

void advance(State& state) {
  const auto now = state.clock();
  for (auto& event : state.events.events) {
    const auto move = [&](std::string_view from, std::string_view to, Moment at) {
      if (event.state != from || now < at) return;
      event.state = to;
      event.since = at;
    };
    move("waitingforreview", "inreview", event.since + state.events.reviewing);
    move("inreview", "approved", event.since + state.events.reviewing);
    if (!event.dates) continue;
    move("approved", "published", event.dates->publishStart);
    move("published", "past", event.dates->eventEnd);
    move("past", "archived", event.since + 24h * 365);
  }
}

InAppEvent* find(State& state, std::int64_t appId, const std::string& eventId) {
  auto& all = state.events.events;
  const auto found = std::find_if(all.begin(), all.end(), [&](const InAppEvent& event) {
    return event.appId == appId && event.eventId == eventId;
  });
  return found == all.end() ? nullptr : &*found;
}

InAppEvent& named(State& state, const App& app, const Call& call) {
  advance(state);
  auto* const event = find(state, app.appId, call.segments[4]);
  if (event == nullptr) throw Refused(404, "not_found", "Apple has no in-app event of that ID.");
  return *event;
}

std::string title(const App& app, const InAppEvent& event) {
  return fmt::format("{} of {}", event.fields.at("name"), app.name);
}

bool isOpen(const InAppEvent& event) {
  return event.state == "draft" || event.state == "readyforreview" || event.state == "rejected";
}

void conflict(const std::string& message) { throw Refused(409, "conflict", message); }

std::vector<std::string> needs(const State& state, const InAppEvent& event) {
  std::vector<std::string> missing;
  if (!event.fields.contains("badge")) missing.emplace_back("a badge");
  if (!event.dates) missing.emplace_back("its dates");
  const auto primary = event.fields.find("primaryLocale");
  if (primary == event.fields.end()) {
    missing.emplace_back("a primary language");
  } else if (!event.languages.contains(primary->second)) {
    missing.push_back(fmt::format("its primary language, {}", primary->second));
  }
  for (const auto& [locale, language] : event.languages) needLanguage(state, locale, language, missing);
  return missing;
}

Answer list(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  advance(state);
  auto events = json::array();
  for (const auto& event : state.events.events) {
    if (event.appId == app.appId) events.push_back(eventJson(state, event));
  }
  return Answer::json({{"events", events}});
}

} // namespace kestu::sandbox::Events
