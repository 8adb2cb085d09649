#include "cli/before_sending.hpp"
#include "cli/release/preparation.hpp"
#include "cli/release/release.hpp"
#include "cli/waiting.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/support/moments.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <memory>

namespace kestu {

namespace {

using Kind = CLIError::Kind;
using ReleasePrepare::StepState;

/// The step's name, padded to where all their texts begin.
std::string labelled(const PreparedStep& step) {
  std::string label(ReleasePrepare::label(step.step));
  return label + std::string(std::string_view("What to Test  ").size() - label.size(), ' ');
}

/// A line folded within its column, where a person reads it.
std::string folded(const std::string& line, const Console& console) {
  constexpr int column = 16; // where the texts begin
  return console.isTerminal(Stream::out) ? TextStyle::wrap(line, console.width(), column) : line;
}

std::string planLine(const PreparedStep& step, const Console& console) {
  const TextStyles& style = console.style();
  std::string text = step.isPlanned() ? step.text + (step.waits ? ", after your approval" : "") : style.dim(step.text);
  std::string name = labelled(step);
  std::string label = style.bold(ReleasePrepare::label(step.step)) + name.substr(name.find_last_not_of(' ') + 1);
  return folded("  " + label + text, console) + (step.lines.empty() ? "" : "\n" + step.lines);
}

std::string planText(const std::vector<PreparedStep>& steps, const Console& console) {
  std::vector<std::string> lines;
  for (const PreparedStep& step : steps) lines.push_back(planLine(step, console));
  return Text::joined(lines, "\n");
}

/// What became of a step that is over.
std::string doneLine(const PreparedStep& step) {
  switch (step.state) {
  case StepState::left:
    return "  " + labelled(step) + step.text;
  case StepState::waiting:
    return "● " + labelled(step) + step.text + ", waits for your approval in the kestu app";
  case StepState::done:
    return "✓ " + labelled(step) + step.done;
  default:
    return "✓ " + labelled(step) + step.text;
  }
}

std::vector<ChangeItem> itemsOf(const std::vector<PreparedStep>& steps) {
  std::vector<ChangeItem> items;
  for (const PreparedStep& step : steps) items.insert(items.end(), step.items.begin(), step.items.end());
  return items;
}

JSONData answerOf(const Preparation& preparation, const std::vector<PreparedStep>& steps) {
  JSONData list = JSONData::array();
  for (const PreparedStep& step : steps) {
    JSONData one = JSONData::object({{"step", ReleasePrepare::word(step.step)},
                                     {"state", ReleasePrepare::word(step.state)},
                                     {"text", TextStyle::plain(step.text)},
                                     {"waits", step.waits},
                                     {"changes", changesData(step.items)},
                                     {"answers", JSONData(step.answers)}});
    list.add(std::move(one));
  }
  return JSONData::object({{"version", preparation.number()},
                           {"platform", preparation.app().platform},
                           {"appId", preparation.app().appId},
                           {"steps", std::move(list)}});
}

std::string labels(const std::vector<PreparedStep>& steps, bool done) {
  std::vector<std::string> words;
  for (const PreparedStep& step : steps) {
    bool isDone = step.state == StepState::done || step.state == StepState::unchanged;
    bool isOpen = step.isPlanned() || step.state == StepState::failed || step.state == StepState::denied;
    if (done ? isDone : isOpen) words.emplace_back(ReleasePrepare::label(step.step));
  }
  return Text::joined(words, ", ");
}

/// How far a preparation had come that didn't come to its end; begins with a line break where there is something.
std::string howFar(const std::vector<PreparedStep>& steps) {
  std::string done = labels(steps, true);
  std::string open = labels(steps, false);
  return (done.empty() ? "" : "\nDone: " + done + ".") +
         (open.empty() ? "" : "\nNot done: " + open + ". Run it again to go on from there.");
}

/// The error that ended a step, and how far the preparation had come.
CLIError stopped(const CLIError& error, const PreparedStep& at, const std::vector<PreparedStep>& steps) {
  std::string message =
      error.kind == Kind::denied
          ? "Denied in the kestu app: " + std::string(ReleasePrepare::label(at.step)) + " stays as it was."
          : std::string(ReleasePrepare::label(at.step)) + ": " + error.description;
  return {error.kind, message + howFar(steps)};
}

/// What a step's change is known again by, also once the steps before it are made.
std::string identityOf(const PreparedStep& step, const Preparation& preparation) {
  return "prepare " + preparation.app().title(preparation.number()) + "\n" + changesData(step.items).compact();
}

/// A line for each step that waits for the approval already.
std::string waitsAlready(Context& context, const std::vector<PreparedStep>& steps, const Preparation& preparation) {
  std::vector<std::string> lines;
  Console::Busy busy(context.console);
  for (const PreparedStep& step : steps) {
    if (!step.isPlanned()) continue;
    std::string label(ReleasePrepare::label(step.step));
    std::string already = waitsAlready(context, identityOf(step, preparation), label + ":");
    if (!already.empty()) lines.push_back(already);
  }
  return Text::joined(lines, "\n");
}

/// Sends one of a step's changes; whether it waits for the approval now.
bool send(Context& context, const PrepareOptions& options, const Preparation& preparation, PreparedStep& step,
          const ChangeRequest& request) {
  auto answer = ChangeFlow::send(preparation.client(), request, false, !options.noWait, [&](const Plan& plan) {
    step.state = StepState::waiting;
    rememberWaiting(context, identityOf(step, preparation), plan);
    options.say(context.console, "● " + labelled(step) + "waits for your approval in the kestu app, until " +
                                     Format::moment(plan.expiresAt, context.clock.now()) + ".");
  });
  step.answers.push_back(JSONData::copied(JSONValue::parse(answer.body)));
  const auto& plan = answer.value.plan;
  if (!plan || !plan->waits()) return false;
  rememberWaiting(context, identityOf(step, preparation), *plan);
  return true;
}

/// Sends a step's changes one after the other.
void make(Context& context, const PrepareOptions& options, const Preparation& preparation, PreparedStep& step) {
  bool waiting = false;
  const std::vector<ChangeRequest> requests = step.requests();
  if (requests.empty()) {
    step.state = StepState::unchanged;
    step.text = printable(*options.target.version) + " already has what the repo says.";
    return;
  }
  for (const ChangeRequest& request : requests) {
    try {
      waiting = send(context, options, preparation, step, request) || waiting;
    } catch (const CLIError& error) {
      if (error.kind != Kind::failed || !step.isMadeAlready || !step.isMadeAlready()) throw;
      step.done += " already";
    }
  }
  if (step.after) step.after();
  step.state = waiting ? StepState::waiting : StepState::done;
}

void makeAll(Context& context, const PrepareOptions& options, const Preparation& preparation,
             std::vector<PreparedStep>& steps) {
  for (PreparedStep& step : steps) {
    if (step.isPlanned()) {
      try {
        make(context, options, preparation, step);
      } catch (const CLIError& error) {
        bool isMade = step.step == ReleasePrepare::Step::version && error.kind == Kind::pending;
        step.state = isMade ? StepState::done : error.kind == Kind::denied ? StepState::denied : StepState::failed;
        if (options.quiet()) context.console.json(answerOf(preparation, steps).pretty());
        throw isMade ? error : stopped(error, step, steps);
      } catch (const Stopped&) {
        if (step.isPlanned()) step.state = StepState::failed;
        if (options.quiet()) context.console.json(answerOf(preparation, steps).pretty());
        context.console.error("Stopped." + howFar(steps));
        throw;
      }
    }
    options.say(context.console, folded(doneLine(step), context.console));
  }
}

void runPrepare(Context& context, const PrepareOptions& options) {
  Preparation preparation = beforeSending(context.console, [&] { return Preparation(context, options); });
  std::vector<PreparedStep> steps = preparation.steps();
  std::string what = preparation.app().title(preparation.number());
  bool any = std::any_of(steps.begin(), steps.end(), [](const PreparedStep& step) { return step.isPlanned(); });
  bool waits =
      std::any_of(steps.begin(), steps.end(), [](const PreparedStep& step) { return step.isPlanned() && step.waits; });
  ProposedChange change;
  change.title = "Prepare " + what + ":";
  change.lines = planText(steps, context.console);
  change.items = itemsOf(steps);
  change.waits = waits;
  change.would = any ? "Dry run: would prepare " + what + "; nothing was sent."
                     : "Dry run: " + what + " already has what the repo says.";
  if (options.dryRun) return options.tellDryRun(context, change, answerOf(preparation, steps).compact());
  if (std::string already = waitsAlready(context, steps, preparation); !already.empty()) change.lines += "\n" + already;
  if (any) options.confirm(context, change);
  makeAll(context, options, preparation, steps);
  bool waiting = std::any_of(steps.begin(), steps.end(),
                             [](const PreparedStep& step) { return step.state == StepState::waiting; });
  std::string done = waiting ? "● Waiting for your approval in the kestu app."
                     : any   ? "✓ " + preparation.title() + " is prepared."
                             : "✓ " + preparation.title() + " was prepared already: nothing sent.";
  options.emitBody(context.console, answerOf(preparation, steps).compact(),
                   done + "\nNext: " + preparation.nextCommand());
}

void declareSettings(Command& command, const std::shared_ptr<PrepareOptions>& options) {
  command.option({{"--build"},
                  "build",
                  "The build to submit, by its number (45), or latest: the newest of this version Apple has processed.",
                  [options](const std::string& value) {
                    if (Text::trimmed(value).empty()) throw UsageError("--build names no build.");
                    options->settings.build = Text::trimmed(value);
                  },
                  {},
                  false});
  const std::vector<std::string> types = {"manual", "afterapproval", "scheduled"};
  command.option({{"--release-type"},
                  "type",
                  "manual, afterapproval or scheduled (with --earliest).",
                  [options, types](const std::string& value) {
                    requireOneOf("--release-type", value, types);
                    options->settings.releaseType = value;
                  },
                  types,
                  false});
  command.option({{"--earliest"},
                  "moment",
                  "A scheduled release's earliest moment, as 2026-11-02T09:00:00Z.",
                  [options](const std::string& value) {
                    options->settings.earliestReleaseDate = Moments::parse(Text::trimmed(value));
                    if (options->settings.earliestReleaseDate) return;
                    throw UsageError("--earliest is a moment, as 2026-11-02T09:00:00Z, not " + printable(value) + ".");
                  },
                  {},
                  false});
  command.option({{"--phased"},
                  "",
                  "Release it in phases over 7 days, or to everyone at once.",
                  [options](const std::string&) { options->settings.phased = true; },
                  {},
                  false});
  command.option({{"--no-phased"},
                  "",
                  "Release it to everyone at once.",
                  [options](const std::string&) {
                    if (options->settings.phased == true) throw UsageError("--phased or --no-phased, not both.");
                    options->settings.phased = false;
                  },
                  {},
                  false});
}

} // namespace

void addReleasePrepare(Command& group) {
  Command& command =
      group.add("prepare", "Get a version ready for App Review from the repo: the version, its build and "
                           "release, its listing and assets.");
  command.discussion =
      "Makes the version, or renames the one being prepared (Apple allows one a platform); attaches the build; sets "
      "how "
      "it's released, whether in phases, and the copyright; sends each language's text and what App Review is told "
      "where "
      "they differ; sends the assets (screenshots, app previews, header and search results assets) as one change; and "
      "sets the build's What to Test. The release's settings come from metadata/releases/<version>/release.json in "
      "kestu's layout, and the options here win over it.";
  auto options = std::make_shared<PrepareOptions>();
  declareVersion(command, "The version, as 1.2.", true,
                 [options](std::string version) { options->target.version = std::move(version); });
  std::vector<std::string> words(platforms.begin(), platforms.end());
  command.option({{"--platform"},
                  "platform",
                  "ios (to start with), macos, tvos or visionos.",
                  [options, words](const std::string& value) {
                    requireOneOf("--platform", value, words);
                    options->target.platform = value;
                  },
                  words,
                  false});
  declareSettings(command, options);
  command.flag({"--no-assets"}, options->noAssets,
               "Leave the screenshots, app previews, header and search results assets as they are.");
  options->layout.declare(command);
  options->target.app.declare(command);
  options->ChangeOptions::declare(command);
  command.run = [options](Context& context) { runPrepare(context, *options); };
  command.example("1.2 --dry-run", "Everything it would do, and nothing is sent.");
  command.example("1.2 --build latest", "With the newest build of 1.2 that Apple has processed.");
  command.example("1.2 --release-type scheduled --earliest 2027-02-01T09:00:00Z",
                  "Released on a day once it's approved.");
}

} // namespace kestu
