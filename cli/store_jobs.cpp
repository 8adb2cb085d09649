#include "cli/store_jobs.hpp"

#include "cli/app_platform.hpp"
#include "cli/context.hpp"
#include "core/console/format.hpp"
#include "core/console/format_money.hpp"
#include "core/console/printable.hpp"
#include "core/pricing/offer_terms.hpp"
#include "core/support/text.hpp"
#include "core/support/uuid.hpp"

#include <algorithm>
#include <charconv>
#include <memory>
#include <utility>
#include <vector>

namespace kestu {

namespace {

using Kind = CLIError::Kind;

std::string jobPath(const std::string& appPath, const std::string& id) { return appPath + "/jobs/" + id; }

/// The argument that names a job.
void declareJob(Command& command, std::string& id) {
  command.argument({"id", "The job's ID, which the command that started it printed.", [&id](const std::string& value) {
                      auto read = uuid(Text::trimmed(value));
                      if (!read) {
                        throw CLIError(Kind::usage,
                                       "That isn't a job's ID, which the command that started it printed.");
                      }
                      id = *read;
                    }});
}

std::string capitalized(std::string text) {
  if (!text.empty() && text.front() >= 'a' && text.front() <= 'z') {
    text.front() = static_cast<char>(text.front() - 'a' + 'A');
  }
  return text;
}

std::string mark(const StoreJob& job) {
  if (job.state == "done" || job.state == "undone") return "✓ ";
  return job.state == "failed" ? "! " : "● ";
}

std::string joinedCodes(const std::vector<std::string>& codes) {
  std::vector<std::string> shown;
  for (const std::string& code : codes) shown.push_back(printable(code));
  return Text::joined(shown, ", ");
}

/// What the job changes, a line a fact.
std::vector<std::string> detailLines(const JobDetails& details) {
  std::vector<std::string> lines;
  std::vector<std::string> facts;
  auto text = [](const std::optional<std::string>& value) { return printable(value.value_or("")); };
  if (details.price && details.currency) {
    facts.push_back(Format::money(*details.price, *details.currency) +
                    (details.storefront ? " in " + Format::country(*details.storefront) : ""));
  }
  if (details.discount) facts.push_back(text(details.discount) + " off each country's own price");
  if (details.mode && details.duration) {
    facts.push_back(Format::introTerms({*details.mode, *details.duration, details.periods.value_or(1)}));
  }
  if (details.ending.value_or(false)) facts.push_back("its introductory offers taken off");
  if (details.startsOn) facts.push_back("from " + Format::day(text(details.startsOn)));
  if (details.endsOn) facts.push_back("until " + Format::day(text(details.endsOn)));
  std::string subject = text(details.productName ? details.productName : details.product);
  if (details.productName && details.product) subject += " (" + text(details.product) + ")";
  std::string what = Text::joined(facts, ", ");
  if (!subject.empty() || !what.empty())
    lines.push_back(subject + (subject.empty() || what.empty() ? "" : ": ") + what);
  if (details.countries) {
    std::string line = Format::countries(*details.countries);
    if (details.ownPrices.value_or(0) > 0)
      line += ", " + Format::number(*details.ownPrices) + " with a price of their own";
    lines.push_back(line);
  }
  if (details.existingSubscribers) lines.push_back("Existing subscribers: " + text(details.existingSubscribers));
  if (details.onSaleIn) lines.push_back("On sale in " + Format::countries(*details.onSaleIn));
  if (details.addedCountries) lines.push_back("Added: " + joinedCodes(*details.addedCountries));
  if (details.removedCountries) lines.push_back("Removed: " + joinedCodes(*details.removedCountries));
  return lines;
}

std::string jobText(const StoreJob& job, Moment now) {
  std::string line = Format::job(job);
  std::string text = mark(job) + capitalized(line) + (line.ends_with('.') ? "" : ".");
  if (job.details) {
    for (const std::string& each : detailLines(*job.details)) text += "\n  " + each;
  }
  if (job.startsOn && !(job.details && job.details->startsOn)) {
    text += "\n  Takes effect on " + Format::day(printable(*job.startsOn));
  }
  if (job.canUndo && job.undoUntil) text += "\n  Can be undone until " + Format::moment(*job.undoUntil, now);
  return text;
}

struct StatusOptions : GlobalOptions {
  AppTarget app;
  std::string id;
  JobWaitOptions wait;
};

void runStatus(Context& context, const JobGroup& group, const StatusOptions& options) {
  Client client = context.signedIn();
  std::string path = AppOnPlatform::resolve(client, options.app, std::nullopt, context).path;
  auto job = options.wait.wait ? followJob(context, client, path, options.id, options.wait.limit,
                                           group.command("undo", options.id, options.app))
                               : client.get(jobPath(path, options.id), {}, StoreJob::read);
  options.emitBody(context.console, job.body,
                   jobReport(group, job.value, options.id, options.app, context.clock.now()));
}

struct UndoOptions : ChangeOptions {
  AppTarget app;
  std::string id;
  JobWaitOptions wait;
};

/// Before anybody is asked: what is on its way, taken back or begun can't be undone.
void requireUndoable(const StoreJob& job, const std::string& follow, Moment now) {
  if (job.canUndo) return;
  std::string why;
  if (job.state == "undone") {
    why = "It's undone already.";
  } else if (job.state == "undoing") {
    why = "It's being undone already.\nNext: " + follow;
  } else if (job.state == "running") {
    why = "It's still on its way: it can be undone once it's done or stopped, until it starts.\nNext: " + follow;
  } else {
    why = "It has started, so it can't be undone any more." +
          (job.undoUntil ? " It could be until " + Format::moment(*job.undoUntil, now) + "." : "");
  }
  throw CLIError(Kind::failed, why);
}

void runUndo(Context& context, const JobGroup& group, const UndoOptions& options) {
  if (options.wait.wait && options.noWait) throw CLIError(Kind::usage, "--wait and --no-wait: one or the other.");
  Client client = context.signedIn();
  auto app = AppOnPlatform::resolve(client, options.app, std::nullopt, context);
  auto job = client.get(jobPath(app.path, options.id), {}, StoreJob::read);
  requireUndoable(job.value, group.command("status", options.id, options.app) + " --wait", context.clock.now());
  ProposedChange change;
  change.title = app.appTitle() + ": take back " + group.job + ", " + Format::job(job.value) + ".";
  if (job.value.details) change.lines = "  " + Text::joined(detailLines(*job.value.details), "\n  ");
  change.items = {{options.id, "state", job.value.state, "undone"}};
  change.would = "Dry run: would delete " + group.made + " of " + app.appTitle() + " in " +
                 Format::countries(job.value.done) + ".";
  change.done = "✓ Undoing it: Kestu deletes " + group.made +
                " over the next few minutes.\nNext: " + group.command("status", options.id, options.app);
  change.waits = false;
  ChangeRequest request{"POST", jobPath(app.path, options.id) + "/undo", {}, std::nullopt};
  if (!options.wait.wait || options.dryRun) return options.make(context, client, request, change);
  options.confirm(context, change);
  options.sent(context, client, request, change);
  options.say(context.console, change.done.substr(0, change.done.find('\n')));
  auto followed = followJob(context, client, app.path, options.id, options.wait.limit, "");
  options.emitBody(context.console, followed.body,
                   jobReport(group, followed.value, options.id, options.app, context.clock.now()));
}

} // namespace

std::string JobGroup::command(const std::string& its, const std::string& id, const AppTarget& app) const {
  return "kestu " + word + " " + its + " " + id + (app.app ? " --app " + Format::shellWord(printable(*app.app)) : "");
}

std::string jobReport(const JobGroup& group, const StoreJob& job, const std::string& id, const AppTarget& app,
                      Moment now) {
  std::string text = jobText(job, now);
  bool undoing = job.state == "undoing";
  if (undoing || job.state == "running") text += "\nNext: " + group.command("status", id, app) + " --wait";
  if (job.canUndo && !undoing) text += "\nUndo: " + group.command("undo", id, app);
  return text;
}

void JobWaitOptions::declare(Command& command) {
  command.flag({"--wait"}, wait, "Follow the job until it's done, stopped or undone.");
  command.option({{"--timeout"},
                  "minutes",
                  "How long --wait waits, in minutes: 4 hours to start with, since a busy key's job can take hours.",
                  [this](const std::string& value) {
                    constexpr int aWeek = 7 * 24 * 60;
                    int minutes = -1;
                    auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), minutes);
                    if (error != std::errc() || end != value.data() + value.size() || minutes < 0 || minutes > aWeek) {
                      return wrong.add("--timeout is a number of minutes from 0 to " + Format::number(aWeek) +
                                       ", not " + printable(value) + ".");
                    }
                    limit = std::chrono::minutes(minutes);
                    limitGiven = true;
                  },
                  {},
                  false});
}

