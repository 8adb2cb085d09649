#pragma once

#include "sandbox/http.hpp"
#include "sandbox/state.hpp"

// In-app events, their review and their media. Each function is called with the state held, but for `commitMedia`.
namespace kestu::sandbox::Events {

void makeDemo(State& state);
// Moves on what Apple has had long enough, and what begins and ends by the clock.
void advance(State& state);

Answer list(State& state, const Call& call);
Answer create(State& state, const Call& call);
Answer change(State& state, const Call& call);
Answer putLanguage(State& state, const Call& call);
Answer removeLanguage(State& state, const Call& call);
Answer reserveMedia(State& state, const Call& call);
Answer commitMedia(State& state, const Call& call);
Answer submit(State& state, const Call& call);
Answer cancel(State& state, const Call& call);
Answer remove(State& state, const Call& call);

// Nothing when the app has none of that ID.
InAppEvent* find(State& state, std::int64_t appId, const std::string& eventId);
// The event that the call is about; throws Refused when there is none.
InAppEvent& named(State& state, const App& app, const Call& call);
// "Meteor Night of Daylight Weather"
std::string title(const App& app, const InAppEvent& event);
// What App Review needs of it before it takes it.
std::vector<std::string> needs(const State& state, const InAppEvent& event);
// Nothing has gone to App Review, or all came back from it.
bool isOpen(const InAppEvent& event);
[[noreturn]] void conflict(const std::string& message);
// A change that takes effect at once, with what else its answer says; a dry run leaves everything as it is.
template <class Change>
Answer atOnce(const Call& call, Change change, nlohmann::json more = nlohmann::json::object()) {
  more["waits"] = false;
  if (!call.dryRun()) change();
  return Answer::json(more);
}

} // namespace kestu::sandbox::Events
