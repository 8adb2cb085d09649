#include "cli/prices/typed_values.hpp"

#include "core/support/error.hpp"
#include "core/support/moments.hpp"

#include <algorithm>
#include <chrono>
#include <string_view>

namespace kestu::TypedValues {

namespace {

[[noreturn]] void refuse(const std::string& message) { throw CLIError(CLIError::Kind::usage, message); }

bool isFigures(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
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

std::optional<std::string> dayFrom(const std::optional<std::string>& from, Moment now) {
  if (!from) return std::nullopt;
  if (*from != "soonest" && !isDay(*from)) refuse("--from is a date, as 2026-12-26, or soonest.");
  // A day that has begun somewhere hasn't passed everywhere.
  std::string yesterday = Moments::iso8601(now - std::chrono::hours(24)).substr(0, 10);
  if (*from < yesterday) {
    refuse("--from is a date that's still to come, as " + Moments::iso8601(now + std::chrono::hours(24)).substr(0, 10) +
           ", or soonest.");
  }
  return from;
}

std::optional<std::string> dayUntil(const std::optional<std::string>& until, const std::optional<std::string>& from,
                                    Moment now) {
  if (!until) return std::nullopt;
  std::string start = from && *from != "soonest" ? *from : Moments::iso8601(now).substr(0, 10);
  if (!isDay(*until) || *until <= start) refuse("--until is a date after --from, as 2026-12-26.");
  return until;
}

} // namespace kestu::TypedValues
