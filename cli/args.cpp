#include "cli/args.hpp"

#include "cli/help.hpp"
#include "core/support/printable_ascii.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iterator>
#include <memory>
#include <numeric>

namespace kestu {

namespace {

/// The distance of two words in insertions, deletions, replacements and swaps of neighbours (optimal string alignment).
std::size_t distance(const std::string& a, const std::string& b) {
  std::vector<std::vector<std::size_t>> d(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
  for (std::size_t i = 0; i <= a.size(); ++i) d[i][0] = i;
  std::iota(d[0].begin(), d[0].end(), 0U);
  for (std::size_t i = 1; i <= a.size(); ++i) {
    for (std::size_t j = 1; j <= b.size(); ++j) {
      std::size_t cost = a[i - 1] == b[j - 1] ? 0 : 1;
      d[i][j] = std::min({d[i - 1][j] + 1, d[i][j - 1] + 1, d[i - 1][j - 1] + cost});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
        d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 1);
    }
  }
  return d[a.size()][b.size()];
}

[[noreturn]] void wrong(const Command& command, const std::string& message) {
  throw UsageError(message + "\n\nUsage: " + usage(command) + "\nSee " + command.path + " --help.");
}

/// One level of the tree as the library knows it, and what it declares.
struct Level {
  const Command* command;
  CLI::App* app;
};

void declare(const Command& command, CLI::App& app, std::vector<Level>& levels) {
  levels.push_back({&command, &app});
  app.set_help_flag();
  app.set_help_all_flag();
  app.allow_extras();
  app.positionals_at_end(false);
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
          ->allow_extra_args(false) // the word after the value is an argument
          ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    }
  }
  for (const Command& sub : command.subcommands) declare(sub, *app.add_subcommand(sub.word()), levels);
}

bool asksForHelp(const std::vector<std::string>& arguments) {
  auto end = std::find(arguments.begin(), arguments.end(), "--");
  return std::any_of(arguments.begin(), end, [](const std::string& word) { return word == "--help" || word == "-h"; });
}

std::vector<std::string> subcommandWords(const Command& command) {
  std::vector<std::string> words;
  for (const Command& sub : command.subcommands) words.push_back(sub.word());
  return words;
}

std::vector<std::string> optionNames(const Command& command) {
  std::vector<std::string> names;
  for (const Option& option : command.options) {
    if (!option.hidden) names.insert(names.end(), option.names.begin(), option.names.end());
  }
  names.push_back("--help");
  return names;
}

/// The command whose help is asked for: as far down as the words lead.
const Command& lookedUp(const Command& root, const std::vector<std::string>& arguments) {
  const Command* at = &root;
  for (const std::string& word : arguments) {
    if (word.starts_with('-')) continue;
    auto sub = std::find_if(at->subcommands.begin(), at->subcommands.end(),
                            [&](const Command& c) { return c.word() == word; });
    if (sub == at->subcommands.end()) {
      if (at->subcommands.empty() || at->run) break;
      wrong(*at, at->path + " has no command " + shown(word) + "." + didYouMean(word, subcommandWords(*at)));
    }
    at = &*sub;
  }
  return *at;
}

/// `words` are all that is left once the options are taken, `plain` those that follow a "--".
void takeArguments(const Command& command, std::vector<std::string> words, const std::vector<std::string>& plain) {
  if (command.takesAnything) return;
  auto option =
      std::find_if(words.begin(), words.end(), [](const auto& word) { return word.size() > 1 && word.front() == '-'; });
  if (option != words.end()) {
    wrong(command, "There's no option " + shown(*option) + " here." +
                       didYouMean(option->substr(0, option->find('=')), optionNames(command)));
  }
  words.insert(words.end(), plain.begin(), plain.end());
  std::size_t next = 0;
  for (const std::string& word : words) {
    if (next < command.arguments.size()) {
      command.arguments[next++].set(word);
    } else if (!command.run) {
      wrong(command,
            command.path + " has no command " + shown(word) + "." + didYouMean(word, subcommandWords(command)));
    } else {
      wrong(command, "Nothing is expected at " + shown(word) + "." + didYouMean(word, subcommandWords(command)));
    }
  }
  for (; next < command.arguments.size(); ++next) {
    if (command.arguments[next].required)
      wrong(command, "Missing <" + command.arguments[next].name + ">: " + command.arguments[next].help);
  }
}

std::string libraryMessage(const CLI::ParseError& error) {
  std::string text = shown(error.what());
  if (dynamic_cast<const CLI::ArgumentMismatch*>(&error)) return text.substr(0, text.find(':')) + " needs a value.";
  return text.ends_with('.') ? text : text + ".";
}

} // namespace

std::string didYouMean(const std::string& typed, const std::vector<std::string>& words) {
  const std::string* nearest = nullptr;
  std::size_t least = std::max<std::size_t>(1, typed.size() / 3) + 1;
  if (typed.size() > 64) return "";
  for (const std::string& word : words) {
    std::size_t far = word.starts_with(typed) && typed.size() > 1 ? 1 : distance(typed, word);
    if (far < least) {
      least = far;
      nearest = &word;
    }
  }
  return nearest ? " Did you mean " + *nearest + "?" : "";
}

Parsed parse(const Command& root, const std::vector<std::string>& arguments) {
  if (asksForHelp(arguments)) return {&lookedUp(root, arguments), true};
  CLI::App app;
  std::vector<Level> levels;
  declare(root, app, levels);
  const Command* chosen = &root;
  std::string misused;
  // The library is kept from what follows "--", which it would take for options all the same.
  auto end = std::find(arguments.begin(), arguments.end(), "--");
  std::vector<std::string> plain(end == arguments.end() ? end : end + 1, arguments.end());
  try {
    app.parse(std::vector<std::string>(std::make_reverse_iterator(end), arguments.rend()));
  } catch (const UsageError& error) {
    misused = error.what();
  } catch (const CLI::ParseError& error) {
    misused = libraryMessage(error);
  }
  CLI::App* leaf = &app;
  for (bool deeper = true; deeper;) {
    deeper = false;
    for (const Level& level : levels) {
      if (level.app->get_parent() == leaf && level.app->parsed()) {
        leaf = level.app;
        chosen = level.command;
        deeper = true;
        break;
      }
    }
  }
  if (!misused.empty()) wrong(*chosen, misused);
  try {
    takeArguments(*chosen, app.remaining(true), plain);
    if (chosen->validate) chosen->validate();
  } catch (const UsageError& error) {
    if (std::string(error.what()).find("\n\nUsage: ") != std::string::npos) throw;
    wrong(*chosen, error.what());
  }
  return {chosen, !chosen->run};
}

} // namespace kestu
