#include "sandbox/control.hpp"

#include "sandbox/account/accounts.hpp"
#include "sandbox/builds/testflight.hpp"
#include "sandbox/events/events.hpp"
#include "sandbox/kit/kit.hpp"
#include "sandbox/overview/overview.hpp"
#include "sandbox/plans.hpp"
#include "sandbox/release/releases.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <utility>

namespace kestu::sandbox::Control {

namespace {

using nlohmann::json;

// By the body alone: `curl -d` sends JSON as a form too.
bool isForm(const Call& call) { return call.body == "approve=true" || call.body == "approve=false"; }

// The page's buttons send a form, scripts send JSON.
json given(const Call& call) {
  if (isForm(call)) return {{"approve", call.body == "approve=true"}};
  return call.body.empty() ? json::object() : call.object();
}

Answer done(const Call& call) {
  if (!isForm(call)) return Answer::json({{"ok", true}});
  Answer answer;
  answer.status = 303;
  answer.contentType.clear();
  answer.headers.emplace("Location", "/");
  return answer;
}

Answer decidePlan(State& state, const Call& call, const std::string& id) {
  Plans::lapse(state);
  auto* const plan = Plans::find(state, id);
  if (plan == nullptr) throw Refused(404, "not_found", "There is no such plan.");
  const auto body = given(call);
  const bool settled = body.contains("state") ? Plans::settle(state, *plan, body.at("state").get<std::string>(),
                                                              body.value("error", std::string()))
                                              : Plans::decide(state, *plan, body.at("approve").get<bool>());
  if (!settled && !isForm(call)) throw Refused(409, "decided", fmt::format("The plan is {} already.", plan->state));
  return done(call);
}

Answer decideSignIn(State& state, const Call& call, const std::string& id) {
  auto* const signIn = Accounts::find(state, id);
  if (signIn == nullptr) throw Refused(404, "not_found", "There is no such sign-in.");
  const bool open = signIn->decision == Decision::waiting && state.clock() < signIn->expiresAt;
  if (!open && !isForm(call)) throw Refused(409, "decided", "The sign-in is decided or expired already.");
  if (open) signIn->decision = given(call).at("approve").get<bool>() ? Decision::approved : Decision::denied;
  return done(call);
}

// App Review's word: {"approve": true}, {"approve": false}, or the state that a rejection leads to.
Answer decideReview(State& state, const Call& call, const std::string& id) {
  Releases::advance(state);
  auto* const version = Releases::reviewed(state, id);
  if (version == nullptr && !isForm(call)) throw Refused(404, "not_found", "App Review has no such version.");
  const auto body = given(call);
  const bool approves = !body.contains("state") && body.at("approve").get<bool>();
  if (version != nullptr) Releases::decide(state, *version, approves ? "" : body.value("state", "rejected"));
  return done(call);
}

Fault faultOf(const json& body) {
  Fault fault;
  fault.path = body.value("path", fault.path);
  fault.method = body.value("method", fault.method);
  fault.skip = body.value("skip", fault.skip);
  fault.times = body.value("times", fault.times);
  fault.status = body.value("status", fault.status);
  if (body.contains("body"))
    fault.body = body["body"].is_string() ? body["body"].get<std::string>() : body["body"].dump();
  if (!fault.body.empty() && fault.status == 0) fault.status = 200;
  fault.contentType = body.value("contentType", fault.contentType);
  fault.headers = body.value("headers", fault.headers);
  fault.delay = std::chrono::milliseconds(static_cast<std::int64_t>(body.value("delaySeconds", 0.0) * 1000));
  fault.cut = body.value("cut", false);
  fault.half = body.value("half", false);
  fault.made = body.value("made", false);
  if (fault.status != 0 && (fault.status < 200 || fault.status > 599)) {
    throw Refused(400, "invalid_request", fmt::format("{} is no status of an answer.", fault.status));
  }
  return fault;
}

void script(State& state, const json& body) {
  if (body.contains("build")) {
    auto& flight = state.testFlight;
    flight.nextError = body["build"].value("error", std::string());
    flight.processing = std::chrono::seconds(body["build"].value("seconds", flight.processing.count()));
  }
  if (body.contains("event")) {
    const auto& event = body["event"];
    state.events.nextError = event.value("mediaError", std::string());
    state.events.reviewing = std::chrono::seconds(event.value("reviewSeconds", state.events.reviewing.count()));
  }
  if (body.contains("review")) {
    const auto& given = body["review"];
    auto& review = state.review;
    review.step = std::chrono::seconds(given.value("seconds", review.step.count()));
    review.day = std::chrono::seconds(given.value("daySeconds", review.day.count()));
    review.rejection = given.value("rejection", review.rejection);
    review.byItself = given.value("byItself", review.byItself);
    review.unlisted = given.value("unlisted", review.unlisted);
  }
  if (body.contains("job")) {
    auto& prices = state.prices;
    if (body["job"].contains("stopAt")) prices.nextStopsAt = body["job"]["stopAt"].get<std::size_t>();
    prices.nextError = body["job"].value("error", prices.nextError);
    prices.countriesASecond = body["job"].value("countriesASecond", prices.countriesASecond);
  }
  if (body.contains("signIn")) state.nextSignIn = body["signIn"].get<std::vector<std::string>>();
  if (!body.contains("plan")) return;
  const auto& plan = body["plan"];
  Script made;
  made.waitingPolls = plan.value("waitingPolls", made.waitingPolls);
  made.state = plan.value("state", made.state);
  made.error = plan.value("error", made.error);
  state.nextPlan = made;
}

void setQuota(State& state, const json& body) {
  const auto name = body.at("name").get<std::string>();
  const auto quota =
      std::find_if(state.quotas.begin(), state.quotas.end(), [&](const Quota& q) { return q.name == name; });
  if (quota == state.quotas.end()) throw Refused(404, "not_found", fmt::format("There is no quota {}.", name));
  quota->limit = body.value("limit", quota->limit);
  quota->used = body.value("used", quota->used);
  quota->enforced = body.value("enforced", true);
  if (state.clock() >= quota->resetsAt) quota->resetsAt = state.clock() + quota->length;
}

void setVersion(State& state, const json& body) {
  const auto appId = body.at("appId").get<std::int64_t>();
  const auto platform = body.at("platform").get<std::string>();
  const auto number = body.at("version").get<std::string>();
  const auto versionState = body.value("state", "prepareforsubmission");
  if (state.app(appId) == nullptr) throw Refused(404, "not_found", fmt::format("There is no app {}.", appId));
  if (auto* const version = state.version(appId, platform, number)) {
    version->state = versionState;
    version->since = state.clock();
    version->sent = version->sent || versionState != "prepareforsubmission";
  } else {
    state.addVersion(appId, platform, number, versionState);
  }
}

std::string decisionName(Decision decision) {
  if (decision == Decision::waiting) return "waiting";
  return decision == Decision::approved ? "approved" : "denied";
}

json versionJson(const Version& version) {
  auto languages = json::object();
  for (const auto& language : version.languages) {
    for (const auto& display : language.displays) {
      auto& ids = languages[language.locale][display.kind][display.group] = json::array();
      for (const auto& placement : display.assets) ids.push_back(placement.assetId);
    }
  }
  return {{"appId", version.appId},
          {"platform", version.platform},
          {"version", version.version},
          {"state", version.state},
          {"shows", languages}};
}

json dump(const State& state, const Faults& faults) {
  json value{{"tokens", state.tokens.size()}, {"faults", faults.count()}, {"announced", state.announced}};
  for (const char* const list : {"signIns", "plans", "versions", "assets"}) value[list] = json::array();
  for (const auto& each : state.signIns) {
    value["signIns"].push_back({{"userCode", each.userCode},
                                {"client", each.client},
                                {"machine", each.machine},
                                {"state", decisionName(each.decision)},
                                {"expiresAt", isoText(each.expiresAt)}});
  }
  for (const auto& each : state.plans) {
    value["plans"].push_back({{"id", each.id},
                              {"title", each.title},
                              {"lines", each.lines},
                              {"state", each.state},
                              {"error", each.error},
                              {"expiresAt", isoText(each.expiresAt)}});
  }
  for (const auto& each : state.versions) value["versions"].push_back(versionJson(each));
  for (const auto& [id, each] : state.assets) {
    value["assets"].push_back({{"assetId", id},
                               {"appId", each.appId},
                               {"fileName", each.fileName},
                               {"md5", each.md5},
                               {"size", each.size},
                               {"complete", each.complete}});
  }
  for (const auto& each : state.apps) {
    value["testFlight"][std::to_string(each.appId)] = TestFlights::listing(state, each, "", "");
  }
  return value;
}

Answer post(State& state, Faults& faults, const Call& call, const std::string& what) {
  const auto body = given(call);
  if (what == "faults") {
    faults.add(faultOf(body));
  } else if (what == "script") {
    script(state, body);
  } else if (what == "announce") {
    state.announced = body.at("version").get<std::string>();
  } else if (what == "quota") {
    setQuota(state, body);
  } else if (what == "versions") {
    setVersion(state, body);
  } else if (what == "status") {
    Overview::set(state, body);
  } else if (what == "kit") {
    Kit::set(state, body);
  } else if (what == "reset") {
    state.reset();
    faults.clear();
  } else if (what == "token") {
    Grant grant{"script", "sandbox", body.value("scopes", Accounts::allScopes())};
    if (body.contains("appIds")) grant.appIds = body["appIds"].get<std::vector<std::int64_t>>();
    return Answer::json({{"token", Accounts::makeToken(state, std::move(grant))}});
  } else {
    throw Refused(404, "not_found", "There is no such control call.");
  }
  return done(call);
}

} // namespace

Answer answer(State& state, Faults& faults, const Call& call) {
  const auto& path = call.segments;
  if (call.method == "GET" && path.size() == 2 && path[1] == "state") {
    Plans::lapse(state);
    return Answer::json(dump(state, faults));
  }
  if (call.method == "DELETE" && path.size() == 2 && path[1] == "faults") {
    faults.clear();
    return done(call);
  }
  if (call.method == "POST" && path.size() == 2) return post(state, faults, call, path[1]);
  if (call.method == "POST" && path.size() == 3 && path[1] == "plans") return decidePlan(state, call, path[2]);
  if (call.method == "POST" && path.size() == 3 && path[1] == "signins") return decideSignIn(state, call, path[2]);
  if (call.method == "POST" && path.size() == 3 && path[1] == "reviews") return decideReview(state, call, path[2]);
  throw Refused(404, "not_found", "There is no such control call.");
}

} // namespace kestu::sandbox::Control
