#pragma once

#include "sandbox/http.hpp"
#include "sandbox/state.hpp"

namespace kestu::sandbox::Overview {

// What kestu has of an app. Called with the state held.
Answer doctor(State& state, const Call& call);

} // namespace kestu::sandbox::Overview
