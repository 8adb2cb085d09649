#include "cli/context.hpp"
#include "cli/families.hpp"
#include "cli/options.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/overview/app_status.hpp"

#include <memory>

namespace kestu {

namespace {

struct StatusOptions : GlobalOptions {
  AppTarget app;
};

void runStatus(Context& context, const StatusOptions& options) {
  Client client = context.signedIn();
  std::string app = std::to_string(AppChoice::resolve(options.app.app, client, context.folder));
  auto answer = client.get("/v1/apps/" + app + "/status", {}, AppStatus::read);
  Console& console = context.console;
  std::optional<int> width;
  if (console.isTerminal(Stream::out)) width = console.width();
  std::string named = options.app.app ? " --app " + Format::shellWord(printable(*options.app.app)) : "";
  options.emitBody(console, answer.body,
                   answer.value.text(width, console.style(), context.clock.now()) +
                       "\nNext: " + answer.value.nextCommand(named));
}

} // namespace

void addStatus(Command& command) {
  auto options = std::make_shared<StatusOptions>();
  options->app.declare(command);
  options->GlobalOptions::declare(command);
  command.run = [options](Context& context) { runStatus(context, *options); };
  command.example("", "The repo's app.");
  command.example("--app com.example.daylight -o json", "Another app, for a script.");
}

} // namespace kestu
