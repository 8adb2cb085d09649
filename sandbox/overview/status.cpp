#include "sandbox/account/accounts.hpp"
#include "sandbox/account/apps.hpp"
#include "sandbox/builds/testflight.hpp"
#include "sandbox/overview/overview.hpp"
#include "sandbox/plans.hpp"
#include "sandbox/prices/prices.hpp"
#include "sandbox/release/releases.hpp"

#include <fmt/format.h>

namespace kestu::sandbox::Overview {

namespace {

using nlohmann::json;

json platformJson(const State& state, const App& app, const std::string& platform) {
  json value{{"platform", platform}};
  for (const auto& version : state.versions) {
    if (version.appId != app.appId || version.platform != platform) continue;
    const char* const place = version.state == "readyfordistribution" ? "live" : Releases::isOut(version) ? "" : "next";
    if (*place == '\0' || value.contains(place)) continue;
    value[place] = Apps::versionJson(state, version);
    if (Releases::isWithReview(version) && version.submittedAt) value["submittedAt"] = isoText(*version.submittedAt);
  }
  const auto builds = TestFlights::listing(state, app, platform, "").at("builds");
  if (!builds.empty()) value["build"] = builds.front();
  return value;
}

} // namespace

void makeDemo(State& state) {
  state.glances.clear();
  state.glances[1234567890] = {
      {"rating", {{"average", 4.63}, {"count", 1312}}},
      {"reviews", {{"unread", 3}, {"recent", 12}, {"days", 7}}},
      {"ranks",
       {{{"storefront", "USA"}, {"chart", "free"}, {"category", "Weather"}, {"rank", 38}, {"before", 45}},
        {{"storefront", "DEU"}, {"chart", "free"}, {"category", "Weather"}, {"rank", 12}, {"before", 9}},
        {{"storefront", "JPN"}, {"chart", "grossing"}, {"category", "Weather"}, {"rank", 91}}}}};
}

void set(State& state, const json& body) {
  const auto appId = body.at("appId").get<std::int64_t>();
  if (state.app(appId) == nullptr) throw Refused(404, "not_found", fmt::format("There is no app {}.", appId));
  auto& glance = state.glances[appId];
  if (glance.is_null()) glance = json::object();
  auto patch = body;
  patch.erase("appId");
  glance.merge_patch(patch);
}

Answer status(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  Releases::advance(state);
  TestFlights::advance(state);
  Plans::lapse(state);
  json answer{{"app", Apps::appJson(app)},
              {"ranks", json::array()},
              {"waiting", json::array()},
              {"jobs", Prices::running(state, app)}};
  for (const auto& platform : app.platforms) answer["platforms"].push_back(platformJson(state, app, platform));
  if (const auto found = state.glances.find(app.appId); found != state.glances.end()) answer.update(found->second);
  for (const auto& plan : state.plans) {
    if (plan.appId != app.appId || plan.state != "waiting") continue;
    answer["waiting"].push_back({{"plan", Plans::planJson(plan)}, {"title", plan.title}});
  }
  return Answer::json(answer);
}

} // namespace kestu::sandbox::Overview
