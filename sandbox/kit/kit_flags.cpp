#include "sandbox/account/accounts.hpp"
#include "sandbox/kit/kit.hpp"

#include <fmt/format.h>

#include <algorithm>

namespace kestu::sandbox::Kit {

namespace {

using nlohmann::json;

KitFlag* find(State& state, std::int64_t appId, const std::string& key) {
  auto& all = state.kit.flags[appId];
  const auto found = std::find_if(all.begin(), all.end(), [&](const KitFlag& flag) { return flag.key == key; });
  return found == all.end() ? nullptr : &*found;
}

KitFlag& named(State& state, const App& app, const std::string& key) {
  if (auto* const flag = find(state, app.appId, key)) return *flag;
  missing(fmt::format("{} has no flag {}.", app.name, key));
}

bool fits(const std::string& type, const json& value) {
  if (type == "text") return value.is_string();
  if (type == "number") return value.is_number();
  return type == "json" ? !value.is_null() : value.is_boolean();
}

// What the body sets, checked and put on the flag.
void put(KitFlag& flag, const json& body, Moment now) {
  if (body.contains("on")) flag.on = body["on"].get<bool>();
  if (body.contains("value")) {
    if (!fits(flag.type, body["value"])) refuse(fmt::format("That isn't a value for a {} flag.", flag.type));
    flag.value = body["value"].dump();
  }
  if (body.contains("rollout")) {
    flag.rollout = body["rollout"].get<double>();
    if (*flag.rollout < 0 || *flag.rollout > 100) refuse("A rollout is a percentage from 0 to 100.");
  }
  if (body.contains("notes")) flag.notes = body["notes"].get<std::string>();
  flag.updatedAt = now;
}

std::vector<std::string> linesOf(const json& body) {
  std::vector<std::string> lines;
  for (const auto& [field, value] : body.items()) {
    if (field != "key" && field != "type") lines.push_back(field + ": " + value.dump());
  }
  return lines;
}

} // namespace

Answer flags(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  auto list = json::array();
  for (const auto& flag : state.kit.flags[app.appId]) {
    list.push_back({{"key", flag.key}, {"type", flag.type}});
    if (flag.on) list.back()["on"] = *flag.on;
    if (!flag.value.empty()) list.back()["value"] = json::parse(flag.value);
    if (flag.rollout) list.back()["rollout"] = *flag.rollout;
    if (flag.notes) list.back()["notes"] = *flag.notes;
    if (flag.updatedAt) list.back()["updatedAt"] = isoText(*flag.updatedAt);
  }
  return Answer::json({{"flags", list}});
}

Answer createFlag(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  const auto body = call.object();
  KitFlag flag{body.at("key").get<std::string>(),
               oneOf(body.at("type").get<std::string>(), {"bool", "text", "number", "json"})};
  if (flag.key.empty()) refuse("A flag needs a key.");
  if (find(state, app.appId, flag.key)) conflict(fmt::format("{} has a flag {} already.", app.name, flag.key));
  put(flag, body, state.clock());
  if (flag.type != "bool" && flag.value.empty()) refuse(fmt::format("A {} flag needs a value.", flag.type));
  const bool waits = flag.on.value_or(false);
  return change(state, call, waits, fmt::format("{}, the new flag {}", app.name, flag.key), linesOf(body),
                [&state, flag, appId = app.appId]() -> std::string {
                  if (find(state, appId, flag.key)) return "changed";
                  state.kit.flags[appId].push_back(flag);
                  return "";
                });
}

Answer setFlag(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  const auto body = call.object();
  auto flag = named(state, app, call.segments[5]);
  if (body.empty()) refuse("The change changes nothing.");
  const bool wasOn = flag.on.value_or(false);
  put(flag, body, state.clock());
  return change(state, call, wasOn || flag.on.value_or(false), fmt::format("{}, the flag {}", app.name, flag.key),
                linesOf(body), [&state, flag, appId = app.appId]() -> std::string {
                  auto* const there = find(state, appId, flag.key);
                  if (there == nullptr) return "changed";
                  *there = flag;
                  return "";
                });
}

Answer deleteFlag(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  const auto flag = named(state, app, call.segments[5]);
  return change(state, call, flag.on.value_or(false), fmt::format("{}, the flag {}", app.name, flag.key), {"Delete it"},
                [&state, key = flag.key, appId = app.appId]() -> std::string {
                  const auto gone = std::erase_if(state.kit.flags[appId], [&](const auto& f) { return f.key == key; });
                  return gone == 0 ? "changed" : "";
                });
}

} // namespace kestu::sandbox::Kit
