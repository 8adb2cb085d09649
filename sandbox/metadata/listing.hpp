#pragma once

#include "sandbox/http.hpp"
#include "sandbox/state.hpp"

// An app's App Store listing. Each function is called with the state held.
namespace kestu::sandbox::Listing {

Answer show(State& state, const Call& call);
Answer change(State& state, const Call& call);
Answer reviewTimes(State& state, const Call& call);

// A version that nobody gave a listing begins with that of the newest other one of its platform, without What's New.
VersionInfo& of(State& state, const Version& version);

void addDemo(State& state);

} // namespace kestu::sandbox::Listing
