#include "sandbox/account/accounts.hpp"
#include "sandbox/account/apps.hpp"
#include "sandbox/events/events.hpp"
#include "sandbox/plans.hpp"
#include "sandbox/release/releases.hpp"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

namespace kestu::sandbox::Releases {

namespace {

using nlohmann::json;
constexpr int phasedDays = 7;

[[noreturn]] void conflict(const std::string& message) { throw Refused(409, "conflict", message); }

Version& named(State& state, const App& app, const Call& call) {
  advance(state);
  auto* const version = byId(state, call.segments[4]);
  if (version == nullptr || version->appId != app.appId) {
    throw Refused(404, "not_found", "App Store Connect has no version of that ID.");
  }
  return *version;
}

void move(const State& state, Version& version, const std::string& to) {
  version.state = to;
  version.since = state.clock();
}

void goOut(State& state, Version& version) {
  bool isUpdate = false;
  for (auto& each : state.versions) {
    if (each.appId != version.appId || each.platform != version.platform || !isOut(each)) continue;
    isUpdate = true;
    if (each.state == "readyfordistribution") move(state, each, "replacedwithnewversion");
  }
  move(state, version, "readyfordistribution");
  if (!version.phased || !isUpdate) return;
  version.phasedState = "active";
  version.phasedDay = 1;
}

void advancePhases(const State& state, Version& version) {
  while (version.phasedState == "active" && state.clock() >= version.since + state.review.day) {
    version.since += state.review.day;
    if (version.phasedDay == phasedDays) {
      version.phasedState = "complete";
    } else {
      ++version.phasedDay;
    }
  }
}

const TestBuild* buildOf(const State& state, const Version& version) {
  const auto& builds = state.testFlight.builds;
  const auto found = std::find_if(builds.begin(), builds.end(),
                                  [&](const TestBuild& each) { return each.buildId == version.buildId; });
  return found == builds.end() || version.buildId.empty() ? nullptr : &*found;
}

void needSubmittable(const State& state, const App& app, const Version& version) {
  if (!isOpen(version)) conflict(Apps::title(app, version) + " can't be sent to App Review now.");
  const auto* const build = buildOf(state, version);
  if (build == nullptr) conflict(Apps::title(app, version) + " has no build.");
  if (build->state == "missingcompliance") conflict("The build's export compliance isn't answered.");
  if (build->state == "expired") conflict("The build has expired.");
}

// The event's name, once App Review would take it.
std::string submittable(State& state, const App& app, const std::string& eventId) {
  const auto* const event = Events::find(state, app.appId, eventId);
  if (event == nullptr) throw Refused(404, "not_found", "The app has no such event.");
  const auto title = Events::title(app, *event);
  if (!Events::isOpen(*event) && event->state != "readyforreview")
    conflict(title + " is " + event->state + " already.");
  if (const auto missing = Events::needs(state, *event); !missing.empty()) {
    conflict(fmt::format("{} still needs {}.", title, fmt::join(missing, ", ")));
  }
  return title;
}

void sendEvent(State& state, std::int64_t appId, const std::string& eventId) {
  auto* const event = Events::find(state, appId, eventId);
  if (event == nullptr) return;
  event->state = "waitingforreview";
  event->since = state.clock();
}

std::string actOnPhases(const State& state, Version& version, const std::string& action) {
  if (action == "complete") {
    if (version.phasedState != "active" && version.phasedState != "paused") return "changed";
    version.phasedState = "complete";
    return "";
  }
  const bool pauses = action == "pause";
  if (version.phasedState != (pauses ? "active" : "paused")) return "changed";
  version.phasedState = pauses ? "paused" : "active";
  version.since = state.clock();
  return "";
}

} // namespace

bool isWithReview(const Version& version) { return version.state == "waitingforreview" || version.state == "inreview"; }

void decide(State& state, Version& version, const std::string& rejection) {
  if (!rejection.empty()) return move(state, version, rejection);
  if (version.releaseType == "manual") return move(state, version, "pendingdeveloperrelease");
  if (version.releaseType == "scheduled" && version.earliestReleaseDate.value_or(Moment()) > state.clock()) {
    return move(state, version, "pendingapplerelease");
  }
  goOut(state, version);
}

Version* reviewed(State& state, const std::string& id) {
  Version* oldest = nullptr;
  for (auto& each : state.versions) {
    if (!isWithReview(each) || (id != "next" && each.versionId != id)) continue;
    if (oldest == nullptr || each.submittedAt < oldest->submittedAt) oldest = &each;
  }
  return oldest;
}

void advance(State& state) {
  const auto& review = state.review;
  for (auto& version : state.versions) {
    const auto due = version.since + review.step;
    if (review.byItself && version.state == "waitingforreview" && state.clock() >= due) {
      version.state = "inreview";
      version.since = due;
    }
    if (review.byItself && version.state == "inreview" && state.clock() >= version.since + review.step) {
      decide(state, version, review.rejection);
    }
    const bool isScheduled = version.state == "pendingapplerelease" && version.earliestReleaseDate;
    if (isScheduled && state.clock() >= *version.earliestReleaseDate) goOut(state, version);
    advancePhases(state, version);
  }
}

Answer submit(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  const Version& version = named(state, app, call);
  needSubmittable(state, app, version);
  const auto body = call.body.empty() ? json::object() : call.object();
  std::vector<std::string> lines{"Send it to App Review, with build " + buildOf(state, version)->number};
  const auto events = body.value("events", std::vector<std::string>());
  for (const auto& id : events) lines.push_back("And " + submittable(state, app, id));
  return Plans::change(state, call, Apps::title(app, version) + ", to App Review", std::move(lines),
                       [&state, id = version.versionId, events]() -> std::string {
                         auto* const there = byId(state, id);
                         if (there == nullptr || !isOpen(*there) || there->buildId.empty()) return "changed";
                         for (const auto& eventId : events) sendEvent(state, there->appId, eventId);
                         move(state, *there, "waitingforreview");
                         there->sent = true;
                         there->submittedAt = state.clock();
                         return "";
                       });
}

Answer withdraw(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  Version& version = named(state, app, call);
  if (!isWithReview(version) && version.state != "readyforreview" && version.state != "pendingdeveloperrelease") {
    conflict(Apps::title(app, version) + " isn't with App Review.");
  }
  if (!call.dryRun()) move(state, version, "developerrejected");
  return Answer::json({{"waits", false}});
}

Answer release(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  const Version& version = named(state, app, call);
  if (version.state != "pendingdeveloperrelease") {
    conflict(Apps::title(app, version) + " doesn't wait to be released.");
  }
  return Plans::change(state, call, Apps::title(app, version) + ", its release", {"Release it to the App Store"},
                       [&state, id = version.versionId]() -> std::string {
                         auto* const there = byId(state, id);
                         if (there == nullptr || there->state != "pendingdeveloperrelease") return "changed";
                         goOut(state, *there);
                         return "";
                       });
}

Answer phased(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  Version& version = named(state, app, call);
  const auto action = call.object().at("action").get<std::string>();
  if (action != "pause" && action != "resume" && action != "complete") {
    throw Refused(400, "invalid_request", fmt::format("{} is no action.", action));
  }
  Version tried = version;
  if (!actOnPhases(state, tried, action).empty()) {
    conflict(fmt::format("{} is not in phases that could {}.", Apps::title(app, version), action));
  }
  if (action == "pause") {
    if (!call.dryRun()) version = tried;
    return Answer::json({{"waits", false}});
  }
  const char* const line = action == "resume" ? "Resume its phased release" : "Release it to everyone at once";
  return Plans::change(state, call, Apps::title(app, version) + ", its phased release", {line},
                       [&state, id = version.versionId, action] {
                         auto* const there = byId(state, id);
                         return there == nullptr ? std::string("changed") : actOnPhases(state, *there, action);
                       });
}

} // namespace kestu::sandbox::Releases
