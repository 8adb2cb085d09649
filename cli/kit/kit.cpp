#include "cli/context.hpp"
#include "cli/families.hpp"
#include "cli/options.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/kit/flag_scan.hpp"
#include "core/kit/kit_answers.hpp"
#include "core/project/app_choice.hpp"
#include "core/project/project.hpp"

#include <algorithm>
#include <system_error>

namespace kestu {

namespace {

using Kind = CLIError::Kind;

struct CheckOptions : GlobalOptions {
  std::optional<std::string> folder;
  AppTarget app;
};

/// The folder to scan: the one named, else the repository's root.
std::filesystem::path folderOf(const CheckOptions& options, const Context& context) {
  if (!options.folder) return Project::root(context.folder);
  auto folder = context.folder / *options.folder;
  std::error_code error;
  if (!std::filesystem::is_directory(folder, error)) {
    throw CLIError(Kind::notFound, "There is no folder " + printable(*options.folder) + ".");
  }
  return folder;
}

JSONData json(const FlagRead& read) {
  return JSONData::object({{"key", read.key}, {"file", read.file}, {"line", read.line}});
}

JSONData json(const std::vector<FlagRead>& reads) {
  JSONData list = JSONData::array();
  for (const FlagRead& read : reads) list.add(json(read));
  return list;
}

std::string place(const FlagRead& read) { return printable(read.file) + ":" + std::to_string(read.line); }

std::string checkText(const FlagComparison& flags, std::size_t known, const TextStyles& style) {
  std::string text = "The code reads " + Format::number(static_cast<std::int64_t>(flags.keys)) +
                     (flags.keys == 1 ? " flag" : " flags") + "; Kestu has " +
                     Format::number(static_cast<std::int64_t>(known)) + ".";
  if (flags.missing.empty()) return text + "\n✓ Every flag the code reads is in Kestu.";
  for (const FlagRead& read : flags.missing) {
    text += "\n" + style.bold(printable(read.key)) + " is read in " + place(read) + " but isn't in Kestu.";
  }
  if (flags.missing.size() > 1) {
    return text + "\nNext: kestu kit flags create <key> for each, with --type for text, a number or JSON.";
  }
  return text + "\nNext: kestu kit flags create " + Format::shellWord(printable(flags.missing.front().key)) + ".";
}

void runCheck(Context& context, const CheckOptions& options) {
  auto folder = folderOf(options, context);
  Client client = context.signedIn();
  auto known = fetchKitFlags(client, AppChoice::resolve(options.app.app, client, context.folder)).value;
  auto reads = context.console.during([&] { return FlagScan::reads(folder, context.stop); });
  std::vector<std::string> keys;
  for (const KitFlag& flag : known) keys.push_back(flag.key);
  auto flags = FlagScan::compare(reads, keys);
  if (reads.empty() && !options.quiet()) {
    return context.console.line(
        "The code under " + printable(options.folder.value_or(folder.lexically_proximate(context.folder).string())) +
        " reads no flags through KestuFlags.");
  }
  options.emit(context.console,
               JSONData::object({{"flags", known.size()},
                                 {"reads", json(reads)},
                                 {"missing", json(flags.missing)},
                                 {"unread", flags.unread}}),
               options.quiet() ? "" : checkText(flags, known.size(), context.console.style()));
  if (!flags.missing.empty()) throw NotPassed();
}

void addCheck(Command& group) {
  Command& command = group.add("check", "Say which flags the app's Swift sources read that KestuKit doesn't have.");
  command.discussion =
      "Reads the sources' text, without building them: reads through KestuFlags with a key literal, and the cases of "
      "enumerations with raw type String that conform to KestuFlag. Exits 1 when a flag is missing, so that CI stops. "
      "The JSON also has every read, and the flags that no code here reads.";
  auto options = std::make_shared<CheckOptions>();
  command.argument({"folder", "The folder with the sources. The repo's root when left out.",
                    [options](const std::string& value) {
                      if (value.empty()) throw UsageError("The folder is empty.");
                      options->folder = value;
                    },
                    false});
  options->app.declare(command);
  options->declare(command);
  command.run = [options](Context& context) { runCheck(context, *options); };
}

} // namespace

void addKit(Command& command) {
  Command& flags = command.add("flags", "The app's feature flags: those that the code reads, and KestuKit's own.");
  addCheck(flags);
  flags.addNotBuilt("list", "The flags that KestuKit has for the app.");
  flags.addNotBuilt("create", "Make a flag.");
  command.addNotBuilt("experiments", "The app's experiments.");
  command.addNotBuilt("update-prompts", "Prompts to update the app.");
  command.addNotBuilt("whats-new", "The app's What's New pages, a version each.");
}

} // namespace kestu
