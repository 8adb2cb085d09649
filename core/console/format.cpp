#include "core/console/format.hpp"

#include "core/support/json.hpp"
#include "core/support/json_data.hpp"
#include "core/support/text.hpp"

#include <fmt/format.h>
#include <unicode/locid.h>
#include <unicode/numberformatter.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

#include <time.h>

namespace kestu::Format {

namespace {

constexpr std::array months = {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

std::string counted(std::int64_t count, std::string_view unit) {
  return fmt::format("{} {}{}", count, unit, count == 1 ? "" : "s");
}

struct LocalTime {
  std::chrono::sys_days day; ///< as a number of days, whatever the zone
  int hour;
  int minute;
};

LocalTime localTime(Moment moment) {
  using namespace std::chrono;
  time_t time = system_clock::to_time_t(floor<std::chrono::seconds>(moment));
  tm local{};
  localtime_r(&time, &local);
  auto date = year(local.tm_year + 1900) / (local.tm_mon + 1) / local.tm_mday;
  return {sys_days(date), local.tm_hour, local.tm_min};
}

std::string dayText(std::chrono::year_month_day date, bool withYear) {
  std::string text = fmt::format("{} {}", unsigned(date.day()), months.at(unsigned(date.month()) - 1));
  return withYear ? fmt::format("{} {}", text, int(date.year())) : text;
}

/// The year is left out where nobody would take the day for one of another year.
std::string dayText(std::chrono::sys_days date, std::chrono::sys_days today) {
  std::chrono::year_month_day parts(date);
  bool sameYear = parts.year() == std::chrono::year_month_day(today).year();
  return dayText(parts, !sameYear && std::chrono::abs(date - today) >= std::chrono::days(183));
}

} // namespace

const std::string& userLocale() {
  static const std::string locale = [] {
    const icu::Locale& given = icu::Locale::getDefault();
    std::string_view language = given.getLanguage();
    bool none = language.empty() || language == "c" || std::string_view(given.getVariant()) == "POSIX";
    return std::string(none ? "en_US" : given.getName());
  }();
  return locale;
}

std::string number(std::int64_t value) {
  static const icu::number::LocalizedNumberFormatter formatter =
      icu::number::NumberFormatter::withLocale(icu::Locale(userLocale().c_str()))
          .precision(icu::number::Precision::integer());
  UErrorCode status = U_ZERO_ERROR;
  icu::UnicodeString text = formatter.formatInt(value, status).toString(status);
  if (U_FAILURE(status)) return std::to_string(value);
  std::string result;
  return text.toUTF8String(result);
}

std::string bytes(std::uint64_t count) {
  auto kibibytes = static_cast<double>(count) / 1024;
  double mebibytes = kibibytes / 1024;
  if (mebibytes >= 1024) return fmt::format("{:.1f} GB", mebibytes / 1024);
  if (mebibytes >= 1) return number(std::llround(mebibytes)) + " MB";
  return number(std::llround(kibibytes)) + " KB";
}

std::string percent(double value) {
  double tenths = std::round(value * 10);
  if (tenths == 0) return "0%"; // never "-0%"
  return fmt::format("{:.{}f}%", tenths / 10, std::fmod(tenths, 10) == 0 ? 0 : 1);
}

std::string minutes(std::int64_t count) {
  std::int64_t hours = count / 60;
  if (hours < 1) return counted(count, "minute");
  if (hours < 48) return count % 60 == 0 ? counted(hours, "hour") : fmt::format("{} h {} min", hours, count % 60);
  std::string days = counted(hours / 24, "day");
  return hours % 24 == 0 ? days : fmt::format("{} {} h", days, hours % 24);
}

std::string seconds(std::int64_t count) {
  if (count < 60) return counted(count, "second");
  if (count >= 3600 || count % 60 == 0) return minutes(count / 60);
  return fmt::format("{} min {} s", count / 60, count % 60);
}

std::string moment(Moment date, Moment now) {
  // As late as moments go, which stands for any that is later.
  if (date >= std::chrono::sys_days(std::chrono::year(2190) / 1 / 1)) return "2190 or later";
  LocalTime local = localTime(date);
  LocalTime current = localTime(now);
  std::string clock = fmt::format("{}:{:02}", local.hour, local.minute);
  switch ((local.day - current.day).count()) {
  case 0:
    return clock;
  case 1:
    return "tomorrow, " + clock;
  case -1:
    return "yesterday, " + clock;
  default:
    return dayText(local.day, current.day) + ", " + clock;
  }
}

std::string ago(Moment date, Moment now) {
  auto passed = std::chrono::floor<std::chrono::minutes>(now - date).count();
  if (passed < 1) return "just now";
  if (passed < 60) return counted(passed, "minute") + " ago";
  if (passed < 24 * 60) return counted(passed / 60, "hour") + " ago";
  if (passed < 30 * 24 * 60) return counted(passed / (24 * 60), "day") + " ago";
  return dayText(localTime(date).day, localTime(now).day);
}

std::string until(Moment date, Moment now) {
  auto left = std::chrono::floor<std::chrono::minutes>(date - now).count();
  if (left < 1) return "now";
  if (left < 60) return "in " + counted(left, "minute");
  if (left < 24 * 60) return "in " + counted(left / 60, "hour");
  return "in " + counted(left / (24 * 60), "day");
}

std::string day(std::string_view text) {
  auto isDigit = [](char byte) { return byte >= '0' && byte <= '9'; };
  constexpr std::string_view form = "0000-00-00";
  auto fits = [&](char byte, char place) { return place == '0' ? isDigit(byte) : byte == place; };
  if (!std::equal(text.begin(), text.end(), form.begin(), form.end(), fits)) return std::string(text);
  auto part = [&](std::size_t start, std::size_t length) {
    return std::atoi(std::string(text.substr(start, length)).c_str());
  };
  auto date = std::chrono::year(part(0, 4)) / part(5, 2) / part(8, 2);
  return date.ok() ? dayText(date, true) : std::string(text);
}

std::string shellWord(std::string_view text) {
  auto isPlain = [](char byte) {
    return (byte >= '0' && byte <= '9') || (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
           std::string_view("_-./:@%+,").find(byte) != std::string_view::npos;
  };
  if (!text.empty() && std::all_of(text.begin(), text.end(), isPlain)) return std::string(text);
  return "'" + Text::joined(Text::split(text, '\''), "'\\''") + "'";
}

std::string json(std::string_view body, const std::vector<std::string>& without) {
  JSONData answer = JSONData::copied(JSONValue::parse(body));
  for (const std::string& key : without) answer.erase(key);
  return answer.pretty();
}

} // namespace kestu::Format
