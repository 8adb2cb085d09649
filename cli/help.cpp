#include "cli/help.hpp"

#include "cli/topics.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <iterator>

namespace kestu {

namespace {

using Names = std::vector<std::string>;

std::string optionHead(const Option& option) {
  std::string head = Text::joined(option.names, ", ");
  return option.value.empty() ? head : head + " <" + option.value + ">";
}

/// "--file <file>" of "--file"; an argument's "<text>" as it is.
std::string usageOf(const Command& command, const std::string& name) {
  for (const Option& option : command.options) {
    if (!option.value.empty() && option.names.back() == name) return name + " <" + option.value + ">";
  }
  return name;
}

/// What a needed name stands in for: alone, or with the others.
const Names* neededWith(const Command& command, const std::string& name) {
  auto found = std::find_if(command.needed.begin(), command.needed.end(), [&](const Names& names) {
    return std::find(names.begin(), names.end(), name) != names.end();
  });
  return found == command.needed.end() ? nullptr : &*found;
}

/// What an option or an argument means, and where it is needed that it is.
std::string meaning(const Command& command, const std::string& name, const std::string& help) {
  const Names* needed = neededWith(command, name);
  if (!needed) return help;
  Names others = *needed;
  std::erase(others, name);
  return help + (others.empty() ? " Required." : " Required, or " + Text::orList(others) + ".");
}

std::vector<Page::Section> sectionsOf(const Command& command) {
  Page::Section arguments{"Arguments", {}}, commands{"Commands", {}}, options{"Options", {}}, topicList{"Topics", {}};
  Page::Section examples{"Examples", {}, true};
  for (const Argument& argument : command.arguments) {
    const std::string head = "<" + argument.name + ">";
    arguments.entries.push_back({head, meaning(command, head, argument.help)});
  }
  for (const Command& sub : command.subcommands) commands.entries.push_back({sub.word(), sub.abstract});
  if (command.path == "kestu") {
    for (const Page& topic : topics()) topicList.entries.push_back({"help " + topicWord(topic), topic.abstract});
  }
  for (const Option& option : command.options) {
    if (!option.hidden)
      options.entries.push_back({optionHead(option), meaning(command, option.names.back(), option.help)});
  }
  options.entries.push_back({"-h, --help", "Show this help."});
  for (const Example& example : command.examples) examples.entries.push_back({example.line, example.text});
  std::vector<Page::Section> sections = {arguments, commands, topicList, options, examples};
  std::erase_if(sections, [](const Page::Section& section) { return section.entries.empty(); });
  return sections;
}

} // namespace

std::string usage(const Command& command) {
  std::string text = command.path;
  if (!command.subcommands.empty()) text += command.run ? " [<command>]" : " <command>";
  for (const Argument& argument : command.arguments) {
    const std::string head = "<" + argument.name + ">";
    if (!neededWith(command, head)) text += argument.required ? " " + head : " [" + head + "]";
  }
  for (const Names& names : command.needed) {
    Names heads;
    for (const std::string& name : names) heads.push_back(usageOf(command, name));
    text += heads.size() == 1 ? " " + heads[0] : " (" + Text::joined(heads, " | ") + ")";
  }
  bool options = std::any_of(command.options.begin(), command.options.end(), [&](const Option& option) {
    return !option.hidden && !neededWith(command, option.names.back());
  });
  return options ? text + " [options]" : text;
}

Page page(const Command& command) {
  Page page;
  page.path = command.path;
  page.abstract = command.abstract;
  page.discussion = command.discussion;
  page.usage = usage(command);
  page.sections = sectionsOf(command);
  if (!command.subcommands.empty())
    page.closing = "kestu help" + command.path.substr(5) + " <command> tells more about one.";
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
