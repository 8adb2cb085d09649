#include "cli/words.hpp"

#include "cli/completion.hpp"
#include "cli/help.hpp"
#include "cli/topics.hpp"
#include "core/console/format.hpp"
#include "core/support/printable_ascii.hpp"

#include <algorithm>
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

/// A lone dash is a value or an argument: standard input.
bool isOption(const std::string& word) { return word.size() > 1 && word.front() == '-'; }

bool isBlank(const std::string& text) { return text.find_first_not_of(" \t\r\n") == std::string::npos; }

std::vector<std::string> optionNames(const Command& command) {
  std::vector<std::string> names;
  for (const Option& option : command.options) {
    names.insert(names.end(), option.names.begin(), option.names.end());
  }
  names.push_back("--help");
  if (command.path == "kestu") names.insert(names.end(), {"--version", std::string(scriptOption)});
  return names;
}

const Command* subcommand(const Command& command, const std::string& word) {
  for (const Command& sub : command.subcommands) {
    if (names(word, sub.word())) return &sub;
  }
  return nullptr;
}

const Option* optionCalled(const Command& command, const std::string& name) {
  for (const Option& option : command.options) {
    if (std::find(option.names.begin(), option.names.end(), name) != option.names.end()) return &option;
  }
  return nullptr;
}

/// "--app" of "--app=x", "-o" of "-ojson"
std::string nameOf(const std::string& word) {
  return word.starts_with("--") ? word.substr(0, word.find('=')) : word.substr(0, 2);
}

[[noreturn]] void noCommand(const Command& command, const std::string& word, const std::vector<std::string>& known) {
  const std::string named = isBlank(word) ? '"' + shown(word) + '"' : shown(word);
  misused(command, command.path + " has no command " + named + "." + didYouMean(word, known));
}

[[noreturn]] void noCommand(const Command& command, const std::string& word) {
  noCommand(command, word, subcommandWords(command));
}

/// One letter is near every other, so there only a long option with a dash too few is likely (-json).
std::string nearOption(const Command& command, const std::string& word) {
  if (word.starts_with("--")) return didYouMean(nameOf(word), optionNames(command));
  const std::string doubled = nameOf("-" + word);
  return doubled.size() > 3 && optionCalled(command, doubled) ? " Did you mean " + doubled + "?" : "";
}

/// One walk over the words.
class Walk {
 public:
  Walk(const Command& root, const std::vector<std::string>& typed) : root_(root), typed_(typed), words_{&root} {}

  Words taken() {
    for (; next_ < typed_.size(); ++next_) {
      const Command& command = *words_.command;
      const std::string& word = typed_[next_];
      if (command.takesAnything) break;
      if (word == "--") {
        afterDashes();
        break;
      }
      if (isOption(word)) {
        takeOption();
      } else if (const Command* sub = words_.arguments.empty() ? subcommand(command, word) : nullptr) {
        if (!words_.options.empty()) misplaced(lastOption_);
        words_.command = sub;
      } else if (command.run) {
        words_.arguments.push_back(word);
      } else {
        noCommand(command, word);
      }
    }
    return std::move(words_);
  }

 private:
  /// What follows is arguments, whatever it begins with.
  void afterDashes() {
    const Command& command = *words_.command;
    if (!command.run && next_ + 1 < typed_.size()) {
      const std::string& word = typed_[next_ + 1];
      if (!subcommand(command, word)) noCommand(command, word);
      misused(command, "-- has no place before a command: " + command.path + " " + shown(word) + ".");
    }
    words_.arguments.insert(words_.arguments.end(), typed_.begin() + static_cast<std::ptrdiff_t>(next_) + 1,
                            typed_.end());
  }

  void takeOption() {
    const std::string& word = typed_[next_];
    lastOption_ = word;
    if (word.starts_with("--")) return takeLong(word);
    for (std::size_t at = 1; at < word.size(); ++at) {
      const std::string name = {'-', word[at]};
      const Option& option = found(name, at == 1 ? word : name);
      if (!option.value.empty()) {
        std::size_t from = at + 1 < word.size() && word[at + 1] == '=' ? at + 2 : at + 1; // -o=json as -ojson
        return takeValue(option, name, word.substr(from), at + 1 < word.size());
      }
      words_.options.push_back(option.names.back());
    }
  }

  void takeLong(const std::string& word) {
    std::size_t equals = word.find('=');
    bool joined = equals != std::string::npos;
    const std::string name = word.substr(0, equals);
    const Option& option = found(name, word);
    if (!option.value.empty()) return takeValue(option, name, joined ? word.substr(equals + 1) : "", joined);
    if (joined) misused(*words_.command, name + " takes no value.");
    words_.options.push_back(name);
  }

