#pragma once

#include "core/support/clock.hpp"

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace kestu {

/// A time zone with its clock changes, past and future.
class TimeZone {
 public:
  /// Of an identifier of the time zone database ("Europe/Stockholm", in any case) or, when it is none, of an
  /// abbreviation ("PST", "cest"), which stands for the zone that it is mostly used in, summer time and all. "UTC+2"
  /// and "GMT-03:30" are zones too. None for any other text.
  static std::optional<TimeZone> named(std::string_view text);

  /// The machine's zone: what TZ names when it is set, UTC when it is empty, else what the system is set to. None when
  /// TZ is no zone's name (a rule, or a mistake), or the system's zone isn't known.
  static std::optional<TimeZone> ofMachine(const std::optional<std::string>& variableTZ);

  const std::string& id() const { return id_; } ///< "Europe/Stockholm"

  /// What clocks show at a moment.
  std::chrono::local_seconds local(Moment moment) const;

  enum class Occurs { once, skipped, repeated };
  struct Meant {
    Moment moment;
    Occurs occurs = Occurs::once;
    Moment other; ///< the later of two moments that clocks show the same time at, else as `moment`
  };

  /// The moment at which clocks show a time: the first where they show it twice; where they skip it, as much after the
  /// change as it is into what they skip.
  Meant at(std::chrono::local_seconds time) const;

 private:
  struct Rules;
  TimeZone(std::string id, std::shared_ptr<const Rules> rules) : id_(std::move(id)), rules_(std::move(rules)) {}
  static std::optional<TimeZone> identified(const std::string& id);

  std::string id_;
  std::shared_ptr<const Rules> rules_;
};

} // namespace kestu
