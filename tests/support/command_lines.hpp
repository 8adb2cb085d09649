#pragma once

#include "cli/command.hpp"

#include <algorithm>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

/// Command lines as a test's table has them, and the commands that they are of.
namespace kestu::tests {

/// The words of a line; 'several words' and "several words" are one.
inline std::vector<std::string> wordsOf(const std::string& line) {
  std::vector<std::string> words;
  char quote = 0;
  bool inWord = false;
  for (char c : line) {
    if (quote == 0 && c == ' ') {
      inWord = false;
      continue;
    }
    if (!inWord) words.emplace_back();
    inWord = true;
    if (c == quote) {
      quote = 0;
    } else if (quote == 0 && (c == '\'' || c == '"')) {
      quote = c;
    } else {
      words.back() += c;
    }
  }
  return words;
}

/// What a command is run with: word by word, or a line.
struct CommandWords : std::vector<std::string> {
  CommandWords(std::initializer_list<std::string> words) : vector(words) {}
  CommandWords(std::vector<std::string> words) : vector(std::move(words)) {}
  CommandWords(const std::string& line) : vector(wordsOf(line)) {}
  CommandWords(const char* line) : vector(wordsOf(line)) {}
};

/// The option of the name; null where the command has none.
inline const Option* optionOf(const Command& command, const std::string& name) {
  auto found = std::find_if(command.options.begin(), command.options.end(), [&](const Option& option) {
    return std::find(option.names.begin(), option.names.end(), name) != option.names.end();
  });
  return found == command.options.end() ? nullptr : &*found;
}

/// Whether it runs and its answer can be had in the format.
inline bool gives(const Command& command, const std::string& format) {
  const Option* output = optionOf(command, "--output");
  return command.run && output &&
         std::find(output->choices.begin(), output->choices.end(), format) != output->choices.end();
}

inline const Command& commandOf(const Command& root, const std::vector<std::string>& words) {
  const Command* at = &root;
  for (const std::string& word : words) {
    auto next = std::find_if(at->subcommands.begin(), at->subcommands.end(),
                             [&](const Command& each) { return each.word() == word; });
    if (next == at->subcommands.end()) break;
    at = &*next;
  }
  return *at;
}

/// Calls with each command of the tree that gives the format.
template <class Take>
void eachGiving(const Command& command, const std::string& format, const Take& take) {
  if (gives(command, format)) take(command);
  for (const Command& each : command.subcommands) eachGiving(each, format, take);
}

} // namespace kestu::tests