void JobWaitOptions::check(bool noWait, Faults& faults) const {
  faults.add(wrong.all);
  if (limitGiven && !wait) faults.add("--timeout goes with --wait.");
  if (wait && noWait) faults.add("--wait and --no-wait: one or the other.");
}

void JobWaitOptions::requireSensible() const {
  Faults faults;
  check(false, faults);
  if (!faults.all.empty()) throw UsageError(Text::joined(faults.all, "\n"));
}

Response<StoreJob> followJob(Context& context, const Client& client, const std::string& appPath, const std::string& id,
                             std::chrono::minutes limit, const std::string& undo) {
  Console& console = context.console;
  std::optional<std::int64_t> told;
  JobFollow::Listener listener;
  listener.moved = [&](const StoreJob& job) {
    console.status("● " + capitalized(Format::job(job)));
    // Where no line is redrawn, one for each twentieth is enough to see that it goes on.
    if (console.redraws() || (told && job.done - *told < std::max<std::int64_t>(1, job.total / 20) && job.left() > 0 &&
                              *told - job.done < std::max<std::int64_t>(1, job.total / 20))) {
      return;
    }
    if (told == job.done) return;
    told = job.done;
    console.error("● " + capitalized(Format::job(job)) + ".");
  };
  listener.trouble = [&](const std::string& reason) {
    console.error(reason + (reason.ends_with('.') ? "" : ".") + " Still waiting.");
  };
  struct Cleared {
    Console& console;
    ~Cleared() { console.clearStatus(); }
  } cleared{console};
  auto job = JobFollow::until(client, jobPath(appPath, id), limit, listener);
  console.clearStatus();
  JobFollow::requireSuccess(job.value, undo);
  return job;
}

