#include "cli/args.hpp"

#include "cli/words.hpp"
#include "core/support/error.hpp"
#include "core/support/printable_ascii.hpp"
#include "core/support/text.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <exception>
#include <functional>
#include <string>
#include <vector>

namespace kestu {

namespace {

/// Values as they come, and what is wrong with them: all of it is told at once.
class Given {
 public:
  void take(const std::function<void(const std::string&)>& set, const std::string& value) {
    try {
      set(value);
    } catch (const UsageError& error) {
      add(error.what());
    } catch (const CLIError& error) {
      if (error.kind != CLIError::Kind::usage) throw;
      add(error.description);
    }
  }
  void add(const std::string& fault) {
    if (wrong_.empty()) first_ = std::current_exception();
    if (std::find(wrong_.begin(), wrong_.end(), fault) == wrong_.end()) wrong_.push_back(fault);
  }
  void settle(const Command& command) const {
    if (wrong_.size() == 1 && first_) std::rethrow_exception(first_);
    if (!wrong_.empty()) misused(command, Text::joined(wrong_, "\n"));
  }

 private:
  std::vector<std::string> wrong_;
  std::exception_ptr first_;
};

void declare(const Command& command, CLI::App& app, Given& given) {
  app.set_help_flag();
  app.set_help_all_flag();
  for (const Option& option : command.options) {
    std::string names;
    for (const std::string& name : option.names) names += (names.empty() ? "" : ",") + name;
    if (option.value.empty()) {
      app.add_flag_callback(names, [&option, &given] { given.take(option.set, ""); });
    } else {
      app.add_option_function<std::vector<std::string>>(names,
                                                        [&option, &given](const std::vector<std::string>& values) {
                                                          for (const std::string& value : values) {
                                                            given.take(option.set, value);
                                                          }
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

void takeArguments(const Command& command, const std::vector<std::string>& words, Given& given) {
  std::size_t next = 0;
  for (const std::string& word : words) {
    if (next == command.arguments.size()) {
      given.add("Nothing is expected at " + shown(word) + "." + didYouMean(word, subcommandWords(command)));
      break;
    }
    given.take(command.arguments[next++].set, word);
  }
  for (; next < command.arguments.size(); ++next) {
    const Argument& argument = command.arguments[next];
    if (argument.required) given.add("Missing <" + argument.name + ">: " + argument.help);
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
  Given given;
  declare(command, app, given);
  try {
    app.parse(std::vector<std::string>(words.options.rbegin(), words.options.rend()));
    takeArguments(command, words.arguments, given);
    given.settle(command);
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
