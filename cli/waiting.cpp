#include "cli/waiting.hpp"

#include "cli/context.hpp"
#include "core/changes/waiting_changes.hpp"
#include "core/console/format.hpp"
#include "core/platform/state_folder.hpp"

namespace kestu {

namespace {

WaitingChanges waitingChanges(const Context& context) {
  return {stateFolder(context.environment), context.base().origin()};
}

} // namespace

void tellWaiting(Context& context, const Output& output, const Plan& plan) {
  output.say(context.console, "● Waiting for your approval in the kestu app, until " +
                                  Format::moment(plan.expiresAt, context.clock.now()) + ".");
}

void rememberWaiting(Context& context, const std::string& identity, const Plan& plan) {
  waitingChanges(context).keep(identity, plan, context.clock.now());
}

std::string waitsAlready(Context& context, const std::string& identity, const std::string& what) {
  auto id = waitingChanges(context).find(identity, context.clock.now());
  if (!id) return "";
  try {
    Plan plan = context.signedIn().get("/v1/plans/" + *id, {}, Plan::read).value;
    if (!plan.waits()) return "";
    return "! " + what + " waits for your approval already, until " +
           Format::moment(plan.expiresAt, context.clock.now()) +
           ": this would be a second one. Approve or deny that one in the kestu app.";
  } catch (const CLIError&) {
    return ""; // whatever keeps it from being told is told by the change itself
  }
}

} // namespace kestu
