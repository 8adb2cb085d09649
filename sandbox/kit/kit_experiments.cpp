#include "sandbox/account/accounts.hpp"
#include "sandbox/kit/kit.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace kestu::sandbox::Kit {

namespace {

using nlohmann::json;

KitExperiment* find(State& state, std::int64_t appId, const std::string& id) {
  auto& all = state.kit.experiments[appId];
  const auto found = std::find_if(all.begin(), all.end(), [&](const auto& each) { return each.experimentId == id; });
  return found == all.end() ? nullptr : &*found;
}

KitExperiment& named(State& state, const App& app, const Call& call) {
  if (auto* const experiment = find(state, app.appId, call.segments[5])) return *experiment;
  missing(fmt::format("{} has no experiment {}.", app.name, call.segments[5]));
}

json variantJson(const KitVariant& variant) {
  json value{{"name", variant.name},
             {"value", json::parse(variant.value)},
             {"share", variant.share},
             {"users", variant.users}};
  if (variant.rate) value["rate"] = *variant.rate;
  if (variant.lift) value["lift"] = *variant.lift;
  if (variant.confidence) value["confidence"] = *variant.confidence;
  return value;
}

// From one state to the next, once it is approved.
Answer moved(State& state, const Call& call, const App& app, const KitExperiment& experiment,
             const std::vector<std::string>& lines, const std::string& to) {
  return change(state, call, true, fmt::format("{}, the experiment {}", app.name, experiment.name), lines,
                [&state, experiment, to, appId = app.appId]() -> std::string {
                  auto* const there = find(state, appId, experiment.experimentId);
                  if (there == nullptr || there->state != experiment.state) return "changed";
                  there->state = to;
                  (to == "running" ? there->startedAt : there->stoppedAt) = state.clock();
                  return "";
                });
}

} // namespace

Answer experiments(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  auto list = json::array();
  for (const auto& each : state.kit.experiments[app.appId]) {
    auto variants = json::array();
    for (const auto& variant : each.variants) variants.push_back(variantJson(variant));
    list.push_back({{"experimentId", each.experimentId},
                    {"name", each.name},
                    {"flag", each.flag},
                    {"metric", each.metric},
                    {"state", each.state},
                    {"variants", variants}});
    if (each.startedAt) list.back()["startedAt"] = isoText(*each.startedAt);
    if (each.stoppedAt) list.back()["stoppedAt"] = isoText(*each.stoppedAt);
  }
  return Answer::json({{"experiments", list}});
}

Answer createExperiment(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  const auto body = call.object();
  KitExperiment made{"exp-" + randomHex(4), body.at("name").get<std::string>(), body.at("flag").get<std::string>(),
                     body.at("metric").get<std::string>()};
  const auto& flags = state.kit.flags[app.appId];
  if (std::none_of(flags.begin(), flags.end(), [&](const KitFlag& flag) { return flag.key == made.flag; })) {
    missing(fmt::format("{} has no flag {}.", app.name, made.flag));
  }
  double sum = 0;
  for (const auto& variant : body.at("variants")) {
    made.variants.push_back({variant.at("name").get<std::string>(), variant.at("value").dump(), variant.at("share")});
    sum += made.variants.back().share;
  }
  if (made.variants.size() < 2 || std::abs(sum - 100) > 0.001) refuse("The variants' shares add up to 100.");
  return change(state, call, false, "", {},
                [&] {
                  state.kit.experiments[app.appId].push_back(made);
                  return std::string();
                },
                {{"experimentId", made.experimentId}});
}

Answer startExperiment(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  const auto& experiment = named(state, app, call);
  if (experiment.state != "draft") conflict(experiment.name + " was started already.");
  return moved(state, call, app, experiment, {"Start it"}, "running");
}

Answer stopExperiment(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  const auto& experiment = named(state, app, call);
  if (experiment.state != "running") conflict(experiment.name + " isn't running.");
  std::vector<std::string> lines{"Stop it"};
  const auto body = call.body.empty() ? json::object() : call.object();
  if (body.contains("keep")) {
    const auto keep = body["keep"].get<std::string>();
    const auto& all = experiment.variants;
    if (std::none_of(all.begin(), all.end(), [&](const KitVariant& each) { return each.name == keep; })) {
      refuse(fmt::format("{} has no variant {}.", experiment.name, keep));
    }
    lines.push_back("Everybody gets " + keep);
  }
  return moved(state, call, app, experiment, lines, "stopped");
}

Answer deleteExperiment(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  const auto& experiment = named(state, app, call);
  if (experiment.state == "running") conflict(experiment.name + " is running.");
  return change(state, call, false, "", {}, [&, id = experiment.experimentId] {
    std::erase_if(state.kit.experiments[app.appId], [&](const auto& each) { return each.experimentId == id; });
    return std::string();
  });
}

} // namespace kestu::sandbox::Kit
