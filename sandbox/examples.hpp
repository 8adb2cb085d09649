#pragma once

#include "sandbox/state.hpp"

namespace kestu::sandbox {

// What the examples of the help name and the demo apps lack: a group, an unfinished upload, versions that are out in
// phases and that wait to be released, events, an offer with codes, and jobs. Called with the state held.
void addExamples(State& state);

} // namespace kestu::sandbox
