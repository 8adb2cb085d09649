#include "core/console/format.hpp"
#include "core/events/event_time.hpp"
#include "core/support/moments.hpp"
#include "core/support/text.hpp"
#include "tests/fuzz/targets.hpp"

#include <array>
#include <cstdlib>

namespace kestu::fuzz {

namespace {

using namespace std::chrono;

int figures(const std::string& text, std::size_t at, std::size_t count) { return std::stoi(text.substr(at, count)); }

/// An exact moment by its own figures: "2026-11-20T16:00:00.5+01:00".
sys_seconds exactly(const std::string& text) {
  year_month_day date{year(figures(text, 0, 4)), month(static_cast<unsigned>(figures(text, 5, 2))),
                      day(static_cast<unsigned>(figures(text, 8, 2)))};
  sys_seconds time = sys_days(date) + hours(figures(text, 11, 2)) + minutes(figures(text, 14, 2));
  if (text[16] == ':') time += seconds(figures(text, 17, 2));
  std::size_t sign = text.find_first_of("+-", 16);
  if (sign == std::string::npos) return time;
  minutes off = hours(figures(text, sign + 1, 2)) + minutes(figures(text, text.size() - 2, 2));
  return text[sign] == '+' ? time - off : time + off;
}

void zoned(std::string_view text, const TimeZone& zone, bool endOfDay, const EventTime& time) {
  auto local = zone.local(*time.moment);
  auto meant = zone.at(local);
  require(meant.occurs != TimeZone::Occurs::skipped, "clocks show what was taken");
  require(meant.moment == *time.moment || meant.other == *time.moment, "a moment is the one that clocks show");
  auto day = floor<days>(local);
  bool alone = Text::trimmed(text).find_first_of(" \t\v\f\r\nT:") == std::string::npos && text.size() <= 10;
  bool plain = alone && time.note.empty();
  if (plain) require(local == day + (endOfDay ? minutes(24 * 60 - 1) : minutes(0)), "a day begins or ends");
}

/// As an answer's headers have it, but for the day of the week.
std::string inHeaders(Moment moment) {
  constexpr std::array months = {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  std::string text = Moments::iso8601(moment); // 2026-11-21T12:00:00Z
  return text.substr(8, 2) + " " + months.at(static_cast<std::size_t>(figures(text, 5, 2) - 1)) + " " +
         text.substr(0, 4) + " " + text.substr(11, 8) + " GMT";
}

void header(std::string_view text) {
  auto moment = Moments::parseHTTP(text);
  if (moment) {
    int year = figures(Moments::iso8601(*moment), 0, 4);
    bool moved = year <= 1900 || year >= 2190 || text.find(":60 ") != std::string_view::npos; // as parse() says
    require(moved || text.ends_with(", " + inHeaders(*moment)), "a header's moment is the one that it says");
  }
  auto typed = Moments::parse(text);
  if (!typed) return;
  require(Moments::parseHTTP("Sat, " + inHeaders(*typed)) == floor<seconds>(*typed), "a header's moment is read");
}

} // namespace

/// A time typed is a moment, a reason why it is none, or in no form at all; and the moment is the one that it says.
void eventTimes(std::string_view bytes) {
  static const std::array zones = {*TimeZone::named("UTC"), *TimeZone::named("Europe/Stockholm"),
                                   *TimeZone::named("America/St_Johns"), *TimeZone::named("Australia/Lord_Howe"),
                                   *TimeZone::named("Pacific/Apia")};
  Input input(bytes);
  unsigned choice = input.byte();
  const TimeZone& zone = zones[choice / 2 % zones.size()];
  std::string_view text = input.rest();
  EventTime time = EventTime::parse(text, zone, choice % 2 == 1);
  require(!time.moment || time.problem.empty(), "a moment has no problem");
  require(time.note.empty() || time.moment, "a note is on a moment");
  requirePrintable(time.problem + time.note, "what is said of a time");
  if (EventTime::isExact(text)) {
    require(time.moment || !time.problem.empty(), "an exact moment is taken or told why not");
    auto other = EventTime::parse(text, zones[0], choice % 2 == 0);
    require(other.moment == time.moment && other.note == time.note, "a zone plays no part in an exact moment");
    std::string trimmed = Text::trimmed(text);
    if (time.moment) require(floor<seconds>(*time.moment) == exactly(trimmed), "it is the moment that was typed");
  } else if (time.moment) {
    zoned(text, zone, choice % 2 == 1, time);
  }
  header(text);
  for (const auto& moment : {Moments::parse(text), time.moment}) {
    if (!moment) continue;
    require(Moments::parse(Moments::iso8601(*moment)) == floor<seconds>(*moment), "a moment is written and read");
    for (const std::string& shown : {Format::moment(*moment, *Moments::parse("2026-11-21T12:00:00Z")),
                                     Format::ago(*moment, *Moments::parse("2026-11-21T12:00:00Z")),
                                     Format::until(*moment, *Moments::parse("2026-11-21T12:00:00Z"))}) {
      require(!shown.empty(), "a moment has words");
    }
  }
  if (auto named = TimeZone::named(text)) require(TimeZone::named(named->id()).has_value(), "a zone's ID names it");
  requirePrintable(Format::day(text) == text ? "" : Format::day(text), "a day");
}

} // namespace kestu::fuzz
