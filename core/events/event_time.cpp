#include "core/events/event_time.hpp"

#include "core/console/format.hpp"
#include "core/support/moments.hpp"
#include "core/support/text.hpp"
#include "core/support/utf8.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>

namespace kestu {

namespace {

/// What is left of a text while it is taken apart from its front.
class Rest {
 public:
  explicit Rest(std::string_view text) : text_(text) {}

  bool empty() const { return text_.empty(); }

  /// At least `fewest` and at most `most` digits, as many as there are.
  std::optional<int> number(std::size_t fewest, std::size_t most) {
    std::size_t count = 0;
    int value = 0;
    while (count < most && count < text_.size() && text_[count] >= '0' && text_[count] <= '9') {
      value = value * 10 + (text_[count++] - '0');
    }
    if (count < fewest) return std::nullopt;
    text_.remove_prefix(count);
    return value;
  }

  bool take(char c) {
    if (!text_.starts_with(c)) return false;
    text_.remove_prefix(1);
    return true;
  }

  bool takeAnyOf(std::string_view characters, char* taken = nullptr) {
    if (text_.empty() || characters.find(text_.front()) == std::string_view::npos) return false;
    if (taken) *taken = text_.front();
    text_.remove_prefix(1);
    return true;
  }

  bool takeBlanks() {
    const std::size_t before = text_.size();
    while (!text_.empty()) {
      UTF8::Decoded next = UTF8::decode(text_, 0);
      if (next.broken || !UTF8::isWhiteSpace(next.value)) break;
      text_.remove_prefix(next.length);
    }
    return text_.size() < before;
  }

