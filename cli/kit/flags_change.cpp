#include "cli/kit/flags.hpp"
#include "cli/kit/kit.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/kit/flags.hpp"
#include "core/project/project.hpp"
#include "core/support/text.hpp"

#include <algorithm>

namespace kestu {

using Kind = CLIError::Kind;

namespace {

/// What is typed of a flag; a value means something only once its type is known.
struct FlagOptions : ChangeOptions {
  std::string key;
  std::optional<std::string> type, value;
  FlagEdit edit;
  AppTarget app;
};

UsageError noKey(const std::string& given) { return UsageError("\"" + printable(given) + "\" can't be a flag's key."); }

void declareKey(Command& command, const std::string& help, std::string& key) {
  command.argument({"key", help,
                    [&key](const std::string& given) {
                      requireUTF8("The key", given);
                      if (Text::trimmed(given).empty() || given == "." || given == "..") throw noKey(given);
                      key = given;
                    },
                    true});
}

/// The key as an argument of another command line, the app before it: what follows "--" is no option.
std::string next(const std::string& command, const FlagOptions& options, const std::string& more) {
  return "\nNext: kestu kit flags " + command + more + appWords(options.app) + " " + Flags::argument(options.key);
}

const std::string noValue = "A bool flag has no value: it's --on or --off.";

// create

std::string described(const FlagOptions& options, bool on) {
  std::string text = *options.type;
  if (options.edit.value) {
    std::string value = Flags::valueText(*options.edit.value);
    text += " " + (value.empty() ? "\"\"" : value);
  }
  int rollout = options.edit.rollout.value_or(Percent::whole);
  text += ", " + Flags::stateText(on, rollout);
  if (!on && rollout != Percent::whole) text += ", for " + Percent::text(rollout) + " once on";
  return text;
}

std::vector<ChangeItem> items(const FlagOptions& options, bool on) {
  std::vector<ChangeItem> items = {{options.key, "type", {}, options.type}, {options.key, "on", {}, on ? "on" : "off"}};
  if (options.edit.value) items.push_back({options.key, "value", {}, Flags::valueText(*options.edit.value)});
  items.push_back({options.key, "rollout", {}, Percent::text(options.edit.rollout.value_or(Percent::whole))});
  if (options.edit.notes) items.push_back({options.key, "notes", {}, options.edit.notes});
  return items;
}

void runCreate(Context& context, const FlagOptions& given) {
  FlagOptions options = given;
  options.key = Flags::withoutFullStop(given.key);
  if (options.value) options.edit.value = Flags::value(*options.type, *options.value, "--value");
  KitApp app = KitApp::resolve(options.app, std::nullopt, context);
  for (const KitFlag& flag : fetchKitFlags(app.client, app.app.appId).value) {
    if (flag.key != options.key) continue;
    throw CLIError(Kind::failed, "KestuKit has a flag " + printable(flag.key) +
                                     " for the app already.\nNext: kestu kit flags list" + appWords(options.app));
  }
  bool on = options.edit.on.value_or(false);
  KitChange change;
  JSONData body = Flags::body(options.edit);
  body.set("key", options.key).set("type", *options.type);
  change.request = {"POST", app.path({"flags"}), {}, body.compact()};
  std::string flag = "the flag " + printable(options.key);
  change.would = "make " + flag + " for " + app.app.appTitle() + ": " + described(options, on);
  change.items = items(options, on);
  change.done = "✓ Made " + flag + ": " + described(options, on) + "." + (on ? "" : next("set", options, " --on"));
  change.waits = on;
  if (options.key != given.key) change.more = "The full stop is taken for the end of the sentence it was copied from.";
  make(context, options, app.client, change);
}

// set

std::vector<ChangeItem> items(const KitFlag& flag, const FlagEdit& edit) {
  std::vector<ChangeItem> items;
  auto state = [](bool on) { return std::string(on ? "on" : "off"); };
  if (edit.on) items.push_back({flag.key, "on", state(flag.on), state(*edit.on)});
  if (edit.value) {
    std::optional<std::string> from;
    if (flag.value) from = Flags::valueText(*flag.value);
    items.push_back({flag.key, "value", from, Flags::valueText(*edit.value)});
  }
  if (edit.rollout) items.push_back({flag.key, "rollout", Percent::text(flag.rollout), Percent::text(*edit.rollout)});
  if (edit.notes) items.push_back({flag.key, "notes", flag.notes, edit.notes});
  return items;
}

void runSet(Context& context, const FlagOptions& options) {
  KitApp app = KitApp::resolve(options.app, std::nullopt, context);
  auto flags = fetchKitFlags(app.client, app.app.appId).value;
  const KitFlag& flag = Flags::named(options.key, flags);
  FlagEdit edit = options.edit;
  if (options.value && flag.type == "bool") throw CLIError(Kind::usage, noValue);
  if (options.value) edit.value = Flags::value(flag.type, *options.value, "--value");
  edit = Flags::changed(flag, edit);
  std::string name = "the flag " + printable(flag.key);
  if (Flags::isEmpty(edit)) return unchanged(context, options, "The flag " + printable(flag.key) + " is so");
  KitChange change;
  change.request = {"POST", app.path({"flags", flag.key}), {}, Flags::body(edit).compact()};
  change.would = "change " + name + " of " + app.app.appTitle();
  change.items = items(flag, edit);
  change.listed = true;
  change.done = "✓ Changed " + name + ": it's " +
                Flags::stateText(edit.on.value_or(flag.on), edit.rollout.value_or(flag.rollout)) + " now.";
  change.waits = flag.on || edit.on.value_or(false);
  make(context, options, app.client, change);
}

// delete

/// Where the code still reads it, as far as the repository tells.
std::string stillRead(const std::string& key, Context& context) {
  auto reads = context.console.during([&] { return FlagScan::reads(Project::root(context.folder), context.stop); });
  auto found = std::find_if(reads.begin(), reads.end(), [&](const FlagRead& read) { return read.key == key; });
  return found == reads.end() ? "" : "The code still reads it, in " + FlagSources::place(*found) + ".";
}

void runDelete(Context& context, const FlagOptions& options) {
  KitApp app = KitApp::resolve(options.app, std::nullopt, context);
  auto flags = fetchKitFlags(app.client, app.app.appId).value;
  const KitFlag& flag = Flags::named(options.key, flags);
  std::string state = Flags::stateText(flag.on, flag.rollout);
  KitChange change;
  change.request = {"DELETE", app.path({"flags", flag.key}), {}, std::nullopt};
  change.would = "delete the flag " + printable(flag.key) + " of " + app.app.appTitle() + ", which is " + state;
  change.items = {{flag.key, "flag", state, std::nullopt}};
  if (!app.app.foreign) change.more = stillRead(flag.key, context);
  change.done = "✓ Deleted the flag " + printable(flag.key) + ".";
  change.waits = flag.on;
  make(context, options, app.client, change);
}

// the tree

void declareValues(Command& command, FlagOptions& options, const std::string& rolloutLeftOut) {
  command.option({{"--value"},
                  "value",
                  "Its value: a text (\"\" for an empty one), a number or JSON, as its type is.",
                  [&options](const std::string& given) {
                    requireUTF8("--value", given);
                    options.value = given;
                  },
                  {},
                  false,
                  true});
  command.option({{"--rollout"},
                  "percent",
                  "The share of users that get it while it's on: 25%." + rolloutLeftOut,
                  [&options](const std::string& given) {
                    options.edit.rollout = Percent::typed(given);
                    if (!options.edit.rollout) {
                      throw UsageError("--rollout is a percentage from 0% to 100%, as 25%, not " + printable(given) +
                                       ".");
                    }
                  },
                  {},
                  false});
  command.option({{"--notes"},
                  "text",
                  "What it's for, for those who see it in kestu; \"\" for nothing.",
                  [&options](const std::string& given) {
                    requireUTF8("--notes", given);
                    options.edit.notes = given;
                  },
                  {},
                  false,
                  true});
}

void setOn(Command& command, const std::string& name, bool on, const std::string& help, FlagOptions& options) {
  command.option({{name},
                  "",
                  help,
                  [&options, on](const std::string&) {
                    if (options.edit.on.value_or(on) != on) throw UsageError("--on or --off, but not both.");
                    options.edit.on = on;
                  },
                  {},
                  false});
}

void addCreate(Command& flags) {
  Command& command = flags.add("create", "Make a flag: a bool one, off, unless the options say otherwise.");
  command.discussion = "A key that begins with a dash goes after two: kestu kit flags create -- -beta";
  auto options = addChange<FlagOptions>(command, runCreate, [&](FlagOptions& own) {
    declareKey(command, "The key that the code reads it by.", own.key);
    std::vector<std::string> types(Flags::types.begin(), Flags::types.end());
    command.option({{"--type"},
                    "type",
                    "bool (to start with), text, number or json.",
                    [&own, types](const std::string& given) {
                      requireOneOf("--type", given, types);
                      own.type = given;
                    },
                    types,
                    false});
    setOn(command, "--on", true, "On from the start, which waits for your approval.", own);
    declareValues(command, own, " All of them when left out.");
  });
  command.validate = [options] {
    if (!Flags::isKey(options->key)) throw noKey(options->key);
    if (!options->type) options->type = "bool";
    bool isBool = options->type == "bool";
    if (isBool && options->value) throw UsageError(noValue + " --type is for text, a number or JSON.");
    if (!isBool && !options->value) throw UsageError("A " + *options->type + " flag needs a --value.");
  };
  command.example("night-mode", "A flag for yes or no, off to start with.");
  command.example("greeting --type text --value \"Good morning\"", "A flag with a text.");
}

void addSet(Command& flags) {
  Command& command = flags.add("set", "Change a flag: turn it on or off, its value, its rollout, its notes.");
  command.discussion = "A change of a flag that is on, or that this turns on, reaches users: it waits for your "
                       "approval. Changes of one that is off are made at once.";
  auto options = addChange<FlagOptions>(command, runSet, [&](FlagOptions& own) {
    declareKey(command, "The flag's key.", own.key);
    setOn(command, "--on", true, "Turn it on.", own);
    setOn(command, "--off", false, "Turn it off.", own);
    declareValues(command, own, "");
  });
  command.validate = [options] {
    if (Flags::isEmpty(options->edit) && !options->value) {
      throw UsageError("Say what to change: --on, --off, --value, --rollout or --notes.");
    }
  };
  command.example("new-radar --on --rollout 25%", "On for a quarter of the users, after your approval.");
  command.example("welcome-text --value \"Good evening\"", "Another value.");
}

} // namespace

void addFlags(Command& kit) {
  Command& flags = kit.add("flags", "The app's feature flags: those that the code reads, and KestuKit's own.");
  flags.example("list", "KestuKit's flags, and where this repo's code reads them.");
  flags.example("create night-mode", "A flag for yes or no, off to start with.");
  addFlagsList(flags);
  addFlagsCheck(flags);
  addCreate(flags);
  addSet(flags);
  Command& command = flags.add("delete", "Delete a flag. One that is on waits for your approval.");
  addChange<FlagOptions>(command, runDelete,
                         [&](FlagOptions& own) { declareKey(command, "The flag's key.", own.key); });
  command.example("new-radar --dry-run", "What would go; nothing is sent.");
}

} // namespace kestu
