#include "sandbox/plans.hpp"

#include <algorithm>
#include <utility>

namespace kestu::sandbox::Plans {

namespace {

using nlohmann::json;
using namespace std::chrono_literals;

void follow(State& state, Plan& plan) {
  if (plan.script) {
    if (plan.script->waitingPolls-- <= 0) settle(state, plan, plan.script->state, plan.script->error);
  } else if (state.settings.approve != Approve::ask) {
    decide(state, plan, state.settings.approve == Approve::all);
  }
}

} // namespace

json planJson(const Plan& plan) {
  json value{{"id", plan.id}, {"state", plan.state}, {"expiresAt", isoText(plan.expiresAt)}};
  if (!plan.error.empty()) value["error"] = plan.error;
  if (!plan.jobDetails.empty()) value["details"] = json::parse(plan.jobDetails);
  if (!plan.job.empty() && plan.state == "applied") value["job"] = plan.job;
  return value;
}

Answer change(State& state, const Call& call, std::string title, std::vector<std::string> lines,
              std::function<std::string()> apply, PlanDetails details) {
  if (call.dryRun()) return Answer::json({{"waits", true}});
  Plan plan{randomUuid(), std::move(title), std::move(lines), state.clock(), state.clock() + 24h};
  plan.apply = std::move(apply);
  plan.details = std::move(details);
  if (call.path.starts_with("/v1/apps/")) plan.appId = std::stoll(call.segments[2]);
  plan.script = std::exchange(state.nextPlan, std::nullopt);
  state.plans.push_back(std::move(plan));
  auto& kept = state.plans.back();
  if (kept.script && kept.script->waitingPolls < 0) follow(state, kept);
  return Answer::json({{"plan", planJson(kept)}, {"waits", true}});
}

Plan* find(State& state, const std::string& id) {
  auto& all = state.plans;
  if (id == "last") return all.empty() ? nullptr : &all.back();
  const auto found = std::find_if(all.begin(), all.end(), [&](const Plan& each) {
    return id == "next" ? each.state == "waiting" : lowered(each.id) == lowered(id);
  });
  return found == all.end() ? nullptr : &*found;
}

void lapse(State& state) {
  for (auto& plan : state.plans) {
    if (plan.state == "waiting" && state.clock() >= plan.expiresAt) settle(state, plan, "expired", "");
  }
}

bool decide(State& state, Plan& plan, bool approve) { return settle(state, plan, approve ? "applied" : "denied", ""); }

bool settle(State& state, Plan& plan, const std::string& planState, const std::string& error) {
  if (plan.state == "waiting" && planState != "expired" && state.clock() >= plan.expiresAt) plan.state = "expired";
  if (plan.state != "waiting") return false;
  plan.state = planState;
  plan.error = error;
  if (planState == "applied") {
    plan.error = plan.apply();
    if (!plan.error.empty()) plan.state = "failed";
  }
  if (plan.state != "waiting") plan.apply = nullptr;
  return true;
}

Answer poll(State& state, const Call& call) {
  lapse(state);
  auto* const plan = find(state, call.segments[2]);
  if (plan == nullptr || call.segments[2] == "next" || call.segments[2] == "last") {
    throw Refused(404, "not_found", "There is no such plan.");
  }
  if (plan->state == "waiting") follow(state, *plan);
  return Answer::json(planJson(*plan));
}

} // namespace kestu::sandbox::Plans
