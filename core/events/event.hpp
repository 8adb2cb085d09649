#pragma once

#include "core/service/client.hpp"
#include "core/support/clock.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestu {

/// Where an event is on its way to the App Store. `other` is a state that this version doesn't know.
enum class EventState {
  draft,
  readyForReview, ///< goes to App Review with a version
  waitingForReview,
  inReview,
  rejected,
  accepted,
  approved,
  published, ///< on the App Store, which promotes it before it starts
  past,
  archived,
  other,
};

/// A card or a details page.
struct EventMedia {
  std::string fileName;
  bool video = false;
  std::string state; ///< "uploading", "processing", "ready" or "failed"
  std::optional<std::string> error;
  std::optional<std::string> frame; ///< HH:MM:SS:FF

  static EventMedia read(const JSONValue& value);
};

struct EventLanguage {
  std::string locale;
  std::optional<std::string> name, shortDescription, longDescription;
  std::optional<EventMedia> card, details;

  static EventLanguage read(const JSONValue& value);
};

struct EventDates {
  Moment publishStart; ///< from when the App Store shows it
  Moment eventStart, eventEnd;

  bool operator==(const EventDates&) const = default;
  static EventDates read(const JSONValue& value);
};

/// Countries with dates of their own.
struct TerritoryDates {
  std::vector<std::string> storefronts;
  EventDates dates;

  static TerritoryDates read(const JSONValue& value);
};

struct EventSchedule {
  EventDates dates;
  std::vector<TerritoryDates> territories;

  static EventSchedule read(const JSONValue& value);
};

/// An in-app event, as the service has it.
struct Event {
  std::string eventId;
  std::string name; ///< the reference name, which users don't see
  std::string state;
  std::optional<std::string> badge, deepLink;
  std::string purpose, priority;
  std::optional<std::string> primaryLocale;
  std::optional<std::vector<std::string>> regions; ///< none: every country
  std::optional<EventSchedule> schedule;
  std::vector<EventLanguage> languages;
  std::vector<std::string> needs; ///< what App Review still needs, in the service's words

  static Event read(const JSONValue& value);

  EventState stateKind() const;
  const EventLanguage* language(std::string_view locale) const; ///< none when it hasn't that language
  std::string quoted() const;                                   ///< its name in quotation marks; printable
};

/// A value of App Store Connect's: the word that is sent and typed, and what App Store Connect shows for it.
struct EventWord {
  std::string_view word, label;
};

namespace Events {

const std::vector<EventWord>& badges();
const std::vector<EventWord>& purposes();
const std::vector<EventWord>& priorities();

/// The word that was meant: as it is sent or as it is shown, whatever its case, blanks, hyphens and underscores.
std::optional<std::string> word(const std::vector<EventWord>& words, std::string_view typed);

/// What App Store Connect shows for a word; the word itself when this version doesn't know it. Printable.
std::string label(const std::vector<EventWord>& words, const std::string& word);

/// Those of the app with this path ("/v1/apps/123").
Response<std::vector<Event>> fetch(const Client& client, const std::string& appPath);

/// The event of that ID or reference name, case and diacritics ignored where no name is the very same. None and several
/// are CLIErrors.
const Event& named(const std::vector<Event>& events, const std::string& text);

} // namespace Events

} // namespace kestu
