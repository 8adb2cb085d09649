#include "sandbox/kit/kit.hpp"

#include "sandbox/plans.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace kestu::sandbox {

using nlohmann::json;

namespace {

constexpr std::int64_t demoApp = 1234567890;

std::vector<KitExperiment> demoExperiments(Moment now) {
  using namespace std::chrono_literals;
  KitExperiment radar{"exp-radar", "Radar first", "new-radar", "purchases", "running"};
  radar.startedAt = now - 9 * 24h;
  radar.variants = {{"control", "false", 50, 1204, 0.0415}, {"radar", "true", 50, 1187, 0.0514, 0.2386, 0.962}};
  KitExperiment limit{"exp-limit", "Longer forecast", "hourly-limit", "sessions"};
  limit.variants = {{"short", "24", 50}, {"long", "48", 50}};
  return {radar, limit};
}

} // namespace

KitState demoKit(Moment now) {
  KitState kit;
  kit.flags[demoApp] = {{"new-radar", "bool", true},
                        {"hourly-limit", "number", std::nullopt, "24"},
                        {"welcome-text", "text", std::nullopt, "\"Good morning\""}};
  kit.experiments[demoApp] = demoExperiments(now);
  kit.prompts[demoApp] = {{"prompt-1", "ios", "1.1", false, true, {{"en-US", "A new Daylight is out."}}, 5120, 2204}};
  kit.pages[demoApp] = {{"1.2", "", "draft", {{"en-US", "The radar is here"}}},
                        {"1.1", "", "published", {{"en-US", "Every hour"}, {"de-DE", "Jede Stunde"}}}};
  return kit;
}

namespace Kit {

std::string oneOf(const std::string& word, std::initializer_list<const char*> words) {
  if (std::find(words.begin(), words.end(), word) != words.end()) return word;
  refuse(fmt::format("{} is not a word for this.", word));
}

void refuse(const std::string& message) { throw Refused(400, "invalid_request", message); }
void conflict(const std::string& message) { throw Refused(409, "conflict", message); }
void missing(const std::string& message) { throw Refused(404, "not_found", message); }

Answer change(State& state, const Call& call, bool waits, const std::string& title, std::vector<std::string> lines,
              std::function<std::string()> apply, const json& more) {
  json answer{{"waits", false}};
  if (waits) {
    answer = json::parse(Plans::change(state, call, title, std::move(lines), std::move(apply)).body);
  } else if (!call.dryRun()) {
    if (const auto error = apply(); !error.empty()) conflict(error);
  }
  answer.update(more);
  return Answer::json(answer);
}

void set(State& state, const json& body) {
  const auto appId = body.at("appId").get<std::int64_t>();
  if (state.app(appId) == nullptr) missing(fmt::format("There is no app {}.", appId));
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
