#include "sandbox/account/accounts.hpp"
#include "sandbox/kit/kit.hpp"

#include <fmt/format.h>

#include <algorithm>

namespace kestu::sandbox::Kit {

namespace {

using nlohmann::json;

KitPrompt* find(State& state, std::int64_t appId, const std::string& id) {
  auto& all = state.kit.prompts[appId];
  const auto found = std::find_if(all.begin(), all.end(), [&](const auto& each) { return each.promptId == id; });
  return found == all.end() ? nullptr : &*found;
}

KitPrompt& named(State& state, const App& app, const Call& call) {
  if (auto* const prompt = find(state, app.appId, call.segments[5])) return *prompt;
  missing(fmt::format("{} has no update prompt {}.", app.name, call.segments[5]));
}

void put(KitPrompt& prompt, const json& body) {
  if (body.contains("below")) prompt.below = body["below"].get<std::string>();
  if (body.contains("required")) prompt.required = body["required"].get<bool>();
  if (body.contains("on")) prompt.on = body["on"].get<bool>();
  if (body.contains("messages")) prompt.messages = body["messages"].get<std::map<std::string, std::string>>();
  if (prompt.below.empty()) refuse("A prompt is for the versions below one.");
  if (prompt.messages.empty()) refuse("A prompt has a message in some language.");
}

std::string title(const App& app, const KitPrompt& prompt) {
  return fmt::format("{}, the update prompt for {} below {}", app.name, platformName(prompt.platform), prompt.below);
}

} // namespace

Answer prompts(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  auto list = json::array();
  for (const auto& each : state.kit.prompts[app.appId]) {
    list.push_back({{"promptId", each.promptId},
                    {"platform", each.platform},
                    {"below", each.below},
                    {"required", each.required},
                    {"on", each.on},
                    {"messages", each.messages},
                    {"shown", each.shown},
                    {"updated", each.updated}});
  }
  return Answer::json({{"prompts", list}});
}

Answer createPrompt(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  const auto body = call.object();
  KitPrompt prompt{"prompt-" + randomHex(4), body.at("platform").get<std::string>(), ""};
  put(prompt, body);
  prompt.on = false;
  return change(state, call, false, "", {},
                [&] {
                  state.kit.prompts[app.appId].push_back(prompt);
                  return std::string();
                },
                {{"promptId", prompt.promptId}});
}

Answer setPrompt(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  const auto body = call.object();
  auto prompt = named(state, app, call);
  if (body.empty()) refuse("The change changes nothing.");
  const bool wasOn = prompt.on;
  put(prompt, body);
  return change(state, call, wasOn || prompt.on, title(app, prompt), {body.dump()},
                [&state, prompt, appId = app.appId]() -> std::string {
                  auto* const there = find(state, appId, prompt.promptId);
                  if (there == nullptr) return "changed";
                  *there = prompt;
                  return "";
                });
}

Answer deletePrompt(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  const auto& prompt = named(state, app, call);
  return change(state, call, prompt.on, title(app, prompt), {"Delete it"},
                [&state, id = prompt.promptId, appId = app.appId]() -> std::string {
                  const auto gone =
                      std::erase_if(state.kit.prompts[appId], [&](const auto& each) { return each.promptId == id; });
                  return gone == 0 ? "changed" : "";
                });
}

} // namespace kestu::sandbox::Kit
