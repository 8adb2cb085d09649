#pragma once

#include "sandbox/faults.hpp"
#include "sandbox/http.hpp"
#include "sandbox/state.hpp"

// Calls below /sandbox/, by which a person or a script decides and makes things go wrong. Called with the state held.
namespace kestu::sandbox::Control {

Answer answer(State& state, Faults& faults, const Call& call);

} // namespace kestu::sandbox::Control
