#include "cli/events/events.hpp"
#include "cli/unchanged.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/events/event_text.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <memory>

namespace kestu {

using Kind = CLIError::Kind;

namespace {

struct SetOptions : ChangeOptions {
  EventTarget target;
  EventFieldOptions fields;
};

/// The dates that the event would have have to be ones that the App Store takes.
void checkDates(const Event& event, const EventGiven& given, Moment now, Console& console) {
  if (!given.dates.any()) return;
  if (event.schedule && !event.schedule->territories.empty()) {
    throw CLIError(Kind::failed, event.quoted() + " has countries with dates of their own (Customize Dates and Times), "
                                                  "which would be lost: change its dates in App Store Connect.");
  }
  if (!event.schedule && (!given.dates.starts || !given.dates.ends)) {
    throw CLIError(Kind::usage, event.quoted() + " has no dates yet: give --starts and --ends.");
  }
  auto was = event.schedule ? std::optional(event.schedule->dates) : std::nullopt;
  EventDates dates = EventRules::merged(was, given.dates);
  auto problems = EventRules::problems(dates);
  if (!problems.empty()) throw CLIError(Kind::usage, Text::joined(problems, "\n"));
  if (given.dates.ends && dates.eventEnd <= now) console.error("--ends has passed already: the event would be over.");
}

void needNewName(const FoundEvent& found, const EventGiven& given) {
  if (!given.name || Text::folded(*given.name) == Text::folded(found.event.name)) return;
  for (const Event& event : found.all) {
    if (event.eventId == found.event.eventId || Text::folded(Text::trimmed(event.name)) != Text::folded(*given.name)) {
      continue;
    }
    throw CLIError(Kind::failed, "The app has another event named " + printable(event.name) + " already.");
  }
}

void runSet(Context& context, const SetOptions& options) {
  Faults faults;
  EventGiven given = options.fields.given(context, faults);
  const EventDatesGiven& dates = given.dates;
  // Known without the event.
  if (dates.starts && dates.ends) {
    EventDates alone = EventRules::merged(std::nullopt, dates);
    for (std::string& problem : EventRules::problems(alone)) faults.add(std::move(problem));
  }
  faults.settle(context.console);
  FoundEvent found = FoundEvent::of(options.target, context);
  const Event& event = found.event;
  TimeZone zone = options.fields.timeZone.shown(context);
  Moment now = context.clock.now();
  EventEdit edit = EventEdit::between(event, given, zone, now);
  refuse(found.refusal(edit.parts(), context));
  checkDates(event, given, now, context.console);
  needNewName(found, given);
  if (edit.empty()) {
    return tellUnchanged(context, options, "✓ " + event.quoted() + " says so already: nothing sent.");
  }
  ProposedChange change;
  change.waits = EventRules::waits(event);
  const std::string after = change.waits ? ", after your approval" : "";
  change.title = found.app.appTitle() + ", in-app event " + event.quoted() +
                 (dates.any() ? ", times in " + zone.id() : "") + after + ":";
  change.lines = edit.lines(windowColumns(context.console));
  change.items = itemsOf(edit, event.name);
  change.would =
      "Dry run: would change " + found.about() + (dates.any() ? ", times in " + zone.id() : "") + after + ".";
  change.done = "✓ Changed \"" + printable(given.name.value_or(event.name)) + "\".";
  if (dates.any()) {
    auto was = event.schedule ? std::optional(event.schedule->dates) : std::nullopt;
    change.done +=
        " It runs " + Format::eventDates(EventRules::merged(was, dates), zone, now) + " (" + zone.id() + ").";
  }
  options.make(context, found.client, {"POST", found.path, {}, edit.body.compact()}, change);
}

// localize

struct LocalizeOptions : ChangeOptions {
  EventTarget target;
  EventTextOptions texts;
  bool remove = false;
};

ChangeRequest languageRequest(const FoundEvent& found, const std::string& locale) {
  return {"POST", found.path + "/languages/" + percentEncoded(locale), {}, std::nullopt};
}

void removeLanguage(Context& context, const LocalizeOptions& options, const FoundEvent& found,
                    const std::string& locale) {
  const Event& event = found.event;
  const std::string shown = printable(locale);
  if (!event.language(locale)) {
    throw CLIError(Kind::notFound,
                   event.quoted() + " isn't in " + shown + ": " + found.command("view") + " shows its languages.");
  }
  if (event.primaryLocale == locale) {
    throw CLIError(Kind::failed, shown + " is the primary language of " + event.quoted() +
                                     ", which it keeps. Give it another first: " + found.command("set") +
                                     " --primary-language <language>");
  }
  ProposedChange change;
  change.waits = false;
  change.title = "Take " + shown + " off " + found.about() + ", with its card and details page.";
  change.items = {{event.name, "language", locale, std::nullopt}};
  change.would = "Dry run: would take " + shown + " off " + found.about() + ".";
  change.done = "✓ Took " + shown + " off " + event.quoted() + ".";
  ChangeRequest request = languageRequest(found, locale);
  request.method = "DELETE";
  options.make(context, found.client, request, change);
}

void runLocalize(Context& context, const LocalizeOptions& options) {
  Faults faults;
  options.texts.check(faults);
  faults.settle(context.console);
  FoundEvent found = FoundEvent::of(options.target, context);
  const Event& event = found.event;
  refuse(found.refusal({"languages"}, context));
  const std::string locale = languageOr(options.texts.language, event.primaryLocale, found.app);
  if (options.remove) return removeLanguage(context, options, found, locale);
  const EventLanguage* language = event.language(locale);
  if (!(language && language->name) && !options.texts.has("--display-name")) {
    throw CLIError(Kind::usage, "A language needs its --display-name with its descriptions.");
  }
  EventEdit edit = EventEdit::between(language, options.texts.texts);
  const std::string in = printable(locale);
  if (edit.empty()) {
    return tellUnchanged(context, options, "✓ " + event.quoted() + " says so in " + in + " already: nothing sent.");
  }
  ProposedChange change;
  change.waits = false;
  change.title =
      found.app.appTitle() + ", in-app event " + event.quoted() + " in " + in + (language ? "" : ", new") + ":";
  change.lines = edit.lines(windowColumns(context.console));
  change.items = itemsOf(edit, event.name + " " + locale);
  change.would = "Dry run: would change " + found.about() + " in " + in + ".";
  change.done = (language ? "✓ Changed " : "✓ Gave ") + event.quoted() + (language ? " in " + in : " its " + in) + ".";
  for (const EventSlot* slot : {&EventMediaFile::card, &EventMediaFile::details}) {
    const auto& media = slot == &EventMediaFile::card;
    bool there = language && (media ? language->card : language->details);
    if (there) continue;
    change.done += "\nNext: " + found.command(std::string(slot->key)) + " <file> --language " + Format::shellWord(in);
    break;
  }
  ChangeRequest request = languageRequest(found, locale);
  request.body = edit.body.compact();
  options.make(context, found.client, request, change);
}

} // namespace

void addEventsSet(Command& group) {
  Command& command = group.add("set", "Change an in-app event: its name, badge, deep link, who it's for, priority, "
                                      "dates or countries; only what's given changes.");
  command.discussion =
      "Before App Review has it, anything changes. Once approved, only its countries, priority and dates still to "
      "come, which reach users, so it waits for your approval in the Kestu app; once it's on the App Store, its start "
      "and end, and once it's started, its end alone.";
  auto options = std::make_shared<SetOptions>();
  options->target.declare(command);
  declareEventText(command, "--name", "name", "A new reference name, up to 64 characters.", options->fields.name);
  options->fields.declare(command, "");
  options->target.app.declare(command);
  options->ChangeOptions::declare(command);
  command.validate = [options] {
    if (options->fields.any()) return;
    throw UsageError("Give what changes: --starts, --ends, --badge, --deep-link and so on (kestu events set --help).");
  };
  command.run = [options](Context& context) { runSet(context, *options); };
  command.example("\"Winter Lights\" --ends 2027-02-06", "A later end.");
  command.example("\"Winter Lights\" --countries se,no,fi --priority high", "Where it shows, and before other events.");
}

void addEventsLocalize(Command& group) {
  Command& command = group.add("localize", "An in-app event's language: its name and descriptions on the App Store; "
                                           "only what's given changes.");
  auto options = std::make_shared<LocalizeOptions>();
  options->target.declare(command);
  options->texts.declare(command);
  command.flag({"--remove"}, options->remove, "Take the language off the event, with its card and details page.");
  options->target.app.declare(command);
  options->ChangeOptions::declare(command);
  command.validate = [options] {
    if (options->remove && !options->texts.texts.empty()) {
      throw UsageError("--remove takes the language off, nothing more.");
    }
    if (options->remove && !options->texts.language) throw UsageError("Name the language to take off: --language.");
    if (!options->remove && options->texts.texts.empty()) {
      throw UsageError("Give --display-name, --short-description or --long-description.");
    }
  };
  command.run = [options](Context& context) { runLocalize(context, *options); };
  command.example("\"Winter Lights\" --language sv --display-name Norrskensveckan", "Its name in Swedish.");
  command.example("\"Winter Lights\" --language sv --remove", "Swedish goes.");
}

} // namespace kestu
