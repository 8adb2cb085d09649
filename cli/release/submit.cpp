#include "cli/families.hpp"
#include "cli/metadata/layout_option.hpp"
#include "cli/release/release.hpp"
#include "cli/unchanged.hpp"
#include "cli/versions/versions.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/console/table.hpp"
#include "core/events/event.hpp"
#include "core/events/event_rules.hpp"
#include "core/release/finding_table.hpp"
#include "core/release/phased.hpp"
#include "core/release/release_check.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <memory>

namespace kestu {

namespace {

using Kind = CLIError::Kind;

struct SubmitOptions : ChangeOptions {
  VersionTarget target;
  LayoutOption layout;
  std::vector<std::string> events;
  bool withdraw = false;
  bool noCheck = false;
};

std::string table(const Findings& findings, const Console& console) {
  return console.isTerminal(Stream::out) ? ReleaseCheck::groups(findings, console.style(), console.width())
                                         : ReleaseCheck::table(findings, console.style());
}

/// What App Review would trip on, shown; an error among it ends the command.
void check(Context& context, const SubmitOptions& options, const VersionsFound& found) {
  ReleaseCheckOptions checked;
  checked.version = *options.target.version;
  checked.platform = found.app.platform;
  checked.app = options.target.app;
  checked.layout = options.layout;
  Findings findings = checkRelease(context, found.client, checked).findings;
  if (!findings.empty()) options.say(context.console, table(findings, context.console));
  if (!ReleaseCheck::fails(findings, false)) return;
  std::string number = printable(checked.version);
  throw CLIError(Kind::failed, number + " isn't ready for App Review: " + ReleaseCheck::summary(findings) +
                                   ", so nothing was sent. --no-check sends it all the same.");
}

/// Once each, in the order in which they were named.
std::vector<Event> eventsNamed(const VersionsFound& found, const std::vector<std::string>& names) {
  std::vector<Event> events;
  if (names.empty()) return events;
  const std::vector<Event> all = Events::fetch(found.client, found.app.path).value;
  for (const std::string& name : names) {
    const Event& event = Events::named(all, name);
    bool known =
        std::any_of(events.begin(), events.end(), [&](const Event& each) { return each.eventId == event.eventId; });
    if (!known) events.push_back(event);
  }
  return events;
}

/// All that App Review wouldn't take of the events is a CLIError.
void requireSubmittable(const std::vector<Event>& events) {
  std::vector<std::string> refusals;
  for (const Event& event : events) {
    if (std::string refusal = EventRules::submitRefusal(event); !refusal.empty()) refusals.push_back(refusal);
  }
  if (!refusals.empty()) throw CLIError(Kind::failed, Text::joined(refusals, "\n"));
}

std::string reviewGets(const StoreVersion& version, const std::vector<Event>& events, Moment now) {
  std::string build =
      printable(version.build->version.value_or(version.version)) + " (" + printable(version.build->number) + ")";
  std::vector<std::vector<std::string>> rows = {
      {"  build", build},
      {"  release", releaseText(version.releaseType, version.earliestReleaseDate, version.phased, now)},
  };
  for (const Event& event : events) rows.push_back({"  event", event.quoted()});
  return Format::table(rows);
}

void submit(Context& context, const SubmitOptions& options, const VersionsFound& found, const StoreVersion& version) {
  if (version.isWithReview() || version.stage() == VersionStage::approved) {
    bool approved = !version.isWithReview();
    return tellUnchanged(context, options,
                         "✓ App Review " + std::string(approved ? "approved " : "has ") + version.title() +
                             " already (" + version.stateText() +
                             "): nothing sent.\nNext: " + Versions::nextCommand(version, found.tail));
  }
  if (!version.takesUpdate()) throw Versions::refusal(version, "it can't be sent to App Review", found.tail);
  std::vector<Event> events = eventsNamed(found, options.events);
  requireSubmittable(events);
  if (!options.noCheck) check(context, options, found);
  if (!version.build) {
    throw CLIError(Kind::failed, version.title() + " has no build: " + found.line("release prepare", version.version));
  }
  JSONData body = JSONData::object();
  ProposedChange change;
  std::string what = found.app.title(version.version) + " to App Review";
  change.title = "Send " + what + ", after your approval:";
  change.lines = reviewGets(version, events, context.clock.now());
  change.items = {{version.title(), "state", version.state, "waitingforreview"}};
  for (const Event& event : events) {
    change.items.push_back({event.name, "state", event.state, "waitingforreview"});
  }
  change.would = "Dry run: would send " + what + ", after your approval.";
  change.done = "✓ Sent " + version.title() + " to App Review" +
                (events.empty()       ? ""
                 : events.size() == 1 ? ", and 1 event"
                                      : ", and " + std::to_string(events.size()) + " events") +
                ".\nNext: " + found.status();
  if (!events.empty()) {
    std::vector<std::string> ids;
    for (const Event& event : events) ids.push_back(event.eventId);
    body.set("events", ids);
  }
  options.make(context, found.client, found.request(version, "submit", body), change);
}

void withdraw(Context& context, const SubmitOptions& options, const VersionsFound& found, const StoreVersion& version) {
  std::string again = "\nNext: " + found.line("submit", version.version);
  if (version.state == "developerrejected") {
    return tellUnchanged(context, options,
                         "✓ " + version.title() + " is " + version.stateText() + " already: nothing sent." + again);
  }
  bool can = version.isWithReview() || version.state == "readyforreview" || version.state == "pendingdeveloperrelease";
  if (!can) throw Versions::refusal(version, "App Review has nothing of it to give back", found.tail);
  ProposedChange change;
  std::string what = found.app.title(version.version) + " back from App Review";
  change.title = "Take " + what + ". It has to be sent again, and waits for its turn anew.";
  change.items = {{version.title(), "state", version.state, "developerrejected"}};
  change.would = "Dry run: would take " + what + ".";
  change.done = "✓ Took " + version.title() + " back from App Review." + again;
  change.waits = false;
  options.make(context, found.client, found.request(version, "withdraw"), change);
}

void runSubmit(Context& context, const SubmitOptions& options) {
  VersionsFound found = VersionsFound::on(context, options.target);
  const StoreVersion& version = found.named(*options.target.version);
  (options.withdraw ? withdraw : submit)(context, options, found, version);
}

} // namespace

void addSubmit(Command& command) {
  command.discussion = "The release check runs first, and an error in it stops here: kestu release check 1.2 says the "
                       "same without sending anything. What App Review gets is shown and waits for your approval.";
  auto options = std::make_shared<SubmitOptions>();
  options->target.declare(command, "The version in App Store Connect, as 1.2.");
  command.option({{"--event"},
                  "event",
                  "An in-app event to send with it, by its reference name or Apple's ID. Repeat for several.",
                  [options](const std::string& value) {
                    if (Text::trimmed(value).empty()) throw UsageError("--event names no event.");
                    options->events.push_back(Text::trimmed(value));
                  },
                  {},
                  false});
  command.flag({"--no-check"}, options->noCheck, "Send it without the release check.");
  command.flag({"--withdraw"}, options->withdraw, "Take it back from App Review instead, at once.");
  options->layout.declare(command);
  options->ChangeOptions::declare(command);
  command.validate = [options] {
    if (options->withdraw && !options->events.empty()) {
      throw UsageError("--withdraw takes the version back, so --event has no place beside it.");
    }
  };
  command.run = [options](Context& context) { runSubmit(context, *options); };
  command.example("1.2", "Checks 1.2, shows what App Review gets, and sends it after your approval.");
  command.example("1.2 --event \"Winter Lights\"", "With an in-app event.");
  command.example("1.2 --withdraw", "Takes it back.");
}

} // namespace kestu
