#include "core/kit/experiments.hpp"

#include "cli/kit/kit.hpp"
#include "core/console/fitted_table.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/kit/flags.hpp"
#include "core/project/app_choice.hpp"
#include "core/support/moments.hpp"
#include "core/support/text.hpp"

#include <algorithm>

namespace kestu {

using Kind = CLIError::Kind;

namespace {

struct ListOptions : TableOptions {
  AppTarget app;
};

std::string styled(const std::string& state, const TextStyles& style) {
  if (state == "running") return style.green("running");
  return state == "draft" ? style.amber("draft") : printable(state);
}

/// An argument of another command line: by name, after "--" where that looks like an option.
std::string argument(const std::string& name) { return Flags::argument(name); }

Table tableOf(const std::vector<Experiment>& all, const std::optional<Moment>& now, const TextStyles& style) {
  Table table;
  table.headings = {"Experiment", "Flag", "Metric", "State", "Started", "Users", "ID"};
  for (const Experiment& each : all) {
    std::string started;
    if (each.startedAt) started = now ? Format::ago(*each.startedAt, *now) : Moments::iso8601(*each.startedAt);
    table.rows.push_back({printable(each.name), printable(each.flag), printable(each.metric), styled(each.state, style),
                          started, now ? Format::number(each.users()) : std::to_string(each.users()),
                          printable(each.experimentId)});
  }
  return table;
}

void runList(Context& context, const ListOptions& options) {
  Client client = context.signedIn();
  auto all = Experiments::fetch(client, AppChoice::resolve(options.app.app, client, context.folder));
  std::string text = "No experiments yet: kestu kit experiments create <name> makes one.";
  if (!all.value.empty()) {
    text = Format::tableIn(tableOf(all.value, context.clock.now(), context.console.style()), context.console);
  }
  options.write(context.console, all.body, tableOf(all.value, std::nullopt, TextStyles(false)), text);
}

// view

struct ViewOptions : GlobalOptions {
  std::string experiment;
  AppTarget app;
};

std::string signedPercent(double part) { return (part > 0 ? "+" : "") + Format::percent(part * 100); }

Table variantsOf(const Experiment& experiment, int width, const TextStyles& style) {
  Table table;
  table.headings = {"Variant", "Value", "Share", "Users", "Rate", "", "Lift", "Sure"};
  double highest = 0;
  for (const Variant& variant : experiment.variants) highest = std::max(highest, variant.rate.value_or(0));
  const Variant* winner = Experiments::winner(experiment);
  for (const Variant& variant : experiment.variants) {
    std::string lift = variant.lift ? signedPercent(*variant.lift) : "";
    bool isSure = variant.confidence.value_or(0) >= 0.95;
    if (isSure) lift = *variant.lift > 0 ? style.green(lift) : style.red(lift);
    std::string bar = Experiments::bar(variant.rate.value_or(0), highest, width >= 80 ? 20 : 8);
    table.rows.push_back({&variant == winner ? style.bold(printable(variant.name)) : printable(variant.name),
                          Flags::valueText(variant.value), Percent::text(variant.share), Format::number(variant.users),
                          variant.rate ? Format::percent(*variant.rate * 100) : "", bar, lift,
                          variant.confidence ? Format::percent(*variant.confidence * 100) : ""});
  }
  return table;
}

std::string whenText(const Experiment& experiment, Moment now) {
  if (experiment.state == "running" && experiment.startedAt) {
    return "running, started " + Format::ago(*experiment.startedAt, now);
  }
  if (experiment.stoppedAt) return "stopped " + Format::ago(*experiment.stoppedAt, now);
  return experiment.state == "draft" ? "a draft, which no user is in yet" : printable(experiment.state);
}

std::string nextText(const Experiment& experiment, const std::string& reference, const AppTarget& app) {
  std::string at = appWords(app) + " " + argument(reference);
  if (experiment.state == "draft") return "\nNext: kestu kit experiments start" + at;
  const Variant* winner = Experiments::winner(experiment);
  if (experiment.state != "running" || !winner) return "";
  return "\nNext: kestu kit experiments stop --keep=" + Format::shellWord(printable(winner->name)) + at;
}

void runView(Context& context, const ViewOptions& options) {
  Client client = context.signedIn();
  auto all = Experiments::fetch(client, AppChoice::resolve(options.app.app, client, context.folder));
  const Experiment& experiment = Experiments::named(options.experiment, all.value);
  if (options.quiet()) {
    auto each = JSONValue::parse(all.body).at("experiments").list();
    auto at = static_cast<std::size_t>(&experiment - all.value.data());
    return context.console.json(JSONData::copied(each.at(at)).pretty());
  }
  const Console& console = context.console;
  std::string head = console.style().bold(printable(experiment.name)) + ": " +
                     whenText(experiment, context.clock.now()) + ".\nTells apart the flag " +
                     printable(experiment.flag) + " by " + printable(experiment.metric) + ".";
  context.console.line(TextStyle::wrap(head, console.width()) + "\n" +
                       Format::tableIn(variantsOf(experiment, console.width(), console.style()), console) +
                       nextText(experiment, Experiments::reference(experiment, all.value), options.app));
}

// create

struct CreateOptions : ChangeOptions {
  std::string name, flag, metric;
  std::vector<Experiments::TypedVariant> variants;
  AppTarget app;
};

void runCreate(Context& context, const CreateOptions& options) {
  KitApp app = KitApp::resolve(options.app, std::nullopt, context);
  auto flags = fetchKitFlags(app.client, app.app.appId).value;
  const KitFlag& flag = Flags::named(options.flag, flags);
  KitChange change;
  JSONData variants = JSONData::array();
  std::vector<std::string> texts;
  for (const auto& variant : options.variants) {
    JSONData value = Flags::value(flag.type, variant.value, "The value of the variant " + printable(variant.name));
    std::string text = Flags::valueText(value) + " for " + Percent::text(variant.share);
    texts.push_back(printable(variant.name) + " " + text);
    change.items.push_back({options.name, "variant " + variant.name, std::nullopt, text});
    variants.add(JSONData::object(
        {{"name", variant.name}, {"value", std::move(value)}, {"share", Percent::data(variant.share)}}));
  }
  JSONData body = JSONData::object({{"name", options.name}, {"flag", flag.key}, {"metric", options.metric}});
  body.set("variants", variants);
  change.request = {"POST", app.path({"experiments"}), {}, body.compact()};
  std::string name = "the experiment " + printable(options.name);
  change.would = "make " + name + " for " + app.app.appTitle() + ", a draft: the flag " + printable(flag.key) + " by " +
                 printable(options.metric) + ", " + Text::joined(texts, ", ");
  change.done = "✓ Made " + name + ", a draft.";
  auto all = Experiments::fetch(app.client, app.app.appId).value;
  bool alone = !Experiments::isNamed(options.name, all);
  // A name that there is twice says nothing.
  change.next = [&options, alone](const JSONValue& answer) {
    auto id = answer.find("experimentId", &JSONValue::text);
    return "\nNext: kestu kit experiments start" + appWords(options.app) + " " +
           argument(alone ? options.name : id.value_or(options.name));
  };
  make(context, options, app.client, change);
}

// start, stop, delete

struct OneOptions : ChangeOptions {
  std::string experiment;
  std::optional<std::string> keep;
  AppTarget app;
};

/// An experiment that there is, and what its changes need.
struct Found {
  KitApp app;
  Experiment experiment;
  std::string name;      ///< "the experiment Radar first", printable
  std::string reference; ///< in a command

