#include "sandbox/account/accounts.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <utility>

namespace kestu::sandbox::Accounts {

namespace {

using nlohmann::json;

constexpr std::chrono::seconds signInLife{600};

json grantJson(const Grant& grant) {
  json value{{"name", grant.name}, {"client", grant.client}, {"scopes", grant.scopes}, {"approvals", grant.approvals}};
  if (grant.appIds) value["appIds"] = *grant.appIds;
  return value;
}

void countCall(State& state) {
  const auto now = state.clock();
  for (auto& quota : state.quotas) {
    if (now >= quota.resetsAt) {
      quota.used = 0;
      quota.resetsAt = now + quota.length;
    }
    if (quota.enforced && quota.used >= quota.limit) {
      throw Refused(429, json{{"error", "agent_quota"}, {"limit", quota.name}, {"resetsAt", isoText(quota.resetsAt)}});
    }
  }
  for (auto& quota : state.quotas) ++quota.used;
}

void refuseScopes(const std::vector<std::string>& scopes) {
  for (const auto& scope : scopes) {
    const auto& known = allScopes();
    if (std::find(known.begin(), known.end(), scope) == known.end()) {
      throw Refused(400, "invalid_scope", fmt::format("There is no scope {}.", scope));
    }
  }
}

// The word that a poll is refused with; nothing once it was approved.
std::optional<std::string> refusal(const State& state, SignIn& signIn) {
  if (!signIn.words.empty()) {
    auto word = signIn.words.front();
    signIn.words.erase(signIn.words.begin());
    // Any other word ends the sign-in, and is all that it answers from then on.
    if (word != "authorization_pending" && word != "slow_down") {
      signIn.decision = Decision::denied;
      signIn.words = {word};
    }
    return word;
  }
  if (signIn.decision == Decision::waiting) {
    if (state.clock() >= signIn.expiresAt) return "expired_token";
    if (signIn.scripted || state.settings.approve == Approve::all) signIn.decision = Decision::approved;
    if (!signIn.scripted && state.settings.approve == Approve::none) signIn.decision = Decision::denied;
  }
  if (signIn.decision == Decision::waiting) return "authorization_pending";
  if (signIn.decision == Decision::denied) return "access_denied";
  return std::nullopt;
}

} // namespace

const std::vector<std::string>& allScopes() {
  static const std::vector<std::string> scopes{"apps",       "reviews", "replies", "feedback", "kestukit",
                                               "testflight", "release", "sales",   "store"};
  return scopes;
}

std::string signedIn(State& state, const Call& call) {
  constexpr std::string_view scheme = "Bearer ";
  const auto given = call.header("authorization");
  auto token = given.starts_with(scheme) ? given.substr(scheme.size()) : std::string();
  if (!state.tokens.contains(token)) throw Refused(401, json{{"error", "invalid_token"}});
  countCall(state);
  return token;
}

void needScope(const State& state, const Call& call, const std::string& scope) {
  const auto& scopes = state.tokens.at(call.token).scopes;
  if (std::find(scopes.begin(), scopes.end(), scope) == scopes.end()) {
    throw Refused(403, json{{"error", "scope_required"}, {"scope", scope}});
  }
}

App& grantedApp(State& state, const Call& call, const std::string& appId) {
  const auto found = std::find_if(state.apps.begin(), state.apps.end(),
                                  [&](const App& each) { return std::to_string(each.appId) == appId; });
  if (found == state.apps.end()) throw Refused(404, "not_found", fmt::format("This account has no app {}.", appId));
  const auto& granted = state.tokens.at(call.token).appIds;
  if (granted && std::find(granted->begin(), granted->end(), found->appId) == granted->end()) {
    throw Refused(403, json{{"error", "app_not_granted"}});
  }
  return *found;
}

std::string makeToken(State& state, Grant grant) {
  auto token = "kst_" + randomHex(24);
  state.tokens.emplace(token, std::move(grant));
  return token;
}

SignIn* find(State& state, const std::string& id) {
  auto& all = state.signIns;
  if (id == "last") return all.empty() ? nullptr : &all.back();
  const auto found = std::find_if(all.begin(), all.end(), [&](const SignIn& each) {
    return id == "next" ? each.decision == Decision::waiting : lowered(each.userCode) == lowered(id);
  });
  return found == all.end() ? nullptr : &*found;
}

Answer device(State& state, const Call& call) {
  const auto body = call.object();
  SignIn signIn{randomHex(20),
                randomUserCode(),
                body.at("client").get<std::string>(),
                body.at("machine").get<std::string>(),
                {},
                state.clock(),
                state.clock() + signInLife};
  const auto scopes = body.value("scopes", json());
  signIn.grant = {signIn.machine, signIn.client,
                  scopes.is_null() ? allScopes() : scopes.get<std::vector<std::string>>()};
  refuseScopes(signIn.grant.scopes);
  if (const auto ciApp = body.value("ciApp", json()); !ciApp.is_null()) {
    const auto appId = ciApp.get<std::int64_t>();
    if (state.app(appId) == nullptr) {
      throw Refused(404, "not_found", fmt::format("This account has no app {}.", appId));
    }
    signIn.grant.appIds = {appId};
  }
  if (auto words = std::exchange(state.nextSignIn, std::nullopt)) {
    signIn.words = std::move(*words);
    signIn.scripted = true;
  }
  state.signIns.push_back(signIn);
  return Answer::json({{"deviceCode", signIn.deviceCode},
                       {"userCode", signIn.userCode},
                       {"verificationUriComplete", state.origin + "/approve?code=" + signIn.userCode},
                       {"interval", state.settings.interval},
                       {"expiresIn", signInLife.count()}});
}

Answer token(State& state, const Call& call) {
  const auto code = call.object().at("deviceCode").get<std::string>();
  const auto found = std::find_if(state.signIns.begin(), state.signIns.end(),
                                  [&](const SignIn& each) { return each.deviceCode == code; });
  if (found == state.signIns.end()) throw Refused(400, json{{"error", "invalid_grant"}});
  if (const auto word = refusal(state, *found)) throw Refused(400, json{{"error", *word}});
  found->deviceCode.clear(); // a code is good for one token
  const auto made = makeToken(state, found->grant);
  return Answer::json({{"token", made}, {"grant", grantJson(found->grant)}});
}

Answer revoke(State& state, const Call& call) {
  state.tokens.erase(call.token);
  return Answer::nothing();
}

Answer whoami(State& state, const Call& call) {
  json quota;
  for (const auto& each : state.quotas) {
    quota[each.name] = {{"used", each.used}, {"limit", each.limit}, {"resetsAt", isoText(each.resetsAt)}};
  }
  return Answer::json({{"account", {{"name", "Robin Sample"}, {"email", "robin@example.com"}}},
                       {"grant", grantJson(state.tokens.at(call.token))},
                       {"quota", quota}});
}

} // namespace kestu::sandbox::Accounts
