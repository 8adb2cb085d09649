#include "sandbox/account/accounts.hpp"
#include "sandbox/events/events.hpp"
#include "sandbox/plans.hpp"

#include "core/support/moments.hpp"
#include "core/support/text.hpp"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace kestu::sandbox::Events {

namespace {

using nlohmann::json;
using namespace std::chrono_literals;

constexpr std::array<std::string_view, 6> fieldKeys{"name",    "badge",    "deepLink",
                                                    "purpose", "priority", "primaryLocale"};
const std::map<std::string, std::vector<std::string>> words{
    {"badge", {"liveevent", "premiere", "challenge", "competition", "newseason", "majorupdate", "specialevent"}},
    {"purpose", {"appropriateforallusers", "attractnewusers", "keepactiveusersinformed", "bringbacklapsedusers"}},
    {"priority", {"high", "normal"}}};

Moment momentAt(const json& schedule, const char* key) {
  const auto moment = Moments::parse(schedule.at(key).get<std::string>());
  if (!moment) throw Refused(400, "invalid_request", fmt::format("{} isn't a moment.", key));
  return *moment;
}

EventDates datesOf(const json& schedule) {
  EventDates dates{momentAt(schedule, "publishStart"), momentAt(schedule, "eventStart"),
                   momentAt(schedule, "eventEnd")};
  const auto length = dates.eventEnd - dates.eventStart;
  if (length < 15min || length > 24h * 31) conflict("An event lasts 15 minutes to 31 days.");
  if (dates.publishStart > dates.eventStart || dates.eventStart - dates.publishStart > 24h * 14) {
    conflict("The App Store shows an event from 14 days before it starts at most.");
  }
  return dates;
}

void checkLength(const json& object, const char* key, std::size_t most) {
  if (!object.contains(key)) return;
  if (Text::characters(object.at(key).get<std::string>()) > most) {
    conflict(fmt::format("{} has more than {} characters.", key, most));
  }
}

void checkLanguage(const json& language) {
  checkLength(language, "name", 30);
  checkLength(language, "shortDescription", 50);
  checkLength(language, "longDescription", 120);
}

void checkFields(const json& body) {
  checkLength(body, "name", 64);
  for (const auto& [key, known] : words) {
    if (!body.contains(key)) continue;
    const auto word = body.at(key).get<std::string>();
    if (std::find(known.begin(), known.end(), word) == known.end()) {
      throw Refused(400, "invalid_request", fmt::format("{} is no {}.", word, key));
    }
  }
  if (body.contains("schedule")) datesOf(body.at("schedule"));
}

void apply(InAppEvent& event, const json& body) {
  for (const auto key : fieldKeys) {
    const auto field = body.find(key);
    if (field == body.end()) continue;
    if (field->is_null()) {
      event.fields.erase(std::string(key));
    } else {
      event.fields[std::string(key)] = *field;
    }
  }
  if (body.contains("regions")) event.regions = body.at("regions").get<std::vector<std::string>>();
  if (body.contains("schedule")) {
    event.dates = datesOf(body.at("schedule"));
    event.own.clear();
  }
}

void put(EventLanguage& language, const json& texts) {
  for (const auto* const key : {"name", "shortDescription", "longDescription"}) {
    if (texts.contains(key)) language.texts[key] = texts.at(key).get<std::string>();
  }
}

// What of an event may still change; throws Refused for anything else.
void needChangeable(const App& app, const InAppEvent& event, const json& body) {
  if (isOpen(event)) return;
  const bool approved = event.state == "approved" || event.state == "accepted";
  for (const auto& [key, value] : body.items()) {
    const bool may = key == "schedule" ? approved || event.state == "published"
                                       : approved && (key == "regions" || key == "priority");
    if (!may) conflict(fmt::format("{} is {}: its {} can't change now.", title(app, event), event.state, key));
  }
}

} // namespace

Answer create(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  const auto body = call.object();
  checkFields(body);
  InAppEvent event{app.appId, std::to_string(6500000002 + state.events.made), "draft", state.clock()};
  event.fields = {{"purpose", "appropriateforallusers"}, {"priority", "normal"}, {"primaryLocale", app.primaryLocale}};
  apply(event, body);
  if (!event.fields.contains("name")) throw Refused(400, "invalid_request", "An event has a name.");
  if (body.contains("language")) {
    checkLanguage(body.at("language"));
    put(event.languages[body.at("language").at("locale").get<std::string>()], body.at("language"));
  }
  auto more = json::object();
  if (!call.dryRun()) more["eventId"] = event.eventId;
  return atOnce(
      call,
      [&] {
        ++state.events.made;
        state.events.events.insert(state.events.events.begin(), std::move(event));
      },
      std::move(more));
}

