#pragma once

#include "sandbox/http.hpp"
#include "sandbox/state.hpp"

// One app at a glance. Each function is called with the state held.
namespace kestu::sandbox::Overview {

void makeDemo(State& state);
// Rating, reviews and ranks of an app, each given one in place of the old; null takes it away.
void set(State& state, const nlohmann::json& body);

Answer status(State& state, const Call& call);

} // namespace kestu::sandbox::Overview
