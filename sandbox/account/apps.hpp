#pragma once

#include "sandbox/http.hpp"
#include "sandbox/state.hpp"

// Each function is called with the state held.
namespace kestu::sandbox::Apps {

Answer list(State& state, const Call& call);
nlohmann::json appJson(const App& app);
nlohmann::json versionJson(const State& state, const Version& version);

// The platform that the query names; throws Refused when the app isn't on it.
std::string platform(const App& app, const Call& call);
// The version that the query names; throws Refused with 404 when App Store Connect has none.
Version& version(State& state, const App& app, const Call& call);
// "Daylight Weather 1.2 for iOS"
std::string title(const App& app, const Version& version);

} // namespace kestu::sandbox::Apps
