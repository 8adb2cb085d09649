#pragma once

#include "core/events/event.hpp"
#include "core/events/event_rules.hpp"
#include "core/support/json_data.hpp"
#include "core/support/time_zone.hpp"

#include <optional>
#include <string>
#include <vector>

namespace kestu {

/// What is given of an event; the rest stays as it is.
struct EventGiven {
  std::optional<std::string> name, badge, deepLink, purpose, priority, primaryLocale;
  std::optional<std::vector<std::string>> regions;
  EventDatesGiven dates;
};

/// What a change of an event, or of one of its languages, changes.
struct EventEdit {
  struct Value {
    std::string part;                    ///< "badge", "end"
    std::optional<std::string> from, to; ///< as the service has it
    std::string fromText, toText;        ///< for people; printable
  };
  JSONData body = JSONData::object(); ///< the request
  std::vector<Value> values;          ///< those that differ alone

  bool empty() const { return values.empty(); }
  std::vector<std::string> parts() const;

  /// "  badge  Challenge → Live Event", a line each; without what was before where nothing was. Folds in so
  /// many columns, 0 for any.
  std::string lines(int width) const;

  /// Times as clocks in the zone show them.
  static EventEdit between(const Event& event, const EventGiven& given, const TimeZone& zone, Moment now);

  /// The texts given, by the service's keys, against those of a language, or of none.
  static EventEdit between(const EventLanguage* language, const std::vector<std::pair<EventText, std::string>>& given);

 private:
  void add(const std::string& key, Value value);
};

/// A schedule as it is sent.
JSONData scheduleData(const EventDates& dates);

} // namespace kestu
