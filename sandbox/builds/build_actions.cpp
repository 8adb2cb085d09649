#include "sandbox/account/accounts.hpp"
#include "sandbox/builds/testflight.hpp"
#include "sandbox/plans.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <vector>

namespace kestu::sandbox::TestFlights {

namespace {

using nlohmann::json;

TestBuild* find(State& state, std::int64_t appId, const std::string& buildId) {
  auto& all = state.testFlight.builds;
  const auto found = std::find_if(all.begin(), all.end(), [&](const TestBuild& build) {
    return build.appId == appId && build.buildId == buildId && !build.upload;
  });
  return found == all.end() ? nullptr : &*found;
}

TestBuild& named(State& state, const App& app, const Call& call) {
  advance(state);
  auto* const build = find(state, app.appId, call.segments[5]);
  if (build == nullptr) throw Refused(404, "not_found", "Apple has no build of that ID yet.");
  return *build;
}

[[noreturn]] void conflict(const std::string& message) { throw Refused(409, "conflict", message); }

// Changes that take effect at once; a dry run leaves everything as it is.
template <class Change>
Answer atOnce(const Call& call, Change change) {
  if (!call.dryRun()) change();
  return Answer::json({{"waits", false}});
}

std::vector<const TestGroup*> groupsOf(const State& state, const App& app, const json& ids) {
  std::vector<const TestGroup*> found;
  for (const auto& id : ids) {
    const auto& all = state.testFlight.groups;
    const auto group = std::find_if(all.begin(), all.end(), [&](const TestGroup& each) {
      return each.appId == app.appId && each.groupId == id.get<std::string>();
    });
    if (group == all.end()) throw Refused(404, "not_found", "The app has no such group.");
    found.push_back(&*group);
  }
  return found;
}

} // namespace

Answer expire(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  const auto& build = named(state, app, call);
  if (build.state == "expired") conflict(title(app, build) + " has expired already.");
  auto apply = [&state, appId = app.appId, id = build.buildId]() -> std::string {
    auto* const there = find(state, appId, id);
    if (there == nullptr || there->state == "expired") return "changed";
    there->state = "expired";
    return "";
  };
  return Plans::change(state, call, title(app, build), {"Expire it: testers can't install or open it any more"}, apply);
}

Answer compliance(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  auto& build = named(state, app, call);
  if (call.object().at("usesNonExemptEncryption").get<bool>()) {
    conflict("Encryption that needs documents is answered in App Store Connect.");
  }
  if (build.state != "missingcompliance") conflict(title(app, build) + " doesn't wait for that answer.");
  return atOnce(call, [&] { build.state = "readyforinternal"; });
}

Answer submit(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  auto& build = named(state, app, call);
  if (build.state != "readyforinternal") conflict(title(app, build) + " can't be submitted to Beta App Review now.");
  return atOnce(call, [&] {
    build.state = "waitingforbetareview";
    build.since = state.clock();
  });
}

Answer distribute(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  auto& build = named(state, app, call);
  const auto body = call.object();
  const auto add = groupsOf(state, app, body.at("add"));
  const auto remove = groupsOf(state, app, body.at("remove"));
  if (add.empty() && remove.empty()) throw Refused(400, "invalid_request", "No group is named.");
  for (const auto* group : add) {
    if (!isTestable(build.state)) conflict(title(app, build) + " isn't ready for testers.");
    if (!group->internal && build.state == "readyforinternal") {
      conflict(fmt::format("{} is for external testers: submit {} to Beta App Review first.", group->name,
                           title(app, build)));
    }
  }
  return atOnce(call, [&] {
    for (const auto* group : add) build.groupIds.insert(group->groupId);
    for (const auto* group : remove) build.groupIds.erase(group->groupId);
  });
}

Answer testNotes(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  auto& build = named(state, app, call);
  const auto body = call.object();
  const auto locale = body.at("locale").get<std::string>();
  const auto text = body.at("text").get<std::string>();
  if (locale.empty() || text.empty()) throw Refused(400, "invalid_request", "A locale and a text are needed.");
  return atOnce(call, [&] { build.notes[locale] = text; });
}

} // namespace kestu::sandbox::TestFlights
