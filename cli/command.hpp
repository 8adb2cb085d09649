#pragma once

#include <functional>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kestu {

struct Context;

/// An option as it is declared. `set` is called with each value given (empty for a flag) and throws a UsageError for a
/// value that it does not take.
struct Option {
  std::vector<std::string> names; ///< "-a", "--app"
  std::string value;              ///< the value's name in the help; empty for a flag
  std::string help;
  std::function<void(const std::string&)> set;
  std::vector<std::string> choices; ///< for completion; empty when free
  bool hidden = false;
  bool mayBeEmpty = false; ///< takes an empty value too
};

struct Argument {
  std::string name;
  std::string help;
  std::function<void(const std::string&)> set;
  bool required = true;
  std::vector<std::string> choices = {};
};

/// A line that can be run as it stands, and what it is for.
struct Example {
  std::string line; ///< "kestu assets push 1.2 --dry-run"
  std::string text;
};

/// A command as it is declared: what help, parsing and completion are made from.
class Command {
 public:
  Command(std::string itsPath, std::string itsAbstract) : path(std::move(itsPath)), abstract(std::move(itsAbstract)) {}

  /// A subcommand, its word after this command's path.
  Command& add(const std::string& word, std::string abstractOfIt);

  /// A subcommand that this version doesn't have.
  Command& addNotBuilt(const std::string& word, std::string abstractOfIt);

  /// In the tree, but not in this version: takes anything, says so and fails before anything is sent.
  void notBuilt();

  void flag(std::vector<std::string> names, bool& target, std::string help, bool hidden = false);
  void option(Option option) { options.push_back(std::move(option)); }
  void argument(Argument argument) { arguments.push_back(std::move(argument)); }

  /// What `validate` or the run refuses to go without: an option, or one of several ("--file", "<text>").
  void needs(std::vector<std::string> names) { needed.push_back(std::move(names)); }

  /// An example of this command, its line what follows the path.
  void example(const std::string& rest, std::string text);

  std::string word() const;

  std::string path; ///< "kestu assets push"
  std::string abstract;
  std::string discussion;
  std::vector<Option> options;
  std::vector<Argument> arguments;
  std::vector<std::vector<std::string>> needed; ///< each by its names, one of which is given
  std::vector<Example> examples;
  std::list<Command> subcommands;
  std::function<void(Context&)> run; ///< none for a group
  std::function<void()> validate;    ///< of several options together; throws a UsageError
  bool takesAnything = false;        ///< what follows is not looked at
};

/// What was typed is not what the command takes; shown with the command's usage, status 2.
class UsageError : public std::exception {
 public:
  explicit UsageError(std::string message) : message_(std::move(message)) {}
  const char* what() const noexcept override { return message_.c_str(); }

 private:
  std::string message_;
};

/// What was asked is answered and written, and the answer is no: status 1 without another word.
class NotPassed : public std::exception {
 public:
  const char* what() const noexcept override { return "not passed"; }
};

} // namespace kestu
