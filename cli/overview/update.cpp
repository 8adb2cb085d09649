#include "cli/context.hpp"
#include "cli/families.hpp"
#include "cli/options.hpp"
#include "core/console/printable.hpp"
#include "core/overview/installation.hpp"
#include "core/platform/executable.hpp"
#include "core/support/json_data.hpp"
#include "core/support/process.hpp"
#include "core/support/text.hpp"
#include "core/support/version.hpp"

#include <memory>
#include <system_error>

namespace kestu {

using Kind = CLIError::Kind;

namespace {

struct UpdateOptions : GlobalOptions {
  bool dryRun = false;
};

enum class Newest { known, unknown };

/// Any answer of the service announces the newest version, a refusal too.
Newest ask(Context& context) {
  try {
    context.client(std::nullopt).send("GET", "/v1/auth/whoami", {}, std::nullopt);
    return Newest::known;
  } catch (const CLIError&) {
    return Newest::unknown;
  }
}

void runHere(Context& context, const std::vector<std::string>& words) {
  std::string line = Text::joined(words, " ");
  context.console.error("● " + line);
  ProcessRequest request;
  request.arguments = words;
  request.timeout = std::chrono::hours(1);
  ProcessResult result;
  try {
    result = context.console.during([&] { return Process::run(request, context.stop); });
  } catch (const std::system_error& error) {
    throw CLIError(Kind::failed,
                   words.front() + " couldn't be run (" + error.code().message() + "). Run it yourself: " + line);
  }
  if (!result.succeeded()) {
    throw CLIError(Kind::failed,
                   printableText(Text::trimmed(result.err)) + "\nkestu wasn't updated: " + line + " failed.");
  }
}

void runUpdate(Context& context, const UpdateOptions& options) {
  auto program = executablePath();
  if (!program) throw CLIError(Kind::failed, "The system doesn't say where kestu's own file is.");
  Installation installation = Installation::of(*program);
  Newest asked = ask(context);
  auto newer = context.announced.newer();
  JSONData answer = JSONData::object({{"version", CLI::version},
                                      {"newest", newer},
                                      {"installed", installation.described()},
                                      {"commands", installation.commands()}});
  if (options.quiet() && (options.dryRun || !newer || !installation.runnable())) {
    return context.console.json(answer.pretty());
  }
  std::string version(CLI::version);
  if (asked == Newest::known && !newer) {
    return options.say(context.console, "✓ kestu " + version + " is the newest.");
  }
  std::string known = newer ? "kestu " + printable(*newer) + " is out; this is " + version + "."
                            : "kestu couldn't be asked for its newest version; this is " + version + ".";
  options.say(context.console, known + " It's installed " + installation.described() + ".");
  auto words = installation.runnable();
  if (!words || options.dryRun || !newer) return options.say(context.console, installation.advice());
  runHere(context, *words);
  if (options.quiet()) return context.console.json(answer.set("updated", true).pretty());
  context.console.line("✓ Updated kestu.");
}

} // namespace

void addUpdate(Command& command) {
  command.discussion = "With Homebrew it runs brew upgrade kestu. A Debian package needs rights that kestu doesn't "
                       "take, and a folder its archive, so there it says what to run. Nothing is downloaded into a "
                       "shell.";
  auto options = std::make_shared<UpdateOptions>();
  command.flag({"--dry-run"}, options->dryRun, "Say what it would run, and run nothing.");
  options->GlobalOptions::declare(command);
  command.run = [options](Context& context) { runUpdate(context, *options); };
  command.example("--dry-run", "Says how kestu would be updated here.");
  command.example("", "Updates it.");
}

} // namespace kestu
