#include "core/kit/update_prompts.hpp"

#include "cli/kit/kit.hpp"
#include "core/console/fitted_table.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/project/app_choice.hpp"
#include "core/project/apple_locales.hpp"
#include "core/project/platform.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <set>

namespace kestu {

namespace {

using Messages = std::map<std::string, std::string>;

struct ListOptions : TableOptions {
  AppTarget app;
};

std::string locales(const Messages& messages) {
  std::vector<std::string> all;
  for (const auto& [locale, message] : messages) all.push_back(printable(locale));
  return Text::joined(all, ", ");
}

std::string updatedText(const UpdatePrompt& prompt) {
  std::string text = Format::number(prompt.updated);
  if (prompt.shown <= 0) return text;
  return text + " (" +
         Format::percent(100.0 * static_cast<double>(prompt.updated) / static_cast<double>(prompt.shown)) + ")";
}

Table tableOf(const std::vector<UpdatePrompt>& prompts, bool forPeople, const TextStyles& style) {
  Table table;
  table.headings = {"Prompt", "Platform", "Below", "On", "Required", "Languages", "Shown", "Updated"};
  for (const UpdatePrompt& each : prompts) {
    table.rows.push_back({printable(each.promptId), forPeople ? platformLabel(each.platform) : printable(each.platform),
                          printable(each.below), each.on ? style.green("on") : "off", each.required ? "yes" : "no",
                          locales(each.messages), forPeople ? Format::number(each.shown) : std::to_string(each.shown),
                          forPeople ? updatedText(each) : std::to_string(each.updated)});
  }
  return table;
}

void runList(Context& context, const ListOptions& options) {
  Client client = context.signedIn();
  auto prompts = UpdatePrompts::fetch(client, AppChoice::resolve(options.app.app, client, context.folder));
  std::string text = "No update prompts yet: kestu kit update-prompts create makes one.";
  if (!prompts.value.empty()) {
    text = Format::tableIn(tableOf(prompts.value, true, context.console.style()), context.console);
  }
  options.write(context.console, prompts.body, tableOf(prompts.value, false, TextStyles(false)), text);
}

/// What is typed of a prompt.
struct PromptOptions : ChangeOptions {
  std::string prompt;
  std::optional<std::string> platform, below;
  std::optional<bool> required, on;
  Messages messages;
  std::set<std::string> removed; ///< languages whose message goes
  AppTarget app;
};

JSONData messagesData(const Messages& messages) {
  JSONData object = JSONData::object();
  for (const auto& [locale, message] : messages) object.set(locale, message);
  return object;
}

std::string kind(bool required) { return required ? "required" : "optional"; }

void runCreate(Context& context, const PromptOptions& options) {
  KitApp app = KitApp::resolve(options.app, options.platform, context);
  UpdatePrompt prompt;
  prompt.platform = app.app.platform;
  prompt.below = *options.below;
  prompt.required = options.required.value_or(false);
  KitChange change;
  JSONData body = JSONData::object({{"platform", prompt.platform},
                                    {"below", prompt.below},
                                    {"required", prompt.required},
                                    {"messages", messagesData(options.messages)}});
  change.request = {"POST", app.path({"update-prompts"}), {}, body.compact()};
  change.would = "make " + prompt.title() + " of " + app.app.appTitle() + ", off, " + kind(prompt.required);
  change.items = {{prompt.title(), "required", std::nullopt, prompt.required ? "yes" : "no"}};
  for (const auto& [locale, message] : options.messages) {
    change.items.push_back({prompt.title(), "message " + locale, std::nullopt, message});
  }
  change.listed = true;
  auto all = UpdatePrompts::fetch(app.client, app.app.appId).value;
  bool alone = std::none_of(all.begin(), all.end(), [&](const auto& each) { return each.platform == prompt.platform; });
  change.done = "✓ Made " + prompt.title() + ", off.\nNext: kestu kit update-prompts " +
                (alone ? "set " + prompt.platform + " --on" : "list") + appWords(options.app);
  make(context, options, app.client, change);
}

CLIError noMessage(const UpdatePrompt& prompt, const std::string& locale) {
  return {CLIError::Kind::notFound, "It has no message in " + printable(locale) +
                                        (prompt.messages.empty() ? "." : ": it has " + locales(prompt.messages) + ".")};
}

/// What differs, and the request that makes it so.
std::pair<std::vector<ChangeItem>, JSONData> changed(const UpdatePrompt& prompt, const PromptOptions& options) {
  std::vector<ChangeItem> items;
  JSONData body = JSONData::object();
  auto word = [](bool value) { return std::string(value ? "yes" : "no"); };
  if (options.on && *options.on != prompt.on) {
    items.push_back({prompt.promptId, "on", prompt.on ? "on" : "off", *options.on ? "on" : "off"});
    body.set("on", *options.on);
  }
  if (options.below && *options.below != prompt.below) {
    items.push_back({prompt.promptId, "below", prompt.below, options.below});
    body.set("below", *options.below);
  }
  if (options.required && *options.required != prompt.required) {
    items.push_back({prompt.promptId, "required", word(prompt.required), word(*options.required)});
    body.set("required", *options.required);
  }
  Messages all = prompt.messages;
  for (const auto& [locale, message] : options.messages) {
    auto before = prompt.messages.find(locale);
    if (before != prompt.messages.end() && before->second == message) continue;
    std::optional<std::string> from;
    if (before != prompt.messages.end()) from = before->second;
    items.push_back({prompt.promptId, "message " + locale, from, message});
    all[locale] = message;
  }
  for (const std::string& locale : options.removed) {
    auto before = prompt.messages.find(locale);
    if (before == prompt.messages.end()) throw noMessage(prompt, locale);
    items.push_back({prompt.promptId, "message " + locale, before->second, std::nullopt});
    all.erase(locale);
  }
  if (all.empty() && !options.removed.empty())
    throw CLIError(CLIError::Kind::failed, "It would have no message left. Give it another one with "
                                           "--message, or delete it: kestu kit update-prompts delete" +
                                               appWords(options.app) + " " +
                                               Format::shellWord(printable(prompt.promptId)));
  if (all != prompt.messages) body.set("messages", messagesData(all)); // the languages that stay among them
  return {std::move(items), std::move(body)};
}

void runSet(Context& context, const PromptOptions& options) {
  KitApp app = KitApp::resolve(options.app, std::nullopt, context);
  auto prompts = UpdatePrompts::fetch(app.client, app.app.appId).value;
  const UpdatePrompt& prompt = UpdatePrompts::named(options.prompt, prompts);
  auto [items, body] = changed(prompt, options);
  if (items.empty()) return unchanged(context, options, "It's so");
  KitChange change;
  change.request = {"POST", app.path({"update-prompts", prompt.promptId}), {}, body.compact()};
  change.would = "change " + prompt.title() + " of " + app.app.appTitle();
  change.items = items;
  change.listed = true;
  change.done = "✓ Changed " + prompt.title() + ": it's " + (options.on.value_or(prompt.on) ? "on" : "off") + " now.";
  change.waits = prompt.on || options.on.value_or(false);
  make(context, options, app.client, change);
}

void runDelete(Context& context, const PromptOptions& options) {
  KitApp app = KitApp::resolve(options.app, std::nullopt, context);
  auto prompts = UpdatePrompts::fetch(app.client, app.app.appId).value;
  const UpdatePrompt& prompt = UpdatePrompts::named(options.prompt, prompts);
  std::string state = prompt.on ? "on" : "off";
  KitChange change;
  change.request = {"DELETE", app.path({"update-prompts", prompt.promptId}), {}, std::nullopt};
  change.would = "delete " + prompt.title() + " of " + app.app.appTitle() + ", which is " + state;
  change.items = {{prompt.promptId, "update prompt", state, std::nullopt}};
  change.done = "✓ Deleted " + prompt.title() + ".";
  change.waits = prompt.on;
  make(context, options, app.client, change);
}

// the tree

template <class Value>
void declareEither(Command& command, const std::string& name, const std::string& help, std::optional<Value>& target,
                   Value value, const std::string& both) {
  command.option({{name},
                  "",
                  help,
                  [&target, value, both](const std::string&) {
                    if (target.value_or(value) != value) throw UsageError(both + ", but not both.");
                    target = value;
                  },
                  {},
                  false});
}

void addMessage(Messages& messages, const std::string& typed) {
  std::size_t equals = typed.find('=');
  std::string locale = Text::trimmed(typed.substr(0, equals));
  std::string message = equals == std::string::npos ? "" : Text::trimmed(typed.substr(equals + 1));
  if (message.empty()) throw UsageError("--message is a language and its text, as en-US=\"…\".");
  if (AppleLocales::standing(locale) == AppleLocales::Standing::refused) {
    throw UsageError(printable(locale) + AppleLocales::refusal(locale));
  }
  if (!messages.emplace(locale, message).second) throw UsageError("--message has " + locale + " twice.");
}

void declareEdit(Command& command, PromptOptions& own) {
  declareText(command, "--below", "version", "Users of versions below it are asked to update.",
              [&own](const std::string& version) {
                if (!UpdatePrompts::isVersion(Text::trimmed(version))) {
                  throw UsageError("--below is a version, as 1.2, not " + printable(version) + ".");
                }
                own.below = Text::trimmed(version);
              });
  declareEither(command, "--required", "They can't go on without updating.", own.required, true,
                "--required or --optional");
  declareEither(command, "--optional", "They can put it off.", own.required, false, "--required or --optional");
  declareText(command, "--message", "locale=text", "What it says in a language. Repeat for several.",
              [&own](const std::string& typed) { addMessage(own.messages, typed); });
}

void declarePrompt(Command& command, PromptOptions& own) {
  declareName(command, "prompt", "The prompt: its ID, or its platform where that has one alone.", own.prompt);
}

void addCreate(Command& group) {
  Command& command = group.add("create", "Make an update prompt, off to start with.");
  auto options = addChange<PromptOptions>(command, runCreate, [&](PromptOptions& own) {
    declarePlatform(command, "Whose users it asks. The app's first platform when left out.", own.platform);
    declareEdit(command, own);
  });
  command.validate = [options] {
    if (!options->below) throw UsageError("--below says which versions it's for: those below it.");
    if (options->messages.empty()) throw UsageError("--message says what it says, as --message en-US=\"…\".");
  };
  command.needs({"--below"});
  command.needs({"--message"});
  command.example("--below 1.2 --message en-US=\"The radar is new.\"",
                  "Asks users of older versions than 1.2, once it's turned on.");
}

void addSet(Command& group) {
  Command& command = group.add("set", "Change an update prompt: turn it on or off, its version, its messages.");
  command.discussion = "A change of a prompt that is on, or that this turns on, reaches users: it waits for your "
                       "approval. Languages that --message doesn't name keep their text.";
  auto options = addChange<PromptOptions>(command, runSet, [&](PromptOptions& own) {
    declarePrompt(command, own);
    declareEither(command, "--on", "Turn it on.", own.on, true, "--on or --off");
    declareEither(command, "--off", "Turn it off.", own.on, false, "--on or --off");
    declareEdit(command, own);
    declareText(command, "--remove-message", "locale", "A language whose message goes. Repeat for several.",
                [&own](const std::string& locale) { own.removed.insert(Text::trimmed(locale)); });
  });
  command.validate = [options] {
    for (const std::string& locale : options->removed) {
      if (options->messages.contains(locale)) {
        throw UsageError("--message and --remove-message both name " + locale + ".");
      }
    }
    if (!options->removed.empty()) return;
    if (options->on || options->below || options->required || !options->messages.empty()) return;
    throw UsageError(
        "Say what to change: --on, --off, --below, --required, --optional, --message or --remove-message.");
  };
  command.example("ios --on", "Turns on the prompt for iOS, after your approval.");
  command.example("ios --below 1.3 --message de-DE=\"Das Radar ist neu.\"", "For versions below 1.3, in German too.");
}

} // namespace

void addUpdatePrompts(Command& kit) {
  Command& group = kit.add("update-prompts", "What asks users of old versions to update.");
  group.example("list", "The prompts, and how many users updated.");
  group.example("set ios --off", "Asks nobody on iOS any more.");
  Command& list = group.add("list", "The update prompts that KestuKit has, and how many users updated.");
  auto listed = std::make_shared<ListOptions>();
  listed->app.declare(list);
  listed->TableOptions::declare(list);
  list.run = [listed](Context& context) { runList(context, *listed); };
  addCreate(group);
  addSet(group);
  Command& remove = group.add("delete", "Delete an update prompt. One that is on waits for your approval.");
  addChange<PromptOptions>(remove, runDelete, [&](PromptOptions& own) { declarePrompt(remove, own); });
  list.example("", "The prompts, and how many users updated.");
  remove.example("ios", "Deletes the prompt for iOS.");
}

} // namespace kestu
