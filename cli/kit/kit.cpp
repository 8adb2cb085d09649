#include "cli/kit/kit.hpp"

#include "cli/families.hpp"
#include "cli/unchanged.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/console/text_style.hpp"
#include "core/project/platform.hpp"
#include "core/support/json_data.hpp"
#include "core/support/text.hpp"
#include "core/support/utf8.hpp"

#include <algorithm>
#include <cctype>

namespace kestu {

KitApp KitApp::resolve(const AppTarget& target, const std::optional<std::string>& platform, const Context& context) {
  Client client = context.signedIn();
  AppOnPlatform app = AppOnPlatform::resolve(client, target, platform, context);
  return {std::move(client), std::move(app)};
}

std::string KitApp::path(const std::vector<std::string>& segments) const {
  std::string path = app.path + "/kit";
  for (const std::string& segment : segments) path += "/" + percentEncoded(segment);
  return path;
}

std::string appWords(const AppTarget& target) {
  return target.app ? " --app " + Format::shellWord(printable(*target.app)) : "";
}

namespace {

/// Each item's field and "before → after", aligned and folded.
std::string itemsText(const std::vector<ChangeItem>& items, const Console& console) {
  std::size_t widest = 0;
  for (const ChangeItem& item : items) widest = std::max(widest, Text::columns(item.field));
  std::vector<std::string> lines;
  for (const ChangeItem& item : items) {
    std::string line = "  " + item.field + std::string(widest - Text::columns(item.field) + 2, ' ');
    auto word = [](const std::optional<std::string>& value) {
      return !value ? std::string("none") : value->empty() ? "\"\"" : printable(*value);
    };
    line += item.from ? console.style().dim(word(item.from)) + " → " + word(item.to) : word(item.to);
    lines.push_back(TextStyle::wrap(line, console.width(), static_cast<int>(widest) + 4));
  }
  return Text::joined(lines, "\n");
}

std::string capitalized(std::string text) {
  text.front() = static_cast<char>(std::toupper(static_cast<unsigned char>(text.front())));
  return text;
}

} // namespace

ProposedChange proposed(const KitChange& change, const Console& console) {
  ProposedChange result;
  result.title = capitalized(change.would) + "." + (change.more.empty() ? "" : " " + change.more);
  if (change.listed) result.lines = itemsText(change.items, console);
  result.items = change.items;
  result.would = "Dry run: would " + change.would + (change.waits ? ", after your approval." : ".");
  result.done = change.done;
  result.waits = change.waits;
  result.more = change.next;
  return result;
}

void make(Context& context, const ChangeOptions& options, const Client& client, const KitChange& change) {
  options.make(context, client, change.request, proposed(change, context.console));
}

void unchanged(Context& context, const ChangeOptions& options, const std::string& what) {
  tellUnchanged(context, options, "✓ " + what + " already: nothing sent.");
}

void requireUTF8(const std::string& name, const std::string& given) {
  if (!UTF8::isValid(given)) throw UsageError(name + " isn't UTF-8 text.");
}

void declareText(Command& command, const std::string& name, const std::string& value, const std::string& help,
                 std::function<void(std::string)> set) {
  command.option({{name},
                  value,
                  help,
                  [name, set = std::move(set)](const std::string& given) {
                    requireUTF8(name, given);
                    if (Text::trimmed(given).empty()) throw UsageError(name + " is empty.");
                    set(given);
                  },
                  {},
                  false});
}

void declareName(Command& command, const std::string& name, const std::string& help, std::string& target) {
  command.argument({name, help,
                    [name, &target](const std::string& given) {
                      if (Text::trimmed(given).empty()) throw UsageError("The " + name + " is empty.");
                      target = given;
                    },
                    true});
}

void declarePlatform(Command& command, const std::string& help, std::optional<std::string>& platform) {
  std::vector<std::string> words(platforms.begin(), platforms.end());
  command.option({{"--platform"},
                  "platform",
                  help,
                  [&platform, words](const std::string& given) {
                    requireOneOf("--platform", given, words);
                    platform = given;
                  },
                  words,
                  false});
}

void addKit(Command& command) {
  command.discussion = "What reaches users waits for your approval in the kestu app; a draft, and what is off, changes "
                       "at once.";
  addFlags(command);
  addExperiments(command);
  addUpdatePrompts(command);
  addWhatsNew(command);
  command.example("flags list", "The app's flags, and where the code reads each.");
  command.example("flags set new-radar --off", "Turns one off.");
}

} // namespace kestu
