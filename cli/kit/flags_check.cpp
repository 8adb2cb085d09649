#include "cli/kit/flags.hpp"
#include "cli/kit/kit.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/kit/flags.hpp"
#include "core/project/app_choice.hpp"
#include "core/project/project.hpp"
#include "core/support/json_data.hpp"

#include <system_error>

namespace kestu {

namespace {

using Kind = CLIError::Kind;

struct CheckOptions : GlobalOptions {
  std::optional<std::string> folder;
  AppTarget app;
};

JSONData readData(const FlagRead& read) {
  return JSONData::object({{"key", read.key}, {"file", read.file}, {"line", read.line}});
}

JSONData readsData(const std::vector<FlagRead>& reads) {
  JSONData list = JSONData::array();
  for (const FlagRead& read : reads) list.add(readData(read));
  return list;
}

std::string checkText(const FlagComparison& flags, std::size_t known, const AppTarget& app, const TextStyles& style) {
  std::string text = "The code reads " + Format::number(static_cast<std::int64_t>(flags.keys)) +
                     (flags.keys == 1 ? " flag" : " flags") + "; Kestu has " +
                     Format::number(static_cast<std::int64_t>(known)) + ".";
  if (flags.missing.empty()) return text + "\n✓ Every flag the code reads is in Kestu.";
  for (const FlagRead& read : flags.missing) {
    text += "\n" + style.bold(printable(read.key)) + " is read in " + FlagSources::place(read) + " but isn't in Kestu.";
  }
  if (flags.missing.size() > 1) {
    return text + "\nNext: kestu kit flags create <key> for each, with --type for text, a number or JSON.";
  }
  return text + "\nNext: kestu kit flags create" + appWords(app) + " " + Flags::argument(flags.missing.front().key) +
         ".";
}

void runCheck(Context& context, const CheckOptions& options) {
  auto folder = FlagSources::folder(options.folder, context);
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
  if (options.quiet()) {
    context.console.json(JSONData::object({{"flags", known.size()},
                                           {"reads", readsData(reads)},
                                           {"missing", readsData(flags.missing)},
                                           {"unread", flags.unread}})
                             .pretty());
  } else {
    context.console.line(checkText(flags, known.size(), options.app, context.console.style()));
  }
  if (!flags.missing.empty()) throw NotPassed();
}

} // namespace

std::filesystem::path FlagSources::folder(const std::optional<std::string>& named, const Context& context) {
  if (!named) return Project::root(context.folder);
  auto folder = context.folder / *named;
  std::error_code error;
  if (!std::filesystem::is_directory(folder, error)) {
    throw CLIError(Kind::notFound, "There is no folder " + printable(*named) + ".");
  }
  return folder;
}

void FlagSources::declare(Command& command, std::optional<std::string>& folder) {
  command.argument({"folder", "The folder with the sources. The repo's root when left out.",
                    [&folder](const std::string& value) {
                      if (value.empty()) throw UsageError("The folder is empty.");
                      folder = value;
                    },
                    false});
}

std::string FlagSources::place(const FlagRead& read) { return printable(read.file) + ":" + std::to_string(read.line); }

void addFlagsCheck(Command& flags) {
  Command& command = flags.add("check", "Say which flags the app's Swift sources read that KestuKit doesn't have.");
  command.discussion =
      "Reads the sources' text, without building them: reads through KestuFlags with a key literal, and the cases of "
      "enumerations with raw type String that conform to KestuFlag. Exits 1 when a flag is missing, so that CI stops. "
      "The JSON also has every read, and the flags that no code here reads.";
  auto options = std::make_shared<CheckOptions>();
  FlagSources::declare(command, options->folder);
  options->app.declare(command);
  options->declare(command);
  command.run = [options](Context& context) { runCheck(context, *options); };
  command.example("", "In CI: status 1 where KestuKit lacks a flag.");
  command.example("Sources", "The code of one folder.");
}

} // namespace kestu
