#include "cli/events/events.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/events/event_text.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <memory>

namespace kestu {

using Kind = CLIError::Kind;

namespace {

struct CreateOptions : ChangeOptions {
  EventFieldOptions fields;
  EventTextOptions texts;
  std::optional<std::string> card, details;
  AppTarget app;
};

/// What is to be made, all of it known to be fine.
struct Draft {
  EventGiven given;
  std::vector<EventMediaFile> media;
};

std::vector<EventMediaFile> mediaOf(const CreateOptions& options, const Context& context, Faults& faults) {
  std::vector<EventMediaFile> media;
  for (const auto& [file, slot] :
       {std::pair(&options.card, &EventMediaFile::card), std::pair(&options.details, &EventMediaFile::details)}) {
    if (!*file) continue;
    media.push_back(EventMediaFile::read(context.folder, **file, *slot, std::nullopt, context.probe, context.stop));
    faults.add(media.back().problem);
    if (!media.back().note.empty()) faults.notes.push_back(media.back().note);
  }
  return media;
}

void checkDates(const EventGiven& given, const CreateOptions& options, Moment now, Faults& faults) {
  const EventFieldOptions& fields = options.fields;
  if (!fields.starts || !fields.ends) return faults.add("Give its dates: --starts and --ends.");
  // A time that couldn't be read is told already.
  if (!given.dates.starts || !given.dates.ends || fields.promoteFrom.has_value() != given.dates.promoteFrom.has_value())
    return;
  EventDates dates = EventRules::merged(std::nullopt, given.dates);
  for (std::string& problem : EventRules::problems(dates)) faults.add(std::move(problem));
  if (dates.eventEnd <= now) faults.notes.emplace_back("--ends has passed already: nobody would see the event.");
}

Draft checked(const CreateOptions& options, Context& context) {
  Faults faults;
  Draft draft{options.fields.given(context, faults), {}};
  checkDates(draft.given, options, context.clock.now(), faults);
  options.texts.check(faults);
  bool named = options.texts.has("--display-name");
  if (!named && (!options.texts.texts.empty() || options.texts.language)) {
    faults.add("A language needs its --display-name with its descriptions.");
  }
  if (!named && (options.card || options.details)) {
    faults.add("Its --card and --details-page go to a language: give its --display-name.");
  }
  draft.media = mediaOf(options, context, faults);
  faults.settle(context.console);
  return draft;
}

/// Events are named by their reference name, so a second one of the same would be in the way of both.
void needNewName(const std::vector<Event>& events, const std::string& name, const std::string& ofApp) {
  auto same = std::find_if(events.begin(), events.end(), [&](const Event& event) {
    return Text::folded(Text::trimmed(event.name)) == Text::folded(name);
  });
  if (same == events.end()) return;
  throw CLIError(Kind::failed, "The app has an event named " + printable(same->name) + " already, which is " +
                                   Format::eventState(*same) + ". To change it: " +
                                   FoundEvent::eventCommand("set", same->name, same->eventId, ofApp));
}

/// What is sent, shown and given as data.
struct Proposal {
  JSONData body;
  std::string locale; ///< of the language; empty without one
  ProposedChange change;
};

Proposal proposal(const Draft& draft, const CreateOptions& options, const AppOnPlatform& app, const TimeZone& zone,
                  const Context& context) {
  Proposal made;
  const std::string& name = *draft.given.name;
  Moment now = context.clock.now();
  EventEdit edit = EventEdit::between(Event{}, draft.given, zone, now);
  made.body = edit.body;
  made.change.items = itemsOf(edit, name);
  std::erase_if(edit.values, [](const auto& value) { return value.part == "name"; });
  made.change.lines = edit.lines(windowColumns(context.console));
  if (!options.texts.texts.empty()) {
    made.locale = languageOr(options.texts.language, draft.given.primaryLocale, app);
    EventEdit texts = EventEdit::between(nullptr, options.texts.texts);
    texts.body.set("locale", made.locale);
    made.body.set("language", texts.body);
    for (const EventMediaFile& file : draft.media) { // sent on their own, and shown with the rest
      texts.values.push_back({std::string(file.slot->label), std::nullopt, file.path.filename().string(), "",
                              file.name() + ", " + Format::bytes(static_cast<std::uint64_t>(file.size()))});
    }
    for (ChangeItem& item : itemsOf(texts, name + " " + made.locale)) made.change.items.push_back(std::move(item));
    made.change.lines += "\n" + printable(made.locale) + "\n" + texts.lines(windowColumns(context.console));
  }
  std::string quoted = "\"" + printable(name) + "\"";
  std::string when = Format::eventDates(EventRules::merged(std::nullopt, draft.given.dates), zone, now);
  made.change.title = app.appTitle() + ", a new in-app event " + quoted + ", a draft, times in " + zone.id() + ":";
  made.change.would =
      "Dry run: would make " + quoted + " for " + app.appTitle() + ", a draft, times in " + zone.id() + ".";
  made.change.done = "✓ Made " + quoted + ", a draft: " + when + " (" + zone.id() + ").";
  made.change.waits = false;
  return made;
}

std::string nextOf(const Draft& draft, const std::string& locale, const std::string& eventId,
                   const std::string& ofApp) {
  auto line = [&](const std::string& word) {
    return "\nNext: " + FoundEvent::eventCommand(word, *draft.given.name, eventId, ofApp);
  };
  auto has = [&](const EventSlot& slot) {
    return std::any_of(draft.media.begin(), draft.media.end(), [&](const auto& file) { return file.slot == &slot; });
  };
  if (locale.empty()) return line("localize") + " --display-name <name>";
  std::string in = " <file> --language " + Format::shellWord(locale);
  if (!has(EventMediaFile::card)) return line("card") + in;
  if (!has(EventMediaFile::details)) return line("details") + in;
  return "\nApple checks its media: " + FoundEvent::eventCommand("view", *draft.given.name, eventId, ofApp) +
         " says when it's ready.";
}

void runCreate(Context& context, const CreateOptions& options) {
  Draft draft = checked(options, context);
  Client client = context.signedIn();
  auto app = AppOnPlatform::resolve(client, options.app, std::nullopt, context);
  const std::string ofApp = appOption(options.app);
  needNewName(Events::fetch(client, app.path).value, *draft.given.name, ofApp);
  Proposal made = proposal(draft, options, app, options.fields.timeZone.shown(context), context);
  ChangeRequest request{"POST", app.path + "/events", {}, made.body.compact()};
  if (options.dryRun) return options.send(context, client, request, made.change);
  options.confirm(context, made.change);
  auto answer = client.decoded(client.send(request.method, request.path, request.query, request.body),
                               [](const JSONValue& value) { return value.at("eventId").text(); });
  const std::string& id = answer.value;
  const std::string language = app.path + "/events/" + percentEncoded(id) + "/languages/" + percentEncoded(made.locale);
  auto again = [&](const EventMediaFile& file) {
    return FoundEvent::eventCommand(std::string(file.slot->key), *draft.given.name, id, ofApp) + " " +
           Format::shellWord(file.path.string()) + " --language " + Format::shellWord(made.locale);
  };
  for (std::size_t at = 0; at < draft.media.size(); ++at) {
    const EventMediaFile& file = draft.media[at];
    const bool last = at + 1 == draft.media.size();
    std::string left = "The event is made, without its " + std::string(file.slot->label);
    left += last ? ". To send it again: " + again(file)
                 : " and its " + std::string(draft.media.back().slot->label) + ". To send them again:\n  " +
                       again(file) + "\n  " + again(draft.media.back());
    uploadEventMedia(context, client, language, file, left);
  }
  options.emitBody(context.console, answer.body, made.change.done + nextOf(draft, made.locale, id, ofApp));
}

} // namespace

void addEventsCreate(Command& group) {
  Command& command = group.add("create", "Make an in-app event, a draft until it's submitted, with its dates, and its "
                                         "first language, card and details page if you like.");
  auto options = std::make_shared<CreateOptions>();
  command.argument({"name", "Its reference name, up to 64 characters, which users don't see.",
                    [options](const std::string& value) { options->fields.name = Text::trimmed(value); }, true});
  options->fields.declare(command, " The app's when left out.");
  options->texts.declare(command);
  declareEventText(command, "--card", "file", "Its card: a landscape image or video, 16:9, from 1920 × 1080.",
                   options->card);
  declareEventText(command, "--details-page", "file",
                   "Its details page: a portrait image or video, 9:16, from 1080 × 1920.", options->details);
  options->app.declare(command);
  options->ChangeOptions::declare(command);
  command.run = [options](Context& context) { runCreate(context, *options); };
  command.needs({"--starts"});
  command.needs({"--ends"});
  command.example("\"Aurora Week\" --starts \"2027-02-01 4pm\" --ends 2027-02-05", "A draft, with its dates alone.");
  command.example("\"Aurora Week\" --starts \"2027-02-01 16:00\" --ends 2027-02-05 --badge liveevent --display-name "
                  "\"Aurora Week\" --card card.png",
                  "With its first language and card.");
}

} // namespace kestu
