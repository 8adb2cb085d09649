#include "cli/events/events.hpp"

#include "cli/families.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/events/event_text.hpp"

#include <memory>

namespace kestu {

namespace {

struct ListOptions : TableOptions {
  TimeZoneOption timeZone;
  AppTarget app;
};

void runList(Context& context, const ListOptions& options) {
  const TimeZone zone = options.timeZone.shown(context);
  Client client = context.signedIn();
  auto app = AppOnPlatform::resolve(client, options.app, std::nullopt, context);
  auto answer = Events::fetch(client, app.path);
  std::string text = "No in-app events yet: kestu events create makes one.";
  if (!answer.value.empty()) {
    text = Format::events(answer.value, zone, context.clock.now(), context.console.style(),
                          windowColumns(context.console));
  }
  options.write(context.console, answer.body, Format::eventsTable(answer.value), text);
}

struct ViewOptions : TableOptions {
  EventTarget target;
  TimeZoneOption timeZone;
};

/// The command that brings the event on its way; empty when there's nothing to do.
std::string nextOf(const FoundEvent& found) {
  const Event& event = found.event;
  EventState state = event.stateKind();
  if (state != EventState::draft && state != EventState::rejected) return "";
  if (event.needs.empty()) return found.command("submit");
  if (!event.schedule) return found.command("set") + " --starts <time> --ends <time>";
  if (!event.badge) return found.command("set") + " --badge <badge>";
  if (event.primaryLocale && !event.language(*event.primaryLocale)) {
    return found.command("localize") + " --language " + Format::shellWord(printable(*event.primaryLocale)) +
           " --display-name <name>";
  }
  if (event.languages.empty()) return found.command("localize") + " --display-name <name>";
  for (const EventLanguage& language : event.languages) {
    std::string in = " --language " + Format::shellWord(printable(language.locale));
    if (!language.shortDescription) return found.command("localize") + in + " --short-description <text>";
    if (!language.longDescription) return found.command("localize") + in + " --long-description <text>";
    if (!language.card) return found.command("card") + " <file>" + in;
    if (!language.details) return found.command("details") + " <file>" + in;
  }
  return "";
}

void runView(Context& context, const ViewOptions& options) {
  const TimeZone zone = options.timeZone.shown(context);
  FoundEvent found = FoundEvent::of(options.target, context);
  std::string text = Format::eventDetails(found.event, zone, context.clock.now(), context.console.style(),
                                          windowColumns(context.console));
  if (std::string next = nextOf(found); !next.empty()) text += "\n\nNext: " + next;
  options.write(context.console, found.json, Format::eventTable(found.event), text);
}

void addList(Command& command) {
  auto options = std::make_shared<ListOptions>();
  options->timeZone.declare(command);
  options->app.declare(command);
  options->TableOptions::declare(command);
  command.run = [options](Context& context) { runList(context, *options); };
  command.example("", "Where each event stands.");
  command.example("--time-zone America/New_York", "With its times as New York has them.");
}

void addView(Command& group) {
  Command& command =
      group.add("view", "One in-app event in full: when and where it runs, its languages with their card "
                        "and details page, and what App Review still needs.");
  auto options = std::make_shared<ViewOptions>();
  options->target.declare(command);
  options->timeZone.declare(command);
  options->target.app.declare(command);
  options->TableOptions::declare(command);
  command.run = [options](Context& context) { runView(context, *options); };
  command.example("\"Winter Lights\"", "All of an event, and what App Review still needs.");
}

} // namespace

void addEvents(Command& command) {
  command.discussion =
      "An event is made as a draft at once. Sending one to App Review alone, changing one App Review approved and "
      "deleting one wait for your approval in the Kestu app. The event starts at the same moment everywhere, 16:00 in "
      "Stockholm being 15:00 in London. kestu events alone lists them.";
  addList(command);
  addList(command.add("list", "The app's in-app events: where each stands, and when it runs."));
  addView(command);
  addEventsCreate(command);
  addEventsSet(command);
  addEventsLocalize(command);
  addEventsMedia(command);
  addEventsReview(command);
}

} // namespace kestu
