#include "cli/help.hpp"

#include <algorithm>
#include <sstream>
#include <utility>

namespace kestu {

namespace {

using Entry = std::pair<std::string, std::string>;

/// Fills lines word by word; what is declared in a help is ASCII but for a few quotation marks and dashes.
std::string filled(const std::string& text, std::size_t indent, std::size_t width) {
  std::istringstream lines(text);
  std::string result;
  for (std::string line; std::getline(lines, line);) {
    if (!result.empty() || line.empty()) result += "\n";
    std::istringstream words(line);
    std::size_t column = 0;
    for (std::string word; words >> word;) {
      if (column > 0 && indent + column + 1 + word.size() > width) {
        result += "\n";
        column = 0;
      }
      result += column == 0 ? std::string(result.empty() || result.back() == '\n' ? indent : 0, ' ') : " ";
      result += word;
      column += word.size() + (column > 0 ? 1 : 0);
    }
  }
  return result;
}

std::string section(const std::string& title, const std::vector<Entry>& entries, std::size_t width) {
  if (entries.empty()) return "";
  std::size_t longest = 0;
  for (const Entry& entry : entries) longest = std::max(longest, entry.first.size());
  std::size_t column = std::min<std::size_t>(longest, 24) + 4;
  std::string text = "\n" + title + "\n";
  for (const Entry& entry : entries) {
    std::string body = filled(entry.second, column, width);
    std::string head = "  " + entry.first;
    bool fits = head.size() + 2 <= column;
    text += head + (fits ? body.substr(std::min(head.size(), body.size())) : "\n" + body) + "\n";
  }
  return text;
}

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

std::string help(const Command& command, int width) {
  auto columns = static_cast<std::size_t>(std::clamp(width, 40, 100));
  std::string text = filled(command.abstract, 0, columns) + "\n";
  if (!command.discussion.empty()) text += "\n" + filled(command.discussion, 0, columns) + "\n";
  text += "\nUsage: " + usage(command) + "\n";
  std::vector<Entry> entries;
  for (const Argument& argument : command.arguments) entries.emplace_back("<" + argument.name + ">", argument.help);
  text += section("Arguments", entries, columns);
  entries.clear();
  for (const Command& sub : command.subcommands) entries.emplace_back(sub.word(), sub.abstract);
  text += section("Commands", entries, columns);
  entries.clear();
  for (const Option& option : command.options) {
    if (!option.hidden) entries.emplace_back(optionHead(option), option.help);
  }
  entries.emplace_back("-h, --help", "Show this help.");
  text += section("Options", entries, columns);
  if (!command.subcommands.empty())
    text +=
        "\n" + filled("kestu help" + command.path.substr(5) + " <command> tells more about one.", 0, columns) + "\n";
  return text;
}

} // namespace kestu
