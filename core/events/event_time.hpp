#pragma once

#include "core/support/clock.hpp"
#include "core/support/time_zone.hpp"

#include <optional>
#include <string>
#include <string_view>

namespace kestu {

/// A time as it is typed, and the exact moment that it is.
struct EventTime {
  std::optional<Moment> moment; ///< none when the text isn't a time
  std::string problem;          ///< then why, as "there's no 30 Feb 2026"; empty when it is in none of the forms
  std::string note;             ///< which moment was taken where clocks show the time never or twice, a whole sentence

  /// The zone that a text names, as TimeZone::named takes it.
  static std::optional<TimeZone> zone(std::string_view text) { return TimeZone::named(text); }

  /// An exact moment (2026-11-20T16:00:00+01:00), in which the zone plays no part; else a time in the zone: a day
  /// (2026-11-20), taken for its last minute with `endOfDay` and else its first, and maybe an hour of 24 or, with am or
  /// pm, of 12 (16, 16:00, 4pm, 4:30 p.m.).
  static EventTime parse(std::string_view text, const TimeZone& zone, bool endOfDay);

  /// Whether the text is an exact moment in form, so that no zone is needed.
  static bool isExact(std::string_view text);
};

} // namespace kestu