  static Found with(const OneOptions& options, const Context& context) {
    KitApp app = KitApp::resolve(options.app, std::nullopt, context);
    auto all = Experiments::fetch(app.client, app.app.appId).value;
    Experiment experiment = Experiments::named(options.experiment, all);
    std::string name = "the experiment " + printable(experiment.name);
    std::string reference = Experiments::reference(experiment, all);
    return {std::move(app), std::move(experiment), std::move(name), std::move(reference)};
  }

  std::string path(const std::string& action) const {
    return app.path({"experiments", experiment.experimentId}) + action;
  }
  std::string ofApp() const { return name + " of " + app.app.appTitle(); }
  ChangeItem state(std::optional<std::string> to) const {
    return {experiment.name, "state", experiment.state, std::move(to)};
  }
};

void runStart(Context& context, const OneOptions& options) {
  Found found = Found::with(options, context);
  if (found.experiment.state == "running") return unchanged(context, options, "It's running");
  if (found.experiment.state != "draft") {
    throw CLIError(Kind::failed, printable(found.experiment.name) + " was stopped, and starts no more. Make another: "
                                                                    "kestu kit experiments create <name>");
  }
  std::vector<std::string> texts;
  for (const Variant& variant : found.experiment.variants) {
    texts.push_back(printable(variant.name) + " " + Flags::valueText(variant.value) + " for " +
                    Percent::text(variant.share));
  }
  KitChange change;
  change.request = {"POST", found.path("/start"), {}, std::nullopt};
  change.would =
      "start " + found.ofApp() + ": the flag " + printable(found.experiment.flag) + " is " + Text::joined(texts, ", ");
  change.items = {found.state("running")};
  change.done = "✓ Started " + found.name + ".\nNext: kestu kit experiments view" + appWords(options.app) + " " +
                argument(found.reference);
  change.waits = true;
  make(context, options, found.app.client, change);
}

void runStop(Context& context, const OneOptions& options) {
  Found found = Found::with(options, context);
  const auto& all = found.experiment.variants;
  if (options.keep &&
      std::none_of(all.begin(), all.end(), [&](const auto& each) { return each.name == options.keep; })) {
    std::vector<std::string> names;
    for (const Variant& variant : all) names.push_back(printable(variant.name));
    throw CLIError(Kind::notFound, printable(found.experiment.name) + " has no variant " + printable(*options.keep) +
                                       ": --keep takes " + Text::orList(names) + ".");
  }
  if (found.experiment.state != "running") {
    throw CLIError(Kind::failed, printable(found.experiment.name) + " isn't running: it's " +
                                     (found.experiment.state == "draft" ? "a draft." : "stopped already."));
  }
  KitChange change;
  std::optional<std::string> body;
  if (options.keep) body = JSONData::object({{"keep", *options.keep}}).compact();
  change.request = {"POST", found.path("/stop"), {}, body};
  change.would = "stop " + found.ofApp() + ", and " +
                 (options.keep ? "everybody gets " + printable(*options.keep)
                               : "everybody gets what the flag " + printable(found.experiment.flag) + " says");
  change.items = {found.state("stopped")};
  if (options.keep) change.items.push_back({found.experiment.name, "kept variant", std::nullopt, options.keep});
  change.done = "✓ Stopped " + found.name + (options.keep ? ": everybody gets " + printable(*options.keep) : "") + ".";
  change.waits = true;
  make(context, options, found.app.client, change);
}

void runDelete(Context& context, const OneOptions& options) {
  Found found = Found::with(options, context);
  if (found.experiment.state == "running") {
    throw CLIError(Kind::failed, printable(found.experiment.name) +
                                     " is running. End it first: kestu kit experiments "
                                     "stop" +
                                     appWords(options.app) + " " + argument(found.reference));
  }
  KitChange change;
  change.request = {"DELETE", found.path(""), {}, std::nullopt};
  change.would = "delete " + found.ofApp() + ", " +
                 (found.experiment.state == "draft" ? "a draft" : "which is stopped, with all that it found out");
  change.items = {found.state(std::nullopt)};
  change.done = "✓ Deleted " + found.name + ".";
  make(context, options, found.app.client, change);
}

// the tree

void declareExperiment(Command& command, std::string& target) {
  declareName(command, "experiment", "The experiment: its name or ID.", target);
}

void addCreate(Command& group) {
  Command& command = group.add("create", "Make an experiment, a draft: which variants of a flag do how well.");
  auto options = addChange<CreateOptions>(command, runCreate, [&](CreateOptions& own) {
    declareName(command, "name", "What it's called.", own.name);
    declareText(command, "--flag", "key", "The flag whose values it tells apart.",
                [&own](std::string key) { own.flag = std::move(key); });
    declareText(command, "--metric", "metric", "What users do that counts, as purchases.",
                [&own](std::string metric) { own.metric = std::move(metric); });
    declareText(command, "--variant", "name=value:share",
                "A variant: what the flag is for which share of users. Repeat; the shares add up to 100.",
                [&own](const std::string& text) {
                  auto variant = Experiments::TypedVariant::read(text);
                  if (!variant) {
                    throw UsageError("--variant is a name, a value and a share, as control=false:50, not " +
                                     printable(text) + ".");
                  }
                  own.variants.push_back(*variant);
                });
  });
  command.validate = [options] {
    if (options->flag.empty()) throw UsageError("--flag says which flag it's about.");
    if (options->metric.empty()) throw UsageError("--metric says what counts.");
    if (auto problem = Experiments::problem(options->variants)) throw UsageError(*problem);
  };
  command.needs({"--flag"});
  command.needs({"--metric"});
  command.needs({"--variant"});
  command.example("Radar --flag new-radar --metric purchases --variant control=false:50 --variant new=true:50",
                  "Half of the users get the new radar.");
}

} // namespace

void addExperiments(Command& kit) {
  Command& group = kit.add("experiments", "The app's experiments: which value of a flag does best.");
  group.example("list", "Every experiment, and where it stands.");
  group.example("view \"Radar first\"", "How one's variants do.");
  Command& list = group.add("list", "The experiments that KestuKit has for the app.");
  auto listed = std::make_shared<ListOptions>();
  listed->app.declare(list);
  listed->TableOptions::declare(list);
  list.run = [listed](Context& context) { runList(context, *listed); };

  Command& view = group.add("view", "How an experiment's variants do: users, rate, lift, and how sure that is.");
  auto viewed = std::make_shared<ViewOptions>();
  declareExperiment(view, viewed->experiment);
  viewed->app.declare(view);
  viewed->GlobalOptions::declare(view);
  view.run = [viewed](Context& context) { runView(context, *viewed); };

  addCreate(group);
  Command& start = group.add("start", "Start a draft. It reaches users, so it waits for your approval.");
  addChange<OneOptions>(start, runStart, [&](OneOptions& own) { declareExperiment(start, own.experiment); });
  Command& stop = group.add("stop", "Stop a running experiment, after your approval.");
  addChange<OneOptions>(stop, runStop, [&](OneOptions& own) {
    declareExperiment(stop, own.experiment);
    declareText(stop, "--keep", "variant",
                "The variant that everybody gets from then on. What the flag says when left out.",
                [&own](std::string variant) { own.keep = std::move(variant); });
  });
  Command& remove = group.add("delete", "Delete a draft, or a stopped experiment.");
  addChange<OneOptions>(remove, runDelete, [&](OneOptions& own) { declareExperiment(remove, own.experiment); });
  list.example("", "Every experiment, and where it stands.");
  list.example("-o json", "The same for a script.");
  view.example("\"Radar first\"", "How its variants do.");
  start.example("\"Longer forecast\"", "Starts it after your approval.");
  stop.example("\"Radar first\" --keep radar", "Ends it, and everybody gets the variant \"radar\".");
  remove.example("\"Longer forecast\" --dry-run", "What would go; nothing is sent.");
}

} // namespace kestu
