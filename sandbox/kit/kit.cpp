#include "sandbox/kit/kit.hpp"

#include "sandbox/account/accounts.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <initializer_list>

namespace kestu::sandbox {

using nlohmann::json;

KitState demoKit() {
  KitState kit;
  kit.flags[1234567890] = {{"new-radar", "bool", true}, {"hourly-limit", "number"}, {"welcome-text", "text"}};
  kit.pages[1234567890] = {{"1.2", "", "draft"}, {"1.1", "", "published"}};
  return kit;
}

namespace Kit {

namespace {

std::string oneOf(const std::string& word, std::initializer_list<const char*> words) {
  if (std::find(words.begin(), words.end(), word) != words.end()) return word;
  throw Refused(400, "invalid_request", fmt::format("{} is not a word for this.", word));
}

} // namespace

Answer flags(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  auto list = json::array();
  for (const auto& flag : state.kit.flags[app.appId]) {
    list.push_back({{"key", flag.key}, {"type", flag.type}});
    if (flag.on) list.back()["on"] = *flag.on;
  }
  return Answer::json({{"flags", list}});
}

Answer whatsNew(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  auto list = json::array();
  for (const auto& page : state.kit.pages[app.appId]) {
    list.push_back({{"version", page.version}, {"state", page.state}});
    if (!page.platform.empty()) list.back()["platform"] = page.platform;
  }
  return Answer::json({{"pages", list}});
}

void set(State& state, const json& body) {
  const auto appId = body.at("appId").get<std::int64_t>();
  if (state.app(appId) == nullptr) throw Refused(404, "not_found", fmt::format("There is no app {}.", appId));
  if (body.contains("flags")) {
    std::vector<KitFlag> flags;
    for (const auto& flag : body["flags"]) {
      flags.push_back(
          {flag.at("key").get<std::string>(), oneOf(flag.value("type", "bool"), {"bool", "text", "number", "json"})});
      if (flag.contains("on")) flags.back().on = flag["on"].get<bool>();
    }
    state.kit.flags[appId] = std::move(flags);
  }
  if (body.contains("pages")) {
    std::vector<WhatsNewPage> pages;
    for (const auto& page : body["pages"]) {
      pages.push_back({page.at("version").get<std::string>(), page.value("platform", ""),
                       oneOf(page.value("state", "draft"), {"draft", "published"})});
    }
    state.kit.pages[appId] = std::move(pages);
  }
}

} // namespace Kit

} // namespace kestu::sandbox
