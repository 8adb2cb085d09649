#pragma once

#include "sandbox/http.hpp"
#include "sandbox/state.hpp"

#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

// KestuKit's remote configuration. Each function is called with the state held, but for `commitPage`.
namespace kestu::sandbox {

KitState demoKit(Moment now);

namespace Kit {

Answer flags(State& state, const Call& call);
Answer createFlag(State& state, const Call& call);
Answer setFlag(State& state, const Call& call);
Answer deleteFlag(State& state, const Call& call);

Answer experiments(State& state, const Call& call);
Answer createExperiment(State& state, const Call& call);
Answer startExperiment(State& state, const Call& call);
Answer stopExperiment(State& state, const Call& call);
Answer deleteExperiment(State& state, const Call& call);

Answer prompts(State& state, const Call& call);
Answer createPrompt(State& state, const Call& call);
Answer setPrompt(State& state, const Call& call);
Answer deletePrompt(State& state, const Call& call);

Answer whatsNew(State& state, const Call& call);
Answer uploadPage(State& state, const Call& call);
Answer commitPage(State& state, const Call& call); // hashes, so it is called without the state held
Answer publishPage(State& state, const Call& call);
Answer unpublishPage(State& state, const Call& call);
Answer deletePage(State& state, const Call& call);

// What a control call gives takes the place of the app's own: {"appId", "flags"?: [{"key", "type"?, "on"?}],
// "pages"?: [{"version", "platform"?, "state"?}]}; throws Refused for an app that isn't there or a word that is none.
void set(State& state, const nlohmann::json& body);

// A change that waits for its approval, or is made at once; `more` goes into the answer. `apply` is called with the
// state held and answers an error word when it could not be applied.
Answer change(State& state, const Call& call, bool waits, const std::string& title, std::vector<std::string> lines,
              std::function<std::string()> apply, const nlohmann::json& more = nlohmann::json::object());

// The word when it is one of them; else throws Refused.
std::string oneOf(const std::string& word, std::initializer_list<const char*> words);
[[noreturn]] void refuse(const std::string& message);   // 400
[[noreturn]] void conflict(const std::string& message); // 409
[[noreturn]] void missing(const std::string& message);  // 404

} // namespace Kit

} // namespace kestu::sandbox
