#include "cli/events/events.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/events/event_text.hpp"
#include "core/events/event_time.hpp"
#include "core/pricing/region_words.hpp"
#include "core/project/apple_locales.hpp"
#include "core/support/text.hpp"

#include <algorithm>

namespace kestu {

using Kind = CLIError::Kind;

namespace {

std::string wordsOf(const std::vector<EventWord>& words, std::string_view between) {
  std::vector<std::string> all;
  for (const EventWord& each : words) all.emplace_back(each.word);
  return Text::joined(all, between);
}

std::vector<std::string> listOf(const std::vector<EventWord>& words) {
  std::vector<std::string> all;
  for (const EventWord& each : words) all.emplace_back(each.word);
  return all;
}

/// The word that an option's value means; what it may be is a fault when it means none.
std::optional<std::string> wordOf(const std::string& option, const std::vector<EventWord>& words,
                                  const std::optional<std::string>& typed, Faults& faults) {
  if (!typed) return std::nullopt;
  auto word = Events::word(words, *typed);
  if (!word) faults.add(option + " is " + Text::orList(listOf(words)) + ", not " + printable(*typed) + ".");
  return word;
}

std::optional<std::vector<std::string>> countriesOf(const std::optional<std::string>& typed, Faults& faults) {
  if (!typed) return std::nullopt;
  try {
    return RegionWords::storefronts(*typed);
  } catch (const CLIError& error) {
    for (const std::string& line : Text::split(error.description, '\n')) faults.add("--countries: " + line);
    return std::nullopt;
  }
}

/// Reads the times of a command, all in one zone.
class Times {
 public:
  Times(const TimeZoneOption& option, const Context& context, Faults& faults)
      : context_(context), refused_(!option.fault.empty()), faults_(faults) {
    faults.add(option.fault);
    if (!refused_) zone_ = option.zone(context);
  }

  std::optional<Moment> read(const std::string& option, const std::optional<std::string>& typed, bool endOfDay) {
    if (!typed) return std::nullopt;
    const bool zoneless = !zone_ && !EventTime::isExact(*typed);
    if (zoneless && !refused_) {
      needZone();
      return std::nullopt;
    }
    EventTime time = EventTime::parse(*typed, zone_.value_or(*TimeZone::named("UTC")), endOfDay);
    if (!time.moment) {
      faults_.add(option + " isn't a time: " + printable(*typed) +
                  (time.problem.empty() ? "" : ", as " + time.problem) +
                  ". It's 2026-11-20 16:00, 2026-11-20 4pm, a day alone (2026-11-20) for its " +
                  (endOfDay ? "end" : "start") + ", or an exact moment (2026-11-20T16:00+01:00).");
    }
    if (zoneless) return std::nullopt; // its form alone could be judged
    if (!time.note.empty()) faults_.notes.push_back(option + ": " + time.note);
    return time.moment;
  }

 private:
  void needZone() {
    if (std::exchange(told_, true)) return;
    auto variable = context_.environment.get("TZ");
    faults_.add("This machine's time zone isn't known" + (variable ? " (TZ is " + printable(*variable) + ")" : "") +
                ": give --time-zone (Europe/Stockholm).");
  }

