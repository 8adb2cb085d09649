#include "core/changes/change_flow.hpp"

#include "core/changes/accompanied_change.hpp"

#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/support/blotting.hpp"

#include <chrono>

namespace kestu::ChangeFlow {

using Kind = CLIError::Kind;

void confirm(const Confirmation& confirmation, const std::string& lines, Console& console,
             const std::stop_token& stop) {
  if (confirmation.yes) return;
  if (!lines.empty()) console.error(lines);
  if (!console.asks()) {
    throw CLIError(Kind::unconfirmed, std::string("Nothing sent. Run it again with --yes to ") +
                                          (confirmation.waits ? "send it for approval in the kestu app" : "make it") +
                                          ".");
  }
  bool agreed = false;
  try {
    agreed =
        console.ask(confirmation.waits ? "Send this for approval in the kestu app?" : "Make this change now?", stop);
  } catch (const Stopped&) {
    console.error("Nothing sent.");
    throw;
  }
  if (!agreed) throw CLIError(Kind::denied, "Nothing sent.");
}

CLIError outcome(const Plan& plan) {
  if (plan.state == "denied") return {Kind::denied, "Denied in the kestu app. Nothing changed."};
  if (plan.state == "expired") {
    return {Kind::failed, "No one decided it in time, so nothing changed. Run it again to ask again."};
  }
  if (plan.error == "changed") {
    return {Kind::failed,
            "It changed in kestu since you asked, so nothing was applied. Look again, then run it again."};
  }
  if (plan.error == "partly_replied") {
    return {Kind::failed, "Some replies went and some didn't. kestu reviews shows which have yours."};
  }
  if (plan.error == "interrupted") {
    return {Kind::failed,
            "kestu was interrupted applying it, so it may or may not have gone through. Look before running it again."};
  }
  return {Kind::failed,
          "kestu couldn't apply it (" + printable(plan.error.value_or(plan.state)) + "). Nothing changed."};
}

namespace {

/// Polls a waiting plan until it is decided: every 5 seconds for two minutes, every 15 after that.
Response<Plan> decided(const Client& client, const Plan& plan) {
  Clock& clock = client.context().clock;
  auto begun = clock.continuous();
  Console::Busy busy(client.context().console);
  while (true) {
    bool early = clock.continuous() - begun < std::chrono::seconds(120);
    clock.sleep(std::chrono::seconds(early ? 5 : 15), client.context().stop);
    Response<Plan> now = client.get("/v1/plans/" + plan.id, {}, Plan::read);
    if (!now.value.waits()) return now;
  }
}

/// An end of the wait leaves the change where it is, which running the command again would not find.
Response<Plan> decidedOrTold(const Client& client, const Plan& plan) {
  auto tell = [&](const std::string& waits) {
    const ServiceContext& context = client.context();
    context.console.error("The change " + waits + " for your approval in the kestu app, until " +
                          Format::moment(plan.expiresAt, context.clock.now()) + ".");
  };
  try {
    return decided(client, plan);
  } catch (const Stopped&) {
    tell("still waits");
    throw;
  } catch (const CLIError&) {
    tell("was sent, and may still wait");
    throw;
  }
}

/// The answer to a change. Where none comes that can be read, the change may have been made or wait all the same, which
/// running the command again would not find.
Response<ChangeAnswer> answeredOrTold(const Client& client, const ChangeRequest& request) {
  auto tell = [&] {
    client.context().console.error("The change may have been sent. See whether it was made, or waits in the kestu app, "
                                   "before you run this again.");
  };
  int status = 0;
  try {
    HTTPAnswer answer = client.send(request.method, request.path, request.query, request.body);
    status = answer.status;
    return client.decoded(std::move(answer), ChangeAnswer::read);
  } catch (const Stopped&) {
    tell();
    throw;
  } catch (const AnswerLost&) {
    tell();
    throw;
  } catch (const CLIError&) {
    bool refused = status >= 300 && status < 500;
    if (status != 0 && !refused) tell();
    throw;
  }
}

Response<ChangeAnswer> sendOpenly(const Client& client, const ChangeRequest& request, bool dryRun, bool wait,
                                  const std::function<void(const Plan&)>& waiting,
                                  const std::function<void(const std::string&)>& answered = nullptr) {
  if (dryRun) {
    Query query = request.query;
    query.push_back(Client::dryRun);
    return client.decoded(client.send(request.method, request.path, query, request.body), ChangeAnswer::read);
  }
  auto answer = answeredOrTold(client, request);
  if (answered) answered(answer.body);
  if (!answer.value.plan) return answer;
  if (!answer.value.plan->waits()) {
    if (answer.value.plan->state != "applied") throw outcome(*answer.value.plan);
    return answer;
  }
  if (!wait) return answer;
  waiting(*answer.value.plan);
  Response<Plan> plan = decidedOrTold(client, *answer.value.plan);
  if (plan.value.state != "applied") throw outcome(plan.value);
  answer.value.plan = plan.value;
  JSONData whole = JSONData::copied(JSONValue::parse(answer.body));
  whole.set("plan", JSONData::copied(JSONValue::parse(plan.body)));
  answer.body = whole.compact();
  return answer;
}

} // namespace

Response<ChangeAnswer> send(const Client& client, const ChangeRequest& request, bool dryRun, bool wait,
                            const std::function<void(const Plan&)>& waiting) {
  if (!request.secret || request.secret->empty()) return sendOpenly(client, request, dryRun, wait, waiting);
  try {
    auto answer = sendOpenly(client, request, dryRun, wait, waiting);
    answer.body = blottedJSON(answer.body, *request.secret);
    return answer;
  } catch (const CLIError& error) {
    throw CLIError(error.kind, blotted(blotted(error.description, *request.secret), printable(*request.secret)));
  }
}

Response<ChangeAnswer> sendAccompanied(const Client& client, const ChangeRequest& request, bool wait,
                                       const std::function<void(const Plan&)>& waiting,
                                       const std::function<void(const std::string& body)>& answered) {
  return sendOpenly(client, request, false, wait, waiting, answered);
}

} // namespace kestu::ChangeFlow
