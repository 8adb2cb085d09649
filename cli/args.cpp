#include "cli/args.hpp"

#include "cli/words.hpp"
#include "core/support/printable_ascii.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace kestu {

namespace {

void declare(const Command& command, CLI::App& app) {
  app.set_help_flag();
  app.set_help_all_flag();
  for (const Option& option : command.options) {
    std::string names;
    for (const std::string& name : option.names) names += (names.empty() ? "" : ",") + name;
    if (option.value.empty()) {
      app.add_flag_callback(names, [&option] { option.set(""); });
    } else {
      app.add_option_function<std::vector<std::string>>(names,
                                                        [&option](const std::vector<std::string>& values) {
                                                          for (const std::string& value : values) option.set(value);
                                                        })
          ->expected(1)
          ->allow_extra_args(false)
          ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    }
  }
}

bool asksForHelp(const std::vector<std::string>& arguments) {
  auto end = std::find(arguments.begin(), arguments.end(), "--");
  return std::any_of(arguments.begin(), end, [](const std::string& word) { return word == "--help" || word == "-h"; });
}

void takeArguments(const Command& command, const std::vector<std::string>& words) {
  std::size_t next = 0;
  for (const std::string& word : words) {
    if (next == command.arguments.size()) {
      misused(command, "Nothing is expected at " + shown(word) + "." + didYouMean(word, subcommandWords(command)));
    }
    command.arguments[next++].set(word);
  }
  for (; next < command.arguments.size(); ++next) {
    if (command.arguments[next].required)
      misused(command, "Missing <" + command.arguments[next].name + ">: " + command.arguments[next].help);
  }
}

std::string libraryMessage(const CLI::ParseError& error) {
  std::string text = shown(error.what());
  return text.ends_with('.') ? text : text + ".";
}

} // namespace

Parsed parse(const Command& root, const std::vector<std::string>& arguments) {
  if (asksForHelp(arguments)) return {&lookedUp(root, arguments), true};
  Words words = takeApart(root, arguments);
  const Command& command = *words.command;
  if (command.takesAnything) return {&command, false};
  CLI::App app;
  declare(command, app);
  try {
    app.parse(std::vector<std::string>(words.options.rbegin(), words.options.rend()));
    takeArguments(command, words.arguments);
    if (command.validate) command.validate();
  } catch (const UsageError& error) {
    if (std::string(error.what()).find("\n\nUsage: ") != std::string::npos) throw;
    misused(command, error.what());
  } catch (const CLI::ParseError& error) {
    misused(command, libraryMessage(error));
  }
  return {&command, !command.run};
}

} // namespace kestu