 private:
  std::string_view text_;
};

/// A time in its parts, before it is known whether there is such a one.
struct Written {
  int year = 0, month = 0, day = 0;
  std::optional<int> hour;
  int minute = 0;
  char half = 0; ///< 'a' or 'p'; 0 for an hour of 24
};

/// Whether the rest is nothing, or an hour with what belongs to it, read into `written`.
bool readHour(Rest& rest, Written& written) {
  if (rest.empty()) return true;
  if (!rest.takeBlanks() && !rest.take('T')) return false;
  written.hour = rest.number(1, 2);
  if (!written.hour) return false;
  if (rest.take(':')) {
    auto minute = rest.number(2, 2);
    if (!minute) return false;
    written.minute = *minute;
  }
  rest.takeBlanks();
  if (rest.empty()) return true;
  char half = 0;
  if (!rest.takeAnyOf("aApP", &half)) return false;
  written.half = half == 'p' || half == 'P' ? 'p' : 'a';
  rest.take('.');
  if (!rest.takeAnyOf("mM")) return false;
  rest.take('.');
  return rest.empty();
}

std::optional<Written> readWritten(std::string_view text) {
  Rest rest(text);
  auto year = rest.number(4, 4);
  if (!year || !rest.take('-')) return std::nullopt;
  auto month = rest.number(1, 2);
  if (!month || !rest.take('-')) return std::nullopt;
  auto day = rest.number(1, 2);
  if (!day) return std::nullopt;
  Written written{*year, *month, *day, std::nullopt};
  return readHour(rest, written) ? std::optional(written) : std::nullopt;
}

/// Whether the rest is what may follow an exact moment's minutes: its seconds, and its zone.
bool endsExactly(Rest rest) {
  if (rest.take(':')) {
    if (!rest.number(2, 2)) return false;
    if (rest.take('.')) {
      if (!rest.number(1, 1)) return false;
      while (rest.number(1, 1)) {
      }
    }
  }
  if (rest.take('Z')) return rest.empty();
  if (!rest.takeAnyOf("+-") || !rest.number(2, 2)) return false;
  rest.take(':');
  return rest.number(2, 2) && rest.empty();
}

constexpr std::string_view toTheMinute = "0000-00-00T00:00";

/// Far enough for any event, and within what a moment can hold in any zone.
constexpr int firstYear = 1970, lastYear = 2099;

std::string yearProblem(int year) {
  if (year >= firstYear && year <= lastYear) return "";
  return fmt::format("its year is one from {} to {}", firstYear, lastYear);
}

/// What keeps the parts from being a time; empty when nothing does.
std::string problemOf(const Written& written) {
  using namespace std::chrono;
  year_month_day date{year(written.year), month(static_cast<unsigned>(written.month)),
                      day(static_cast<unsigned>(written.day))};
  if (!date.ok()) {
    return fmt::format("there's no day {:04}-{:02}-{:02}", written.year, written.month, written.day);
  }
  if (written.hour && written.half != 0 && (*written.hour < 1 || *written.hour > 12)) {
    return "with am or pm the hour is one from 1 to 12";
  }
  if (written.hour.value_or(0) > 23) return "its hour is one from 0 to 23";
  if (written.minute > 59) return "its minutes are 00 to 59";
  return yearProblem(written.year);
}

std::chrono::local_seconds localTime(const Written& written, bool endOfDay) {
  using namespace std::chrono;
  local_days date(year(written.year) / written.month / written.day);
  if (!written.hour) return date + (endOfDay ? minutes(24 * 60 - 1) : minutes(0));
  int hour = *written.hour;
  if (written.half != 0) hour = hour % 12 + (written.half == 'p' ? 12 : 0);
  return date + hours(hour) + minutes(written.minute);
}

struct Shown {
  std::string day, clock; ///< "2026-11-20", "16:00"
};

Shown shown(std::chrono::local_seconds time) {
  auto day = std::chrono::floor<std::chrono::days>(time);
  std::chrono::year_month_day date{std::chrono::sys_days(day.time_since_epoch())};
  std::chrono::hh_mm_ss clock(time - day);
  return {fmt::format("{:04}-{:02}-{:02}", int(date.year()), unsigned(date.month()), unsigned(date.day())),
          fmt::format("{:02}:{:02}", clock.hours().count(), clock.minutes().count())};
}

/// The exact moment at which clocks of the zone show the time: "2026-10-25T02:30+01:00".
std::string exactText(std::chrono::local_seconds time, Moment moment) {
  auto offset = time.time_since_epoch() - std::chrono::floor<std::chrono::seconds>(moment).time_since_epoch();
  auto minutes = std::chrono::duration_cast<std::chrono::minutes>(offset).count();
  Shown text = shown(time);
  return fmt::format("{}T{}{}{:02}:{:02}", text.day, text.clock, minutes < 0 ? "-" : "+", std::abs(minutes) / 60,
                     std::abs(minutes) % 60);
}

std::string noteOn(std::chrono::local_seconds time, const TimeZone::Meant& meant, const TimeZone& zone) {
  const Shown text = shown(time);
  const std::string day = Format::day(text.day);
  switch (meant.occurs) {
  case TimeZone::Occurs::once:
    return "";
  case TimeZone::Occurs::skipped:
    return fmt::format("clocks in {} skip {} on {}, when they go forward, so {} is taken.", zone.id(), text.clock, day,
                       shown(zone.local(meant.moment)).clock);
  case TimeZone::Occurs::repeated:
    break;
  }
  return fmt::format("clocks in {} show {} twice on {}; the first is taken. The second is {}.", zone.id(), text.clock,
                     day, exactText(time, meant.other));
}

/// Whether the exact moment has seconds with a part that isn't 0.
bool partOfSecond(std::string_view text) {
  std::size_t point = text.find('.');
  if (point == std::string_view::npos) return false;
  std::string_view part = text.substr(point + 1);
  return part.substr(0, part.find_first_not_of("0123456789")).find_first_not_of('0') != std::string_view::npos;
}

} // namespace

bool EventTime::isExact(std::string_view text) {
  std::string trimmed = Text::trimmed(text);
  auto fits = [](char c, char place) { return place == '0' ? c >= '0' && c <= '9' : c == place; };
  return trimmed.size() > toTheMinute.size() &&
         std::equal(trimmed.begin(), trimmed.begin() + toTheMinute.size(), toTheMinute.begin(), fits) &&
         endsExactly(Rest(std::string_view(trimmed).substr(toTheMinute.size())));
}

EventTime EventTime::parse(std::string_view text, const TimeZone& zone, bool endOfDay) {
  std::string trimmed = Text::trimmed(text);
  if (isExact(trimmed)) {
    if (std::string problem = yearProblem(std::stoi(trimmed.substr(0, 4))); !problem.empty()) {
      return {std::nullopt, problem, ""};
    }
    if (trimmed[toTheMinute.size()] != ':') trimmed.insert(toTheMinute.size(), ":00");
    auto moment = Moments::parse(trimmed);
    if (!moment) return {std::nullopt, "there's no such moment", ""};
    return {moment, "", partOfSecond(trimmed) ? "whole seconds count, so the part of one is left out." : ""};
  }
  auto written = readWritten(trimmed);
  if (!written) return {};
  if (std::string problem = problemOf(*written); !problem.empty()) return {std::nullopt, problem, ""};
  auto time = localTime(*written, endOfDay);
  auto meant = zone.at(time);
  return {meant.moment, "", noteOn(time, meant, zone)};
}

} // namespace kestu
