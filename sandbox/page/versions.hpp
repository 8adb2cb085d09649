#pragma once

#include "sandbox/state.hpp"

#include <string>

namespace kestu::sandbox::Page {

// The versions that App Review has, each with buttons for its word; empty when there is none.
std::string versionsInReview(const State& state);

// Every version and where it is.
std::string versionStates(const State& state);

} // namespace kestu::sandbox::Page