Answer change(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  auto& event = named(state, app, call);
  const auto body = call.object();
  if (body.empty()) throw Refused(400, "invalid_request", "The change changes nothing.");
  needChangeable(app, event, body);
  checkFields(body);
  if (isOpen(event)) {
    return atOnce(call, [&] { apply(event, body); });
  }
  std::vector<std::string> lines;
  if (body.contains("schedule")) {
    const auto& dates = body.at("schedule");
    const auto at = [&](const char* key) { return dates.at(key).get<std::string>(); };
    lines.push_back(
        fmt::format("Run from {} to {}, shown from {}", at("eventStart"), at("eventEnd"), at("publishStart")));
  }
  if (body.contains("regions")) {
    lines.push_back(fmt::format("Show it in {}", fmt::join(body.at("regions").get<std::vector<std::string>>(), ", ")));
  }
  if (body.contains("priority")) lines.push_back("Priority: " + body.at("priority").get<std::string>());
  auto applied = [&state, app, id = event.eventId, body]() -> std::string {
    auto* const there = find(state, app.appId, id);
    if (there == nullptr) return "changed";
    try {
      needChangeable(app, *there, body);
    } catch (const Refused&) {
      return "changed";
    }
    Events::apply(*there, body);
    return "";
  };
  return Plans::change(state, call, title(app, event), std::move(lines), std::move(applied));
}

Answer putLanguage(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  auto& event = named(state, app, call);
  const auto body = call.object();
  checkLanguage(body);
  if (!isOpen(event))
    conflict(fmt::format("{} is {}: its languages can't change now.", title(app, event), event.state));
  const auto& locale = call.segments[6];
  if (!event.languages.contains(locale) && !body.contains("name")) conflict("A new language needs a name.");
  return atOnce(call, [&] { put(event.languages[locale], body); });
}

Answer removeLanguage(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  auto& event = named(state, app, call);
  const auto& locale = call.segments[6];
  if (!isOpen(event))
    conflict(fmt::format("{} is {}: its languages can't change now.", title(app, event), event.state));
  if (!event.languages.contains(locale)) throw Refused(404, "not_found", "The event hasn't that language.");
  if (event.fields.at("primaryLocale") == locale) conflict("An event's primary language can't be removed.");
  return atOnce(call, [&] { event.languages.erase(locale); });
}

Answer submit(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  auto& event = named(state, app, call);
  const bool withVersion = call.object().at("withVersion").get<bool>();
  if (!isOpen(event)) conflict(fmt::format("{} is {} already.", title(app, event), event.state));
  if (const auto missing = needs(state, event); !missing.empty()) {
    conflict(fmt::format("{} still needs {}.", title(app, event), fmt::join(missing, ", ")));
  }
  if (withVersion) {
    return atOnce(call, [&] {
      event.state = "readyforreview";
      event.since = state.clock();
    });
  }
  auto applied = [&state, appId = app.appId, id = event.eventId]() -> std::string {
    auto* const there = find(state, appId, id);
    if (there == nullptr || !isOpen(*there)) return "changed";
    there->state = "waitingforreview";
    there->since = state.clock();
    return "";
  };
  return Plans::change(state, call, title(app, event), {"Send it to App Review"}, std::move(applied));
}

Answer cancel(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  auto& event = named(state, app, call);
  if (event.state != "waitingforreview" && event.state != "inreview" && event.state != "readyforreview") {
    conflict(fmt::format("{} isn't with App Review.", title(app, event)));
  }
  return atOnce(call, [&] {
    event.state = "draft";
    event.since = state.clock();
  });
}

Answer remove(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  const auto& event = named(state, app, call);
  if (!isOpen(event) && event.state != "approved" && event.state != "archived") {
    conflict(fmt::format("{} is {}: Apple keeps it.", title(app, event), event.state));
  }
  auto applied = [&state, appId = app.appId, id = event.eventId]() -> std::string {
    if (find(state, appId, id) == nullptr) return "changed";
    std::erase_if(state.events.events, [&](const InAppEvent& each) { return each.eventId == id; });
    return "";
  };
  return Plans::change(state, call, title(app, event), {"Delete it for good"}, std::move(applied));
}

} // namespace kestu::sandbox::Events