  const Context& context_;
  std::optional<TimeZone> zone_;
  bool refused_;
  Faults& faults_;
  bool told_ = false;
};

} // namespace

void checkLanguage(const std::string& option, const std::optional<std::string>& typed, Faults& faults) {
  if (!typed) return;
  switch (AppleLocales::standing(*typed)) {
  case AppleLocales::Standing::refused:
    faults.add(option + ": " + printable(*typed) + AppleLocales::refusal(*typed));
    break;
  case AppleLocales::Standing::unknown: {
    std::string doubt = option + ": " + printable(*typed) + AppleLocales::doubt(*typed) + ".";
    (AppleLocales::near(*typed) ? faults.all : faults.notes).push_back(doubt);
    break;
  }
  case AppleLocales::Standing::apples:
    break;
  }
}

void declareEventText(Command& command, const std::string& name, const std::string& value, const std::string& help,
                      std::optional<std::string>& target) {
  command.option(
      {{name}, value, help, [&target](const std::string& given) { target = Text::trimmed(given); }, {}, false});
}

void TimeZoneOption::declare(Command& command) {
  command.option(
      {{"--time-zone"},
       "zone",
       "The time zone of the times: Europe/Stockholm, America/New_York, CET, PST or UTC. Your Mac's to start "
       "with.",
       [this](const std::string& value) {
         given = EventTime::zone(value);
         fault = given ? ""
                       : printable(Text::trimmed(value)) +
                             " isn't a time zone: Europe/Stockholm, America/New_York, CET or UTC.";
       },
       {},
       false});
}

std::optional<TimeZone> TimeZoneOption::zone(const Context& context) const {
  if (!fault.empty()) throw UsageError(fault);
  return given ? given : TimeZone::ofMachine(context.environment.get("TZ"));
}

TimeZone TimeZoneOption::shown(const Context& context) const { return zone(context).value_or(*TimeZone::named("UTC")); }

void EventFieldOptions::declare(Command& command, const std::string& primaryLeftOut) {
  declareEventText(command, "--starts", "time", "When it starts: 2026-11-20 16:00, or 2026-11-20 4pm.", starts);
  declareEventText(command, "--ends", "time",
                   "When it ends, 15 minutes to 31 days after it starts: a time, or a day alone for its end.", ends);
  declareEventText(command, "--promote-from", "time",
                   "When the App Store starts showing it, up to 14 days before it starts. Its start to start with.",
                   promoteFrom);
  timeZone.declare(command);
  declareEventText(command, "--badge", "badge", "The label above its title: " + wordsOf(Events::badges(), ", ") + ".",
                   badge);
  command.options.back().choices = listOf(Events::badges());
  declareEventText(
      command, "--deep-link", "link",
      "Where Open takes users in the app: a universal link (recommended) or the app's own URL. \"\" takes it off.",
      deepLink);
  command.options.back().mayBeEmpty = true;
  declareEventText(command, "--purpose", "purpose",
                   "Who it's for, which the App Store shows it to: " + wordsOf(Events::purposes(), ", ") +
                       ". Everyone to start with.",
                   purpose);
  command.options.back().choices = listOf(Events::purposes());
  declareEventText(command, "--priority", "priority",
                   "high puts it before normal events on the app's page. Normal to start with.", priority);
  command.options.back().choices = listOf(Events::priorities());
  declareEventText(command, "--primary-language", "language",
                   "Its primary language, what users whose language it hasn't see: en-US." + primaryLeftOut,
                   primaryLanguage);
  declareEventText(command, "--countries", "countries",
                   "The countries it shows in, separated by commas: countries (se,no), eu, eur or Apple's regions "
                   "(europe). Every country to start with.",
                   countries);
}

bool EventFieldOptions::any() const {
  return name || anyDate() || badge || deepLink || purpose || priority || primaryLanguage || countries;
}

EventGiven EventFieldOptions::given(const Context& context, Faults& faults) const {
  EventGiven given;
  if (name) faults.add(EventRules::problem("The reference name", *name, EventRules::referenceNameMost));
  given.name = name;
  Times times(timeZone, context, faults);
  given.dates.starts = times.read("--starts", starts, false);
  given.dates.ends = times.read("--ends", ends, true);
  given.dates.promoteFrom = times.read("--promote-from", promoteFrom, false);
  given.badge = wordOf("--badge", Events::badges(), badge, faults);
  if (deepLink && !deepLink->empty()) faults.add(EventRules::linkProblem(*deepLink));
  given.deepLink = deepLink;
  given.purpose = wordOf("--purpose", Events::purposes(), purpose, faults);
  if (priority) given.priority = Events::word(Events::priorities(), *priority);
  if (priority && !given.priority) faults.add("--priority is high or normal.");
  checkLanguage("--primary-language", primaryLanguage, faults);
  given.primaryLocale = primaryLanguage;
  given.regions = countriesOf(countries, faults);
  return given;
}

void EventTextOptions::declare(Command& command) {
  declareEventText(
      command, "--language", "language",
      "The language of its name and descriptions, as App Store Connect writes it. Its primary language when left out.",
      language);
  static constexpr std::array<std::string_view, 3> helps = {
      "Its name on the App Store in --language, up to 30 characters.",
      "What its card says in --language, up to 50 characters.",
      "What its details page says in --language, up to 120 characters."};
  for (std::size_t i = 0; i < helps.size(); ++i) {
    const EventText& text = EventRules::texts.at(i);
    command.option({{std::string(text.option)},
                    "text",
                    std::string(helps.at(i)),
                    [this, &text](const std::string& value) {
                      std::erase_if(texts, [&](const auto& each) { return each.first.option == text.option; });
                      texts.emplace_back(text, Text::trimmed(value));
                    },
                    {},
                    false});
  }
}

bool EventTextOptions::has(std::string_view option) const {
  return std::any_of(texts.begin(), texts.end(), [&](const auto& each) { return each.first.option == option; });
}

void EventTextOptions::check(Faults& faults) const {
  checkLanguage("--language", language, faults);
  for (const auto& [text, value] : texts) {
    faults.add(EventRules::problem(std::string(text.option), value, text.most, text.key != "name"));
  }
}

int windowColumns(const Console& console) { return console.isTerminal(Stream::out) ? console.width() : 0; }

std::string appOption(const AppTarget& app) {
  return app.app ? " --app " + Format::shellWord(printable(*app.app)) : "";
}

void EventTarget::declare(Command& command) {
  command.argument({"event", "The event: its reference name or Apple's ID.",
                    [this](const std::string& value) {
                      event = value;
                      if (Text::trimmed(value).empty()) throw UsageError("The event is empty.");
                    },
                    true});
}

FoundEvent FoundEvent::of(const EventTarget& target, const Context& context) {
  Client client = context.signedIn();
  AppOnPlatform app = AppOnPlatform::resolve(client, target.app, std::nullopt, context);
  auto answer = Events::fetch(client, app.path);
  Event event = Events::named(answer.value, target.event);
  std::string json;
  for (const JSONValue& each : JSONValue::parse(answer.body).at("events").list()) {
    if (each.at("eventId").text() == event.eventId) json = JSONData::copied(each).compact();
  }
  std::string path = app.path + "/events/" + percentEncoded(event.eventId);
  return {std::move(client), std::move(app),  std::move(answer.value), std::move(event),
          std::move(json),   std::move(path), appOption(target.app)};
}

std::string FoundEvent::command(const std::string& word) const {
  return eventCommand(word, called(), event.eventId, ofApp);
}

const std::string& FoundEvent::called() const {
  auto same = [&](const Event& other) { return Text::folded(other.name) == Text::folded(event.name); };
  const bool only = std::count_if(all.begin(), all.end(), same) == 1;
  return only && !event.name.starts_with('-') ? event.name : event.eventId;
}

std::string FoundEvent::refusal(const std::vector<std::string>& parts, const Context& context) const {
  return EventRules::refusal(event, parts, context.clock.now(), command("cancel"));
}

std::string FoundEvent::eventCommand(const std::string& word, const std::string& name, const std::string& eventId,
                                     const std::string& ofApp) {
  const std::string& called = name.starts_with('-') ? eventId : name;
  return "kestu events " + word + " " + Format::shellWord(printable(called)) + ofApp;
}

std::string languageOr(const std::optional<std::string>& named, const std::optional<std::string>& eventPrimary,
                       const AppOnPlatform& app) {
  if (named) return *named;
  if (eventPrimary) return *eventPrimary;
  if (!app.primaryLocale.empty()) return app.primaryLocale;
  throw CLIError(Kind::usage, "Name its language with --language (en-US).");
}

void refuse(const std::string& refusal) {
  if (!refusal.empty()) throw CLIError(Kind::failed, refusal);
}

std::vector<ChangeItem> itemsOf(const EventEdit& edit, const std::string& place) {
  std::vector<ChangeItem> items;
  for (const EventEdit::Value& value : edit.values) items.push_back({place, value.part, value.from, value.to});
  return items;
}

} // namespace kestu
