#include "cli/options.hpp"

#include "cli/context.hpp"
#include "cli/waiting.hpp"
#include "core/console/format.hpp"
#include "core/project/apple_locales.hpp"
#include "core/support/printable_ascii.hpp"
#include "core/support/text.hpp"

#include <algorithm>

namespace kestu {

namespace {

const std::string yesHelp =
    "Send it without asking. Otherwise what it changes is shown and asked about first, and without a "
    "terminal to ask at (an agent, CI) nothing's sent.";
constexpr std::size_t longestName = 300; // bytes; App Store Connect's are at most 30 characters
const std::string jsonHelp = "json for kestu's answer as JSON, for scripts and agents (--json for short)";

void declareAnswerFormat(Command& command, Output& output) {
  command.option({{"-o", "--output"},
                  "format",
                  jsonHelp + ". For people when left out.",
                  [&output](const std::string& value) {
                    requireOneOf("--output", value, {"json"});
                    output.format = TableFormat::json;
                  },
                  {"json"},
                  false});
  command.flag({"--json"}, output.json, "The same as --output json.", true);
}

/// Whole numbers between dots: 1.2, not 1..2, v1 or -1.
bool numbersBetweenDots(std::string_view text) {
  bool digit = false;
  for (char c : text) {
    bool isDigit = c >= '0' && c <= '9';
    if (!isDigit && !(c == '.' && digit)) return false;
    digit = isDigit;
  }
  return digit;
}

} // namespace

void requireOneOf(const std::string& name, const std::string& value, const std::vector<std::string>& words) {
  if (std::find(words.begin(), words.end(), value) != words.end()) return;
  throw UsageError(name + " is " + Text::orList(words) + ", not " + shown(value) + ".");
}

std::string versionGiven(const std::string& value) {
  std::string version = Text::trimmed(value);
  if (version.empty()) throw UsageError("The version is empty.");
  if (numbersBetweenDots(version)) return version;
  throw UsageError(shown(value) + " can't be a version: it's a number, as 1.2.");
}

std::string buildNumberGiven(const std::string& value) {
  std::string number = Text::trimmed(value);
  if (numbersBetweenDots(number)) return number;
  throw UsageError(shown(value) + " can't be a build number: it's one as 45 or 1.0.8.");
}

std::string localeGiven(const std::string& value) {
  std::string locale = Text::trimmed(value);
  if (AppleLocales::standing(locale) != AppleLocales::Standing::refused) return locale;
  throw UsageError(shown(value) + AppleLocales::refusal(locale));
}

void declareLocales(Command& command, std::vector<std::string>& locales, std::string help) {
  command.option({{"--locale"},
                  "locale",
                  std::move(help),
                  [&locales](const std::string& value) {
                    std::vector<std::string> given;
                    addWords(given, value);
                    if (given.empty()) throw UsageError("--locale names no language.");
                    for (const std::string& locale : given) locales.push_back(localeGiven(locale));
                  },
                  {},
                  false});
}

void declareVersion(Command& command, std::string help, bool required, std::function<void(std::string version)> set) {
  command.argument({"version", std::move(help),
                    [set = std::move(set)](const std::string& value) { set(versionGiven(value)); }, required});
}

void addWords(std::vector<std::string>& target, const std::string& value) {
  for (const std::string& piece : Text::split(value, ',')) {
    if (std::string word = Text::trimmed(piece); !word.empty()) target.push_back(word);
  }
}

void Output::say(Console& console, const std::string& line) const {
  if (quiet()) {
    console.error(line);
  } else {
    console.line(line);
  }
}

void Output::emit(Console& console, const JSONData& object, const std::string& done) const {
  if (quiet()) {
    console.json(object.pretty());
  } else {
    console.line(done);
  }
}

void Output::emitBody(Console& console, const std::string& body, const std::string& done) const {
  if (quiet()) {
    console.json(Format::json(body, {}));
  } else {
    console.line(done);
  }
}

void GlobalOptions::declare(Command& command) { declareAnswerFormat(command, *this); }

void TableOptions::declare(Command& command) {
  command.option(
      {{"-o", "--output"},
       "format",
       jsonHelp + "; csv for a spreadsheet (> file.csv saves it); md for a Markdown table. For people when left out.",
       [this](const std::string& value) {
         std::string word = Text::lowercased(value);
         if (word == "markdown") word = "md";
         requireOneOf("--output", word, {"json", "csv", "md"});
         format = word == "json" ? TableFormat::json : word == "csv" ? TableFormat::csv : TableFormat::md;
       },
       {"json", "csv", "md"},
       false});
  command.flag({"--json"}, json, "The same as --output json.", true);
  command.validate = [this] {
    if (json && format) throw UsageError("--json is --output json: one or the other.");
  };
}

void TableOptions::write(Console& console, const std::string& body, const Table& table, const std::string& text) const {
  if (json || format == TableFormat::json) {
    console.json(Format::json(body, {}));
  } else if (format == TableFormat::csv) {
    console.out(Format::csv(table));
  } else if (format == TableFormat::md) {
    console.out(Format::markdown(table));
  } else {
    console.line(text);
  }
}

void AppTarget::declare(Command& command) {
  command.option({{"-a", "--app"},
                  "app",
                  "The app: its App Store ID, bundle ID or name. The repo's linked app when left out.",
                  [this](const std::string& value) {
                    app = Text::trimmed(value);
                    if (shown(*app) != *app || app->size() > longestName) {
                      throw UsageError("--app is an app's App Store ID, bundle ID or name, not " + shown(*app) + ".");
                    }
                  },
                  {},
                  false});
}

void ChangeOptions::declare(Command& command) {
  command.flag({"-y", "--yes"}, yes, yesHelp);
  command.flag({"--dry-run"}, dryRun, "Show what it would change, and change nothing.");
  command.flag({"--no-wait"}, noWait, "Don't wait for the approval in the kestu app: end when it's sent.");
  declareAnswerFormat(command, *this);
}

std::string ProposedChange::identity() const {
  return sameAs.empty() ? title + "\n" + changesData(items).compact() : sameAs;
}

void ChangeOptions::make(Context& context, const Client& client, const ChangeRequest& request,
                         const ProposedChange& change) const {
  if (!dryRun) confirm(context, change);
  send(context, client, request, change);
}

void ChangeOptions::confirm(Context& context, const ProposedChange& change) const {
  std::string text = change.title + (change.lines.empty() ? "" : "\n" + change.lines);
  std::string already;
  if (!change.lookedForSame) already = context.console.during([&] { return waitsAlready(context, change.identity()); });
  if (yes) {
    say(context.console, text);
    if (!already.empty()) context.console.error(already);
    return;
  }
  if (!already.empty()) text += "\n" + already;
  ChangeFlow::confirm({yes, change.waits}, text, context.console, context.stop);
}

void ChangeOptions::tellDryRun(Context& context, const ProposedChange& change, const std::string& body) const {
  if (!change.lines.empty()) say(context.console, change.lines);
  if (quiet()) {
    context.console.json(withChanges(body, change.items));
  } else {
    context.console.line(change.would);
  }
}

Response<ChangeAnswer> ChangeOptions::sent(Context& context, const Client& client, const ChangeRequest& request,
                                           const ProposedChange& change) const {
  auto answer = ChangeFlow::send(client, request, false, !noWait, [&](const Plan& plan) {
    rememberWaiting(context, change.identity(), plan);
    tellWaiting(context, *this, plan);
  });
  const auto& plan = answer.value.plan;
  if (plan && plan->waits()) rememberWaiting(context, change.identity(), *plan);
  return answer;
}

void ChangeOptions::send(Context& context, const Client& client, const ChangeRequest& request,
                         const ProposedChange& change) const {
  if (dryRun) return tellDryRun(context, change, ChangeFlow::send(client, request, true, false, nullptr).body);
  auto answer = sent(context, client, request, change);
  bool waiting = answer.value.plan && answer.value.plan->waits();
  std::string more = change.more && !waiting && !quiet() ? change.more(JSONValue::parse(answer.body)) : "";
  emitBody(context.console, answer.body,
           waiting ? "● Waiting for your approval in the kestu app." : change.done + more);
}

} // namespace kestu
