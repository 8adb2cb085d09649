#include "cli/help.hpp"

#include <algorithm>
#include <iterator>

namespace kestu {

namespace {

std::string optionHead(const Option& option) {
  std::string head;
  for (const std::string& name : option.names) head += (head.empty() ? "" : ", ") + name;
  return option.value.empty() ? head : head + " <" + option.value + ">";
}

} // namespace

std::string usage(const Command& command) {
  std::string text = command.path;
  if (!command.subcommands.empty()) text += command.run ? " [<command>]" : " <command>";
  for (const Argument& argument : command.arguments) {
    text += argument.required ? " <" + argument.name + ">" : " [<" + argument.name + ">]";
  }
  bool options = std::any_of(command.options.begin(), command.options.end(), [](const Option& o) { return !o.hidden; });
  return options ? text + " [options]" : text;
}

Page page(const Command& command) {
  Page page;
  page.path = command.path;
  page.abstract = command.abstract;
  page.discussion = command.discussion;
  page.usage = usage(command);
  for (const Argument& argument : command.arguments)
    page.arguments.push_back({"<" + argument.name + ">", argument.help});
  for (const Command& sub : command.subcommands) page.commands.push_back({sub.word(), sub.abstract});
  for (const Option& option : command.options) {
    if (!option.hidden) page.options.push_back({optionHead(option), option.help});
  }
  page.options.push_back({"-h, --help", "Show this help."});
  page.runs = command.run != nullptr;
  return page;
}

std::vector<Page> allPages(const Command& command) {
  std::vector<Page> pages = {page(command)};
  for (const Command& sub : command.subcommands) {
    std::vector<Page> below = allPages(sub);
    std::move(below.begin(), below.end(), std::back_inserter(pages));
  }
  return pages;
}

std::string help(const Command& command, int width) { return laidOut(page(command), width); }

} // namespace kestu
