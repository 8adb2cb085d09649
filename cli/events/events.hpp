#pragma once

#include "cli/app_platform.hpp"
#include "cli/context.hpp"
#include "cli/faults.hpp"
#include "cli/options.hpp"
#include "core/events/event.hpp"
#include "core/events/event_edit.hpp"
#include "core/events/event_media.hpp"
#include "core/support/time_zone.hpp"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kestu {

/// The zone of the times that are typed and shown.
struct TimeZoneOption {
  std::optional<TimeZone> given;
  std::string fault; ///< why what was typed is none; empty otherwise

  void declare(Command& command);

  /// The one given, else the machine's; none when that isn't known. A UsageError when what was typed is none.
  std::optional<TimeZone> zone(const Context& context) const;

  /// The same to show times in, UTC where none is known.
  TimeZone shown(const Context& context) const;
};

/// The options of an event's own values, as they were typed.
struct EventFieldOptions {
  std::optional<std::string> name, starts, ends, promoteFrom, badge, deepLink, purpose, priority, primaryLanguage,
      countries;
  TimeZoneOption timeZone;

  /// `primaryLeftOut` says what the primary language is when it isn't given.
  void declare(Command& command, const std::string& primaryLeftOut);
  bool any() const;
  bool anyDate() const { return starts || ends || promoteFrom; }

  /// What they mean.
  EventGiven given(const Context& context, Faults& faults) const;
};

/// The options of a language's texts.
struct EventTextOptions {
  std::optional<std::string> language;
  std::vector<std::pair<EventText, std::string>> texts;

  void declare(Command& command);
  bool has(std::string_view option) const;
  void check(Faults& faults) const;
};

/// The event that a command is about.
struct EventTarget {
  std::string event;
  AppTarget app;

  void declare(Command& command);
};

/// An event found, and all that a change of it needs.
struct FoundEvent {
  Client client;
  AppOnPlatform app;
  std::vector<Event> all; ///< of the app
  Event event;
  std::string json;  ///< the event as the service gave it
  std::string path;  ///< of its calls
  std::string ofApp; ///< the app as it was given, as an option of another command line; empty when it wasn't

  static FoundEvent of(const EventTarget& target, const Context& context);

  std::string about() const { return event.quoted() + " of " + app.appTitle(); }
  /// Another command line about the event; by its ID where its name isn't its alone.
  std::string command(const std::string& word) const;
  /// What it is called there; not quoted.
  const std::string& called() const;
  /// Why those parts of it can't change now; empty when they can.
  std::string refusal(const std::vector<std::string>& parts, const Context& context) const;
  /// By its ID where its name would be taken for an option.
  static std::string eventCommand(const std::string& word, const std::string& name, const std::string& eventId,
                                  const std::string& ofApp);
};

/// To fold in; 0 elsewhere than at a terminal, where lines stand whole.
int windowColumns(const Console& console);

/// " --app …" as it was given.
std::string appOption(const AppTarget& app);

/// The one that a command works on when none is named: the event's primary language, else the app's. A CLIError of kind
/// usage where neither is known.
std::string languageOr(const std::optional<std::string>& named, const std::optional<std::string>& eventPrimary,
                       const AppOnPlatform& app);

/// The language typed with an option, where it can be one; a fault else.
void checkLanguage(const std::string& option, const std::optional<std::string>& typed, Faults& faults);

/// An option whose text is kept without blanks around it.
void declareEventText(Command& command, const std::string& name, const std::string& value, const std::string& help,
                      std::optional<std::string>& target);

/// Throws the refusal as a CLIError unless it is empty.
void refuse(const std::string& refusal);

/// What changes, as data, of the event called so, or of one of its languages.
std::vector<ChangeItem> itemsOf(const EventEdit& edit, const std::string& place);

/// Reserves, sends with progress and commits. What it leaves when it ends early is said as `left`.
std::string uploadEventMedia(Context& context, const Client& client, const std::string& languagePath,
                             const EventMediaFile& file, const std::string& left);

void addEventsCreate(Command& group);
void addEventsSet(Command& group);
void addEventsLocalize(Command& group);
void addEventsMedia(Command& group);
void addEventsReview(Command& group);

} // namespace kestu