Response<ChangeAnswer> plannedChange(const Client& client, const ChangeRequest& request, Console& console) {
  return console.during([&] { return ChangeFlow::send(client, request, true, false, nullptr); });
}

void tellPlanned(Context& context, const ChangeOptions& options, ProposedChange change, const std::string& body) {
  change.lines = change.title + (change.lines.empty() ? "" : "\n" + change.lines);
  options.tellDryRun(context, change, body);
}

void sendJob(Context& context, const JobPlace& place, const ChangeOptions& options, const JobWaitOptions& waiting,
             const JobGroup& group, const JobChange& change) {
  auto answer = options.sent(context, place.client, change.request, change.proposal);
  const auto& plan = answer.value.plan;
  if (plan && plan->waits()) {
    return options.emitBody(context.console, answer.body, "● Waiting for your approval in the kestu app.");
  }
  auto job = plan && plan->job ? plan->job : answer.value.job;
  if (!job) return options.emitBody(context.console, answer.body, change.proposal.done);
  std::string started = change.started + "\nNext: " + group.command("status", *job, place.app);
  if (change.undoable) started += "\nUndo: " + group.command("undo", *job, place.app);
  if (!waiting.wait) return options.emitBody(context.console, answer.body, started);
  options.say(context.console, started);
  auto followed = followJob(context, place.client, place.appPath, *job, waiting.limit,
                            change.undoable ? group.command("undo", *job, place.app) : "");
  JSONData whole = JSONData::copied(JSONValue::parse(answer.body));
  whole.set("followed", JSONData::copied(JSONValue::parse(followed.body)));
  if (options.quiet()) return context.console.json(whole.pretty());
  context.console.line(jobReport(group, followed.value, *job, place.app, context.clock.now()));
}

void addJobStatus(Command& group, const JobGroup& jobs) {
  Command& command = group.add("status", "How far " + jobs.job + " has got, country by country, and where it stopped.");
  auto options = std::make_shared<StatusOptions>();
  declareJob(command, options->id);
  options->wait.declare(command);
  options->app.declare(command);
  options->GlobalOptions::declare(command);
  command.example(jobs.example, "Where it is now.");
  command.example(jobs.example + " --wait", "Follows it to its end.");
  command.validate = [options] { options->wait.requireSensible(); };
  command.run = [options, jobs](Context& context) { runStatus(context, jobs, *options); };
}

void addJobUndo(Command& group, const JobGroup& jobs) {
  Command& command = group.add("undo", "Take back " + jobs.job +
                                           " while its day is still to come: what it made deleted country by country.");
  command.discussion = "One done or stopped can be undone until it starts. Nothing it made has reached users, so it "
                       "waits for your approval only where the sign-in asks about every change.";
  auto options = std::make_shared<UndoOptions>();
  declareJob(command, options->id);
  options->wait.declare(command);
  options->app.declare(command);
  options->ChangeOptions::declare(command);
  command.example(jobs.example + " --wait", "Takes it back, and follows that to its end.");
  command.validate = [options] { options->wait.requireSensible(); };
  command.run = [options, jobs](Context& context) { runUndo(context, jobs, *options); };
}

} // namespace kestu