  const Option& found(const std::string& name, const std::string& word) {
    if (const Option* option = optionCalled(*words_.command, name)) return *option;
    if (!words_.command->run) misplaced(word);
    misused(*words_.command, "There's no option " + shown(word) + " here." + nearOption(*words_.command, word));
  }

  void takeValue(const Option& option, const std::string& name, const std::string& joinedValue, bool joined) {
    const std::string* value = &joinedValue;
    if (!joined && next_ + 1 < typed_.size()) value = &typed_[next_ + 1];
    bool given = joined || next_ + 1 < typed_.size();
    if (isBlank(*value) && !(given && option.mayBeEmpty)) misused(*words_.command, name + " needs a value.");
    if (!joined && isOption(*value)) {
      bool known = *value == "--" || optionCalled(*words_.command, nameOf(*value));
      const std::string hint = " One that begins with a dash is joined: " + name + "=" + shown(*value) + ".";
      misused(*words_.command, name + " needs a value." + (known || !name.starts_with("--") ? "" : hint));
    }
    if (value->empty()) {
      words_.options.insert(words_.options.end(), {option.names.back(), ""});
    } else {
      words_.options.push_back(option.names.back() + "=" + *value);
    }
    if (!joined) ++next_;
  }

  /// For an option before the command that it is of, which is looked for among all the words.
  [[noreturn]] void misplaced(const std::string& word) {
    const Command* command = &root_;
    std::vector<bool> leads(typed_.size()); // to the command
    std::size_t end = 0;                    // behind the last of those
    std::string first;                      // that leads nowhere
    for (std::size_t at = 0; at < typed_.size() && typed_[at] != "--"; ++at) {
      if (isOption(typed_[at])) continue;
      if (const Command* sub = subcommand(*command, typed_[at])) {
        command = sub;
        leads[at] = true;
        end = at + 1;
      } else if (first.empty() && at > next_) {
        first = typed_[at];
      }
    }
    bool group = command == words_.command;
    if (group && !first.empty() && !didYouMean(first, subcommandWords(*command)).empty()) noCommand(*command, first);
    if (!group && optionCalled(*command, nameOf(word))) {
      misused(*command, shown(nameOf(word)) + " goes after the command: " + rearranged(*command, leads, end));
    }
    misused(*command, "There's no option " + shown(word) + " here." + nearOption(*command, word));
  }

  /// The words as they would be taken: what stood before the end of the command behind its arguments.
  std::string rearranged(const Command& command, const std::vector<bool>& leads, std::size_t end) const {
    std::string before, after, last;
    for (std::size_t at = 0; at < typed_.size(); ++at) {
      const std::string& word = typed_[at];
      if (word == "--" || !last.empty()) {
        last += " " + asTyped(word);
      } else if (!leads[at]) {
        (at < end ? before : after) += " " + asTyped(word);
        const Option* option = isOption(word) && nameOf(word) == word ? optionCalled(command, word) : nullptr;
        bool lacks = option && !option->value.empty() && at + 1 < end && leads[at + 1];
        if (lacks) before += " <" + option->value + ">";
      }
    }
    return command.path + after + before + last;
  }

  /// As a shell takes it.
  static std::string asTyped(const std::string& word) {
    std::size_t equals = word.starts_with("--") ? word.find('=') : std::string::npos;
    if (word == "--" || equals == std::string::npos) return Format::shellWord(shown(word));
    return Format::shellWord(shown(word.substr(0, equals))) + "=" + Format::shellWord(shown(word.substr(equals + 1)));
  }

  const Command& root_;
  const std::vector<std::string>& typed_;
  Words words_;
  std::size_t next_ = 0;
  std::string lastOption_;
};

} // namespace

void misused(const Command& command, const std::string& message) {
  throw UsageError(message + "\n\nUsage: " + usage(command) + "\nSee " + command.path + " --help.");
}

std::vector<std::string> subcommandWords(const Command& command) {
  std::vector<std::string> words;
  for (const Command& sub : command.subcommands) words.push_back(sub.word());
  return words;
}

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

bool names(const std::string& word, const std::string& command) { return word == command || word == command + "."; }

const Command& lookedUp(const Command& root, const std::vector<std::string>& typed) {
  const Command* at = &root;
  for (const std::string& word : typed) {
    if (word.starts_with('-')) continue;
    const Command* sub = subcommand(*at, word);
    if (!sub) {
      if (at->subcommands.empty() || at->run) break;
      std::vector<std::string> known = subcommandWords(*at);
      for (const Page& topic : topics()) {
        if (at == &root) known.push_back(topicWord(topic));
      }
      noCommand(*at, word, known);
    }
    at = sub;
  }
  return *at;
}

Words takeApart(const Command& root, const std::vector<std::string>& typed) { return Walk(root, typed).taken(); }

} // namespace kestu
