#pragma once

#include "sandbox/http.hpp"
#include "sandbox/state.hpp"

// KestuKit's remote configuration. Each function is called with the state held.
namespace kestu::sandbox {

KitState demoKit();

namespace Kit {

Answer flags(State& state, const Call& call);
Answer whatsNew(State& state, const Call& call);

// What a control call gives takes the place of the app's own: {"appId", "flags"?: [{"key", "type"?, "on"?}],
// "pages"?: [{"version", "platform"?, "state"?}]}; throws Refused for an app that isn't there or a word that is none.
void set(State& state, const nlohmann::json& body);

} // namespace Kit

} // namespace kestu::sandbox
