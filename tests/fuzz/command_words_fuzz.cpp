#include "cli/help.hpp"
#include "cli/words.hpp"
#include "core/support/text.hpp"
#include "tests/fuzz/targets.hpp"

#include <algorithm>

namespace kestu::fuzz {

namespace {

Command tree() {
  Command root("kestu", "Ships apps");
  bool unused = false;
  auto ignore = [](const std::string&) {};
  Command& assets = root.add("assets", "Screenshots");
  Command& push = assets.add("push", "Sends them");
  push.argument({"version", "Which", ignore});
  push.flag({"-y", "--yes"}, unused, "Doesn't ask");
  push.option({{"-a", "--app"}, "app", "Which app", ignore, {}});
  push.option({{"-o", "--output"}, "form", "As what", ignore, {"table", "json"}});
  push.run = [](Context&) {};
  assets.add("pull", "Fetches them").run = [](Context&) {};
  root.add("status", "At a glance").run = [](Context&) {};
  root.addNotBuilt("reviews", "What people write");
  return root;
}

const Option* optionOf(const Command& command, const std::string& name) {
  for (const Option& option : command.options) {
    if (std::find(option.names.begin(), option.names.end(), name) != option.names.end()) return &option;
  }
  return nullptr;
}

/// One word: an option of the command with a value where it takes one.
void requireWhole(const Command& command, const std::string& word) {
  std::string name = word.substr(0, word.find('='));
  const Option* option = optionOf(command, name);
  require(option != nullptr, "an option is the command's: " + word);
  bool hasValue = word.size() > name.size() + 1;
  require(hasValue == !option->value.empty(), "an option has a value where it takes one: " + word);
}

} // namespace

/// Whatever is typed, each word goes to a command, an option or an argument, or is refused in words that can be shown.
void commandWords(std::string_view bytes) {
  static const Command root = tree();
  std::vector<std::string> typed = Text::split(bytes, '\n');
  for (std::string& word : typed) std::erase(word, '\0');
  try {
    Words words = takeApart(root, typed);
    require(words.command != nullptr, "there is a command");
    for (const std::string& option : words.options) requireWhole(*words.command, option);
    auto isTyped = [&](const std::string& word) { return std::find(typed.begin(), typed.end(), word) != typed.end(); };
    require(std::all_of(words.arguments.begin(), words.arguments.end(), isTyped), "arguments are as they were typed");
    require(words.arguments.size() + words.options.size() <= 2 * bytes.size() + 1, "nothing is made up");
    if (words.arguments.empty() && words.options.empty()) return;
    // The same in one plain form: the command, its options joined, then what isn't one.
    std::vector<std::string> plain = Text::words(words.command->path.substr(root.path.size()));
    plain.insert(plain.end(), words.options.begin(), words.options.end());
    if (words.command->takesAnything) return;
    plain.emplace_back("--");
    plain.insert(plain.end(), words.arguments.begin(), words.arguments.end());
    Words again = takeApart(root, plain);
    require(again.command == words.command && again.options == words.options, "the plain form means the same");
    require(again.arguments == words.arguments, "the plain form has the same arguments");
  } catch (const UsageError& error) {
    std::string message = error.what();
    require(message.find("\n\nUsage: kestu") != std::string::npos, "a refusal shows the usage");
    require(std::none_of(message.begin(), message.end(), [](char c) { return c == '\x1B' || c == '\r'; }),
            "no control characters are left");
  }
  try {
    require(!help(lookedUp(root, typed), 80).empty(), "a command has its help");
  } catch (const UsageError&) {
    return;
  }
}

} // namespace kestu::fuzz
