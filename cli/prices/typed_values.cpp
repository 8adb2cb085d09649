#include "cli/prices/typed_values.hpp"

#include "cli/context.hpp"
#include "core/support/error.hpp"
#include "core/support/moments.hpp"
#include "core/support/time_zone.hpp"

#include <algorithm>
#include <chrono>
#include <string_view>

namespace kestu::TypedValues {

namespace {

[[noreturn]] void refuse(const std::string& message) { throw CLIError(CLIError::Kind::usage, message); }

bool isFigures(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

std::string startOf(const std::optional<std::string>& from, const std::string& today) {
  return from && *from != "soonest" ? *from : today;
}

} // namespace

std::optional<Decimal> plainNumber(const std::string& text, std::size_t mostDecimals) {
  std::size_t point = std::min(text.find('.'), text.size());
  bool whole = isFigures(std::string_view(text).substr(0, point));
  std::string_view rest = std::string_view(text).substr(std::min(point + 1, text.size()));
  if (!whole || (point < text.size() && (!isFigures(rest) || rest.size() > mostDecimals))) return std::nullopt;
  return Decimal::parse(text);
}

bool isDay(const std::string& text) {
  constexpr std::string_view form = "0000-00-00";
  if (text.size() != form.size()) return false;
  for (std::size_t i = 0; i < form.size(); ++i) {
    if (form[i] == '-' ? text[i] != '-' : !isFigures(text.substr(i, 1))) return false;
  }
  return Moments::parse(text + "T00:00:00Z").has_value();
}

std::string today(const Context& context) {
  auto zone = TimeZone::ofMachine(context.environment.get("TZ"));
  std::chrono::local_seconds local = zone.value_or(*TimeZone::named("UTC")).local(context.clock.now());
  return Moments::iso8601(Moment(local.time_since_epoch())).substr(0, 10);
}

std::optional<std::string> dayFrom(const std::optional<std::string>& from, const std::string& today) {
  if (!from) return std::nullopt;
  if (*from != "soonest" && !isDay(*from)) refuse("--from is a date, as 2026-12-26, or soonest.");
  if (*from < today) refuse("--from is today or a date to come, as " + today + ", or soonest.");
  return from;
}

std::optional<std::string> dayUntil(const std::optional<std::string>& until, const std::optional<std::string>& from,
                                    const std::string& today) {
  if (until && (!isDay(*until) || *until <= startOf(from, today))) {
    refuse("--until is a date after --from, as 2026-12-26.");
  }
  return until;
}

std::optional<std::string> lastDay(const std::optional<std::string>& until, const std::optional<std::string>& from,
                                   const std::string& today) {
  if (until && (!isDay(*until) || *until < startOf(from, today))) {
    refuse("--until is the last day, a date not before --from: 2026-12-26.");
  }
  return until;
}

} // namespace kestu::TypedValues
