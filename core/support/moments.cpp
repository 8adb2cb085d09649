#include "core/support/moments.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>

namespace kestu::Moments {

namespace {

/// A moment counts in 64 bits and so does what lies between two, which is why these are less than 292 years apart.
constexpr std::chrono::sys_days earliest = std::chrono::year(1900) / 1 / 1;
constexpr std::chrono::sys_days latest = std::chrono::year(2190) / 1 / 1;

/// Takes exactly `digits` digits off the front.
std::optional<int> take(std::string_view& text, std::size_t digits) {
  if (text.size() < digits) return std::nullopt;
  int value = 0;
  for (char c : text.substr(0, digits)) {
    if (c < '0' || c > '9') return std::nullopt;
    value = value * 10 + (c - '0');
  }
  text.remove_prefix(digits);
  return value;
}

bool skip(std::string_view& text, char c) {
  if (!text.starts_with(c)) return false;
  text.remove_prefix(1);
  return true;
}

std::optional<std::chrono::seconds> zone(std::string_view text) {
  if (text == "Z" || text == "z") return std::chrono::seconds(0);
  int sign = text.starts_with('-') ? -1 : 1;
  if (!skip(text, '+') && !skip(text, '-')) return std::nullopt;
  auto hours = take(text, 2);
  skip(text, ':');
  auto minutes = take(text, 2);
  if (!hours || !minutes || !text.empty() || *hours > 23 || *minutes > 59) return std::nullopt;
  return sign * (std::chrono::hours(*hours) + std::chrono::minutes(*minutes));
}

std::chrono::nanoseconds fraction(std::string_view& text) {
  std::chrono::nanoseconds value{0};
  std::int64_t unit = 100'000'000;
  while (!text.empty() && text.front() >= '0' && text.front() <= '9') {
    value += std::chrono::nanoseconds(unit * (text.front() - '0'));
    unit /= 10;
    text.remove_prefix(1);
  }
  return value;
}

} // namespace

std::optional<Moment> parse(std::string_view text) {
  auto year = take(text, 4);
  if (!year || !skip(text, '-')) return std::nullopt;
  auto month = take(text, 2);
  if (!month || !skip(text, '-')) return std::nullopt;
  auto day = take(text, 2);
  if (!day || !(skip(text, 'T') || skip(text, 't'))) return std::nullopt;
  auto hour = take(text, 2);
  if (!hour || !skip(text, ':')) return std::nullopt;
  auto minute = take(text, 2);
  if (!minute || !skip(text, ':')) return std::nullopt;
  auto second = take(text, 2);
  if (!second) return std::nullopt;
  std::chrono::nanoseconds part{0};
  if (skip(text, '.')) part = fraction(text);
  auto offset = zone(text);
  std::chrono::year_month_day date{std::chrono::year(*year), std::chrono::month(static_cast<unsigned>(*month)),
                                   std::chrono::day(static_cast<unsigned>(*day))};
  if (!offset || !date.ok() || *hour > 23 || *minute > 59 || *second > 60) return std::nullopt;
  auto moment = std::chrono::sys_days(date) + std::chrono::hours(*hour) + std::chrono::minutes(*minute) +
                std::chrono::seconds(*second) - *offset;
  if (moment < earliest) return Moment(earliest);
  if (moment > latest) return Moment(latest);
  return std::chrono::time_point_cast<Moment::duration>(moment + part);
}

std::optional<Moment> parseHTTP(std::string_view text) {
  constexpr std::array<std::string_view, 12> months = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                       "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  if (text.size() != 29 || text[3] != ',') return std::nullopt;
  text.remove_prefix(4);
  if (!skip(text, ' ')) return std::nullopt;
  auto day = take(text, 2);
  auto month = std::find(months.begin(), months.end(), text.substr(1, 3));
  if (!day || month == months.end() || text[0] != ' ' || text[4] != ' ') return std::nullopt;
  text.remove_prefix(5);
  auto year = take(text, 4);
  if (!year || !skip(text, ' ') || !text.ends_with(" GMT")) return std::nullopt;
  text.remove_suffix(4);
  // The rest is as in the other form, which also says whether there is such a day.
  auto number = static_cast<unsigned>(month - months.begin() + 1);
  return parse(fmt::format("{:04}-{:02}-{:02}T{}Z", *year, number, *day, text));
}

std::string iso8601(Moment moment) {
  auto seconds = std::chrono::floor<std::chrono::seconds>(moment);
  auto days = std::chrono::floor<std::chrono::days>(seconds);
  std::chrono::year_month_day date(days);
  std::chrono::hh_mm_ss time(seconds - days);
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}Z", static_cast<int>(date.year()),
                     static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()), time.hours().count(),
                     time.minutes().count(), time.seconds().count());
}

} // namespace kestu::Moments
