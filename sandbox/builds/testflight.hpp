#pragma once

#include "sandbox/http.hpp"
#include "sandbox/state.hpp"

// TestFlight's builds, groups and uploads. Each function is called with the state held, but for `wait` and `commit`.
namespace kestu::sandbox::TestFlights {

void makeDemo(State& state);
// Moves on what Apple has had long enough.
void advance(State& state);

Answer builds(State& state, const Call& call);
Answer groups(State& state, const Call& call);
Answer wait(State& state, const Call& call);

Answer expire(State& state, const Call& call);
Answer compliance(State& state, const Call& call);
Answer submit(State& state, const Call& call);
Answer distribute(State& state, const Call& call);
Answer testNotes(State& state, const Call& call);

Answer reserve(State& state, const Call& call);
Answer commit(State& state, const Call& call);
Answer unfinished(State& state, const Call& call);
Answer remove(State& state, const Call& call);

// The app's builds and groups as the service lists them; an empty platform or version is any.
nlohmann::json listing(const State& state, const App& app, const std::string& platform, const std::string& version);
// "Daylight Weather 1.2 (45) for iOS"
std::string title(const App& app, const TestBuild& build);
bool isProcessed(const std::string& buildState);
bool isTestable(const std::string& buildState);

} // namespace kestu::sandbox::TestFlights
