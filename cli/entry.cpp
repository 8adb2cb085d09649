#include "cli/entry.hpp"

#include "cli/args.hpp"
#include "cli/arguments.hpp"
#include "cli/command_rows.hpp"
#include "cli/command_tree.hpp"
#include "cli/completion.hpp"
#include "cli/completion_values.hpp"
#include "cli/help.hpp"
#include "cli/topics.hpp"
#include "cli/words.hpp"
#include "core/console/printable.hpp"
#include "core/overview/update_notice.hpp"
#include "core/platform/state_folder.hpp"
#include "core/support/printable_ascii.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <iterator>
#include <system_error>
#include <utility>

namespace kestu {

namespace {

constexpr int usageStatus = static_cast<int>(CLIError::Kind::usage);
constexpr int failedStatus = static_cast<int>(CLIError::Kind::failed);

/// The top-level command: the first word that is no option, or behind a misplaced option the first that is a command.
std::string commandWord(const std::vector<std::string>& arguments) {
  std::string first;
  for (const std::string& word : arguments) {
    if (word.starts_with('-')) continue;
    bool known = std::any_of(commandRows().begin(), commandRows().end(),
                             [&](const CommandRow& row) { return names(word, std::string(row.word)); });
    if (known || !arguments.front().starts_with('-')) return word;
    if (first.empty()) first = word;
  }
  return first;
}

std::string nothingExpected(const std::string& word) { return "Nothing is expected at " + shown(word) + "."; }

void generateCompletion(Context& context, std::vector<std::string> words) {
  if (std::size_t equals = words[0].find('='); equals != std::string::npos) {
    words.insert(words.begin() + 1, words[0].substr(equals + 1));
  }
  auto script = completionScript(words.size() > 1 ? words[1] : "");
  if (!script) {
    throw UsageError("--generate-completion-script takes one of " + Text::joined(completionShells(), ", ") + ".");
  }
  if (words.size() > 2) throw UsageError(nothingExpected(words[2]));
  context.console.out(*script);
}

/// What the last word may become, for the shells' functions. Whatever goes wrong, nothing is said: a person is typing.
void complete(Context& context, std::vector<std::string> words) {
  words.erase(words.begin(), words.begin() + std::min<std::ptrdiff_t>(2, std::ssize(words)));
  if (!words.empty()) { // the last one isn't whole yet
    std::string last = std::move(words.back());
    words.pop_back();
    words = rewritten(std::move(words)).arguments;
    words.push_back(std::move(last));
  }
  try {
    auto values = completionValues(context, words);
    std::string word = words.empty() ? "" : words.back();
    bool helpAsked = !words.empty() && words.front() == "help";
    Command root = rootCommand(commandWord({words.begin() + (helpAsked ? 1 : 0), words.end()}));
    Completions found = completions(root, std::move(words), values);
    context.console.out(completionLines(found, word));
  } catch (const CLIError&) {
  }
}

/// Help is of a command: words behind one would be passed over.
void requirePath(const Command& root, const std::vector<std::string>& words) {
  const Command* at = &root;
  for (const std::string& word : words) {
    if (word.starts_with('-')) return;
    if (at->takesAnything) return;
    if (at->subcommands.empty()) throw UsageError(nothingExpected(word));
    auto named = [&](const Command& each) { return each.word() == word; };
    auto found = std::find_if(at->subcommands.begin(), at->subcommands.end(), named);
    if (found == at->subcommands.end()) return; // told as of every command
    at = &*found;
  }
}

void run(Context& context, std::vector<std::string> arguments) {
  if (!arguments.empty() && arguments[0] == "--complete") return complete(context, std::move(arguments));
  if (!arguments.empty() && (arguments[0] == scriptOption || arguments[0].starts_with(std::string(scriptOption) + "=")))
    return generateCompletion(context, arguments);
  if (!arguments.empty() && arguments[0] == "--version") return context.console.line(std::string(CLI::version));
  bool asked = !arguments.empty() && arguments[0] == "help";
  if (asked) {
    arguments.erase(arguments.begin());
    const Page* topic = arguments.empty() ? nullptr : topicCalled(arguments[0]);
    if (topic && arguments.size() > 1) throw UsageError(nothingExpected(arguments[1]));
    if (topic) return context.console.out(laidOut(*topic, context.console.width()));
    if (arguments == std::vector<std::string>{"help"}) arguments.clear();
    arguments.push_back("--help");
  }
  Command root = rootCommand(commandWord(arguments));
  if (asked) requirePath(root, arguments);
  // A command that is not built yet takes whatever follows it.
  for (const Command& command : root.subcommands) {
    bool helped = std::find(arguments.begin(), arguments.end(), "--help") != arguments.end();
    if (command.takesAnything && !helped && commandWord(arguments) == command.word()) return command.run(context);
  }
  Parsed parsed = parse(root, arguments);
  if (parsed.help) return context.console.out(help(*parsed.command, context.console.width()));
  parsed.command->run(context);
}

/// A word on a newer release, for a person at a terminal who did not ask to be left alone. These two say it themselves.
void noticeUpdate(Context& context, const std::vector<std::string>& arguments) {
  auto newer = context.announced.newer();
  if (!newer || !context.console.isTerminal(Stream::err) || context.environment.has("CI") ||
      context.environment.has("KESTU_NO_UPDATE_NOTIFIER")) {
    return;
  }
  std::string word = commandWord(arguments);
  auto folder = stateFolder(context.environment);
  if (word == "update" || word == "doctor" || !folder) return;
  if (UpdateNotice::due(*newer, *folder, context.clock.now())) context.console.error(UpdateNotice::text(*newer));
}

} // namespace

int runEntry(Context& context, const std::vector<std::string>& arguments) {
  int status = 0;
  try {
    Rewritten words = rewritten(arguments);
    if (!words.notice.empty()) context.console.error(words.notice);
    run(context, std::move(words.arguments));
  } catch (const CLIError& error) {
    context.console.failure(error.description);
    if (error.kind == CLIError::Kind::outdated) return error.status();
    status = error.status();
  } catch (const UsageError& error) {
    context.console.failure(error.what());
    status = usageStatus;
  } catch (const NotPassed&) {
    status = failedStatus;
  } catch (const std::system_error& error) {
    context.console.failure(printable(error.what()));
    status = failedStatus;
  } catch (const Stopped&) {
    throw;
  } catch (const BrokenPipe&) {
    throw;
  } catch (const std::exception& error) {
    context.console.failure("Something went wrong in kestu itself: " + printable(error.what()));
    status = failedStatus;
  }
  noticeUpdate(context, arguments);
  return status;
}

} // namespace kestu
