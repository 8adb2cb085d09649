#include "cli/command.hpp"

#include "core/support/error.hpp"

namespace kestu {

Command& Command::add(const std::string& word, std::string abstractOfIt) {
  return subcommands.emplace_back(path + " " + word, std::move(abstractOfIt));
}

void Command::flag(std::vector<std::string> names, bool& target, std::string help, bool hidden) {
  options.push_back(
      {std::move(names), "", std::move(help), [&target](const std::string&) { target = true; }, {}, hidden});
}

void Command::example(const std::string& rest, std::string text) {
  examples.push_back({rest.empty() ? path : path + " " + rest, std::move(text)});
}

std::string Command::word() const { return path.substr(path.rfind(' ') + 1); }

Command& Command::addNotBuilt(const std::string& word, std::string abstractOfIt) {
  Command& command = add(word, std::move(abstractOfIt));
  command.notBuilt();
  return command;
}

void Command::notBuilt() {
  takesAnything = true;
  discussion = "This command isn't in this version of kestu yet.";
  run = [itsPath = path](Context&) {
    throw CLIError(CLIError::Kind::failed, itsPath + " isn't in this version of kestu yet.");
  };
}

} // namespace kestu
