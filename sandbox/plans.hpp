#pragma once

#include "sandbox/http.hpp"
#include "sandbox/state.hpp"

// Changes that wait for a decision. Each function is called with the state held.
namespace kestu::sandbox::Plans {

// The answer to a change that waits; with `dryRun` no plan is made.
Answer change(State& state, const Call& call, std::string title, std::vector<std::string> lines,
              std::function<std::string()> apply, PlanDetails details = {});

// By its ID in any case, "next" (the oldest waiting) or "last" (the newest); nothing when there is none.
Plan* find(State& state, const std::string& id);
void lapse(State& state); // moves what nobody decided in time to "expired"
// Applies or denies a waiting plan; false when it was decided before.
bool decide(State& state, Plan& plan, bool approve);
// Moves a waiting plan to a state of any name; "applied" applies it.
bool settle(State& state, Plan& plan, const std::string& planState, const std::string& error);

nlohmann::json planJson(const Plan& plan);
Answer poll(State& state, const Call& call);

} // namespace kestu::sandbox::Plans
