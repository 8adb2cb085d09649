#pragma once

#include "sandbox/http.hpp"
#include "sandbox/state.hpp"

// Sign-in by a device code, tokens, what a sign-in may do, and the counted calls. Each function is called with the
// state held.
namespace kestu::sandbox::Accounts {

const std::vector<std::string>& allScopes();

// The call's live token; throws Refused (401, or 429 over an enforced quota). Counts the call.
std::string signedIn(State& state, const Call& call);
void needScope(const State& state, const Call& call, const std::string& scope);
// The app that the path names; throws Refused (404, 403).
App& grantedApp(State& state, const Call& call, const std::string& appId);

std::string makeToken(State& state, Grant grant);
// By its user code, "next" (the oldest waiting) or "last" (the newest); nothing when there is none.
SignIn* find(State& state, const std::string& id);

Answer device(State& state, const Call& call);
Answer token(State& state, const Call& call);
Answer revoke(State& state, const Call& call);
Answer whoami(State& state, const Call& call);

} // namespace kestu::sandbox::Accounts
