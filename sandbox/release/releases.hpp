#pragma once

#include "sandbox/http.hpp"
#include "sandbox/state.hpp"

#include <string>

// Versions on their way through App Review to the App Store. Each function is called with the state held.
namespace kestu::sandbox::Releases {

// What Apple has done meanwhile: reviews, scheduled releases and phased days.
void advance(State& state);

bool isOpen(const Version& version); // can be edited
bool isOut(const Version& version);
bool isWithReview(const Version& version);

// App Review's word on a version that it has: approved with an empty rejection, else in that state.
void decide(State& state, Version& version, const std::string& rejection);
// By its ID, or "next", the oldest with App Review; nothing when there is none.
Version* reviewed(State& state, const std::string& id);
Version* byId(State& state, const std::string& versionId);

Answer list(State& state, const Call& call);
Answer create(State& state, const Call& call);
Answer update(State& state, const Call& call);
Answer remove(State& state, const Call& call);
Answer submit(State& state, const Call& call);
Answer withdraw(State& state, const Call& call);
Answer release(State& state, const Call& call);
Answer phased(State& state, const Call& call);

} // namespace kestu::sandbox::Releases
