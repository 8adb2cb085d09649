#include "sandbox/builds/testflight.hpp"

#include "sandbox/account/accounts.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <thread>

namespace kestu::sandbox::TestFlights {

namespace {

using nlohmann::json;
using namespace std::chrono_literals;

constexpr auto offered = 24h * 90;   // how long TestFlight offers a build
constexpr auto uploadListed = 30min; // how long an unfinished upload is among the builds

json buildJson(const TestBuild& build) {
  json value{{"buildId", build.buildId},
             {"platform", build.platform},
             {"version", build.version},
             {"number", build.number},
             {"uploadedAt", isoText(build.uploadedAt)},
             {"expiresAt", isoText(build.uploadedAt + offered)},
             {"state", build.state},
             {"upload", build.upload},
             {"stuck", false},
             {"canSubmit", build.state == "readyforinternal"},
             {"canDeclareExempt", build.state == "missingcompliance"},
             {"groupIds", build.groupIds}};
  if (!build.error.empty()) value["uploadError"] = build.error;
  return value;
}

json groupJson(const TestGroup& group) {
  return {{"groupId", group.groupId}, {"name", group.name}, {"internal", group.internal}, {"kestu", false}};
}

json groupsJson(const State& state, const App& app) {
  auto groups = json::array();
  for (const auto& group : state.testFlight.groups) {
    if (group.appId == app.appId) groups.push_back(groupJson(group));
  }
  return groups;
}

// What an upload is listed as until its file is there.
TestBuild asBuild(const BuildUpload& upload) {
  return {upload.appId,   upload.uploadId,  upload.platform,
          upload.version, upload.build,     upload.createdAt,
          "uploading",    upload.createdAt, true};
}

std::vector<TestBuild> newestFirst(const State& state, const App& app) {
  std::vector<TestBuild> all;
  for (const auto& upload : state.testFlight.uploads) {
    if (state.clock() - upload.createdAt < uploadListed) all.push_back(asBuild(upload));
  }
  for (const auto& build : state.testFlight.builds) {
    if (!build.upload || state.clock() - build.uploadedAt >= state.testFlight.listing) all.push_back(build);
  }
  std::erase_if(all, [&](const TestBuild& build) { return build.appId != app.appId; });
  std::stable_sort(all.begin(), all.end(), [](const auto& a, const auto& b) { return a.uploadedAt > b.uploadedAt; });
  return all;
}

void addDemo(State& state, std::int64_t appId, const std::string& platform, const std::string& version,
             const std::string& number, const std::string& buildState, std::chrono::hours age) {
  const auto at = state.clock() - age;
  state.testFlight.builds.push_back({appId, randomUuid(), platform, version, number, at, buildState, at});
}

// The build that a wait is for, as it is listed; none yet is "uploading" without an ID.
TestBuild awaited(const State& state, const App& app, const json& body) {
  const auto id = body.value("buildId", std::string());
  const auto number = body.value("number", std::string());
  const auto version = body.value("version", std::string());
  const auto platform = body.at("platform").get<std::string>();
  if (id.empty() && number.empty()) throw Refused(400, "invalid_request", "The wait names no build.");
  for (const auto& build : newestFirst(state, app)) {
    const bool named =
        id.empty() ? build.number == number && (version.empty() || build.version == version) : build.buildId == id;
    if (named && build.platform == platform) return build;
  }
  return {app.appId, "", platform, version, number, state.clock(), "", state.clock()};
}

} // namespace

void makeDemo(State& state) {
  state.testFlight = {};
  const auto& app = state.apps.front();
  addDemo(state, app.appId, "ios", "1.2", "44", "missingcompliance", 2h);
  addDemo(state, app.appId, "macos", "1.2", "12", "readyforinternal", 5h);
  addDemo(state, app.appId, "ios", "1.2", "43", "readyforinternal", 24h * 3);
  addDemo(state, app.appId, "macos", "1.1", "11", "readyforexternal", 24h * 62);
  addDemo(state, app.appId, "ios", "1.1", "42", "readyforexternal", 24h * 63);
  addDemo(state, app.appId, "ios", "1.0", "30", "expired", 24h * 200);
  for (const auto& each : state.apps) {
    state.testFlight.groups.push_back({each.appId, randomUuid(), "Team", true});
    state.testFlight.groups.push_back({each.appId, randomUuid(), "Friends & Family", false});
  }
  for (auto& build : state.testFlight.builds) {
    if (isTestable(build.state)) build.groupIds.insert(state.testFlight.groups[0].groupId);
    if (build.state == "readyforexternal") build.groupIds.insert(state.testFlight.groups[1].groupId);
  }
}

void advance(State& state) {
  auto& flight = state.testFlight;
  const auto now = state.clock();
  for (auto& build : flight.builds) {
    const auto move = [&](std::string_view from, std::string_view to, std::chrono::seconds after) {
      if (build.state != from || now < build.since + after) return false;
      build.state = to;
      build.since += after;
      return true;
    };
    if (move("processing", build.error.empty() ? "missingcompliance" : "failed", flight.processing) &&
        build.error.empty()) {
      build.upload = false;
      build.buildId = randomUuid();
    }
    move("waitingforbetareview", "inbetareview", flight.reviewing);
    move("inbetareview", "readyforexternal", flight.reviewing);
  }
}

bool isProcessed(const std::string& buildState) { return buildState != "uploading" && buildState != "processing"; }

bool isTestable(const std::string& buildState) {
  constexpr std::array<std::string_view, 5> states{"readyforinternal", "readyforexternal", "waitingforbetareview",
                                                   "inbetareview", "betarejected"};
  return std::find(states.begin(), states.end(), buildState) != states.end();
}

std::string title(const App& app, const TestBuild& build) {
  return fmt::format("{} {} ({}) for {}", app.name, build.version, build.number, platformName(build.platform));
}

json listing(const State& state, const App& app, const std::string& platform, const std::string& version) {
  auto builds = json::array();
  for (const auto& build : newestFirst(state, app)) {
    const bool wanted =
        (platform.empty() || build.platform == platform) && (version.empty() || build.version == version);
    if (wanted) builds.push_back(buildJson(build));
  }
  return {{"builds", builds}, {"groups", groupsJson(state, app)}, {"primaryLocale", app.primaryLocale}};
}

Answer builds(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  advance(state);
  return Answer::json(listing(state, app, call.param("platform"), call.param("version")));
}

Answer groups(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  return Answer::json({{"groups", groupsJson(state, app)}});
}

Answer wait(State& state, const Call& call) {
  const auto body = call.object();
  const bool testable = body.at("testable").get<bool>();
  const auto seconds = std::min<std::int64_t>(body.at("seconds").get<std::int64_t>(), 25);
  const auto cursor = body.value("cursor", std::string());
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
  while (true) {
    {
      const std::lock_guard held(state.mutex);
      const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
      advance(state);
      const auto build = awaited(state, app, body);
      const auto at = fmt::format("{}/{}", build.buildId, build.state);
      const bool reached = !build.buildId.empty() && (testable ? isTestable(build.state) : isProcessed(build.state));
      const bool over = !state.settings.holdsWaits || state.ending || std::chrono::steady_clock::now() >= end;
      if (reached || over || at != cursor) {
        return Answer::json({{"cursor", at}, {"polling", 5}, {"builds", listing(state, app, build.platform, "")}});
      }
    }
    std::this_thread::sleep_for(50ms);
  }
}

} // namespace kestu::sandbox::TestFlights
