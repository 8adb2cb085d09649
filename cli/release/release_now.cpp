#include "cli/release/release.hpp"
#include "cli/unchanged.hpp"
#include "cli/versions/versions.hpp"
#include "core/project/platform.hpp"
#include "core/release/phased.hpp"

#include <memory>

namespace kestu {

namespace {

using Kind = CLIError::Kind;

struct NowOptions : ChangeOptions {
  VersionTarget target;
};

/// The version that waits for its release, or the one that was named.
const StoreVersion& toRelease(const VersionsFound& found, const VersionTarget& target) {
  if (target.version) return found.named(*target.version);
  for (const StoreVersion& each : found.all) {
    if (each.state == "pendingdeveloperrelease") return each;
  }
  std::string message =
      "No " + platformLabel(found.app.platform) + " version App Review approved waits for you to release it.";
  if (const StoreVersion* next = Versions::underWay(found.all, found.app.platform)) {
    message += " " + next->number() + " is " + next->stateText() + ": " + Versions::advice(*next, found.tail);
  } else if (!found.all.empty()) {
    message += " " + found.all.front().number() + " is " + found.all.front().stateText() + ".";
  }
  throw CLIError(Kind::notFound, message);
}

void runNow(Context& context, const NowOptions& options) {
  VersionsFound found = VersionsFound::on(context, options.target);
  const StoreVersion& version = toRelease(found, options.target);
  std::string next = "\nNext: " + found.status();
  if (version.state == "readyfordistribution" || version.state == "processingfordistribution") {
    return tellUnchanged(context, options,
                         "✓ " + version.title() + " is " + version.stateText() + " already: nothing sent." + next);
  }
  if (version.state != "pendingdeveloperrelease") {
    throw Versions::refusal(version, "there's nothing of it to release", found.tail);
  }
  ProposedChange change;
  std::string what = found.app.title(version.version);
  std::string how = version.phased ? "to more users each day over 7 days" : "to everyone at once";
  change.title = "Release " + what + " to the App Store, " + how + ". It reaches users and can't be undone.";
  change.items = {{version.title(), "state", version.state, "readyfordistribution"}};
  change.would = "Dry run: would release " + what + " to the App Store, " + how + ", after your approval.";
  change.done = "✓ Released " + version.title() +
                (version.phased ? ": its phased release has started." : " to the App Store.") + next;
  options.make(context, found.client, found.request(version, "release"), change);
}

// phased

void runPhased(Context& context, const NowOptions& options, Phased::Action action) {
  VersionsFound found = VersionsFound::on(context, options.target);
  const Phased::ActionFacts& facts = Phased::facts(action);
  Phased::Target target = Phased::target(found.all, found.app.platform, action);
  const StoreVersion& version = *target.version;
  bool pauses = action == Phased::Action::pause;
  std::string next = "\nNext: " + (pauses ? "kestu release phased resume" + found.tail.all() : found.status());
  std::string of = version.number() + "'s phased release";
  if (target.already) {
    std::string is = pauses                             ? " is paused already"
                     : action == Phased::Action::resume ? " isn't paused"
                                                        : " is complete already";
    return tellUnchanged(context, options, "✓ " + of + is + ": nothing sent." + next);
  }
  std::string effect = pauses                             ? "Apple waits up to 30 days in all."
                       : action == Phased::Action::resume ? "More users get it each day again."
                                                          : "Everyone gets it at once.";
  std::string word(facts.word);
  std::string day = version.phasedDay ? ", on day " + std::to_string(*version.phasedDay) + " of 7" : "";
  std::string what = "the phased release of " + found.app.title(version.version) + day;
  ProposedChange change;
  change.title =
      std::string(1, static_cast<char>(word.front() - 'a' + 'A')) + word.substr(1) + " " + what + ". " + effect;
  change.items = {{version.title(), "phased release", version.phasedState,
                   pauses                             ? "paused"
                   : action == Phased::Action::resume ? "active"
                                                      : "complete"}};
  change.would = "Dry run: would " + word + " " + what + (facts.waits ? ", after your approval." : ".");
  change.done = "✓ " + std::string(facts.done) + " " + of + (pauses ? ": " + effect : ".") + next;
  change.waits = facts.waits;
  options.make(context, found.client,
               found.request(version, "phased", JSONData::object({{"action", std::string(facts.word)}})), change);
}

} // namespace

void addReleaseNow(Command& group) {
  Command& command =
      group.add("now", "Release a version App Review approved, which waits for you, to the App Store: it reaches users "
                       "and can't be undone, so it waits for your approval.");
  auto options = std::make_shared<NowOptions>();
  options->target.declare(command, "The version, as 1.2. The one that waits for you when left out.", false);
  options->ChangeOptions::declare(command);
  command.run = [options](Context& context) { runNow(context, *options); };
  command.example("--platform macos", "Releases the Mac's version that waits for you, after your approval.");
  command.example("1.2 --platform macos --yes", "In a script.");
}

void addReleasePhased(Command& group) {
  Command& phased = group.add("phased", "Pause, resume or complete the phased release of the version that's out.");
  phased.discussion = "Apple releases to more users each day over 7 days; paused, it waits up to 30 days in all. "
                      "Resuming and completing reach more users at once, so they wait for your approval.";
  phased.example("pause", "No more users get the version for now.");
  phased.run = [](Context&) {};
  phased.validate = [] { throw UsageError("Which one: pause, resume or complete."); };
  const char* const abstracts[] = {"Pause it: no more users get the version.", "Resume it, where it was paused.",
                                   "Complete it: everyone gets the version at once."};
  for (const Phased::ActionFacts& facts : Phased::actions()) {
    Command& command = phased.add(std::string(facts.word), abstracts[static_cast<std::size_t>(facts.action)]);
    auto options = std::make_shared<NowOptions>();
    options->target.declarePlace(command);
    options->ChangeOptions::declare(command);
    if (facts.action == Phased::Action::resume) {
      command.example("--platform macos", "On the Mac, after your approval.");
      command.example("--platform macos --dry-run", "What it would do; nothing is sent.");
    } else {
      command.example("", "On the app's only platform, or iOS.");
      command.example("--dry-run", "What it would do; nothing is sent.");
    }
    command.run = [options, action = facts.action](Context& context) { runPhased(context, *options, action); };
  }
}

} // namespace kestu
