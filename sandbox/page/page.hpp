#pragma once

#include "sandbox/http.hpp"
#include "sandbox/state.hpp"

// The page on which a person decides, and sees what Apple has. Called with the state held.
namespace kestu::sandbox::Page {

Answer answer(State& state, const Call& call);

} // namespace kestu::sandbox::Page
