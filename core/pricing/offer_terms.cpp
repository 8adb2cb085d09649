#include "core/pricing/offer_terms.hpp"

#include "core/console/format.hpp"
#include "core/console/format_money.hpp"
#include "core/console/printable.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <system_error>
#include <tuple>
#include <utility>

namespace kestu {

namespace {

struct Mode {
  std::string_view raw, word, label;
};

constexpr std::array<Mode, 3> modes = {{
    {"freetrial", "free", "free trial"},
    {"payasyougo", "pay-as-you-go", "pay as you go"},
    {"payupfront", "pay-up-front", "pay up front"},
}};

struct Duration {
  std::string_view raw, word;
  int count;
  std::string_view unit;
  int mostPeriods; ///< of pay as you go, where it is a subscription's period; 0 where it is none
};

constexpr std::array<Duration, 8> durations = {{
    {"threedays", "3d", 3, "day", 0},
    {"oneweek", "1w", 1, "week", 12},
    {"twoweeks", "2w", 2, "week", 0},
    {"onemonth", "1m", 1, "month", 12},
    {"twomonths", "2m", 2, "month", 6},
    {"threemonths", "3m", 3, "month", 4},
    {"sixmonths", "6m", 6, "month", 2},
    {"oneyear", "1y", 1, "year", 1},
}};

const Mode* modeOf(std::string_view raw) {
  const auto* found = std::find_if(modes.begin(), modes.end(), [&](const Mode& each) { return each.raw == raw; });
  return found == modes.end() ? nullptr : found;
}

const Duration* durationOf(std::string_view raw) {
  const auto* found =
      std::find_if(durations.begin(), durations.end(), [&](const Duration& each) { return each.raw == raw; });
  return found == durations.end() ? nullptr : found;
}

/// "d", "day" and "days" are "day".
std::string_view unitOf(std::string_view typed) {
  for (std::string_view unit : {"day", "week", "month", "year"}) {
    if (typed == unit.substr(0, 1) || typed == unit || typed == std::string(unit) + "s") return unit;
  }
  return "";
}

bool paidUpFront(const Duration& duration) { return duration.unit == "month" || duration.unit == "year"; }

std::vector<std::string> wordsOf(bool upFront) {
  std::vector<std::string> words;
  for (const Duration& each : durations) {
    if (!upFront || paidUpFront(each)) words.emplace_back(each.word);
  }
  return words;
}

/// 0 for days and weeks.
int monthsIn(const Duration& duration) {
  return duration.unit == "year" ? 12 * duration.count : duration.unit == "month" ? duration.count : 0;
}

/// "a month", "every 2 months".
std::string everyPeriod(const Duration& duration) {
  if (duration.count == 1) return "a " + std::string(duration.unit);
  return "every " + std::to_string(duration.count) + " " + std::string(duration.unit) + "s";
}

} // namespace

OfferTerms OfferTerms::read(const JSONValue& value) {
  return {value.at("mode").text(), value.at("duration").text(), value.find("periods", &JSONValue::integer).value_or(1)};
}

const std::vector<std::string>& Offers::modeWords() {
  static const std::vector<std::string> words = [] {
    std::vector<std::string> all;
    for (const Mode& each : modes) all.emplace_back(each.word);
    return all;
  }();
  return words;
}

const std::vector<std::string>& Offers::durationWords() {
  static const std::vector<std::string> words = wordsOf(false);
  return words;
}

std::optional<std::string> Offers::modeTyped(std::string_view typed) {
  std::string word = Text::lowercased(Text::trimmed(typed));
  for (const Mode& each : modes) {
    if (word == each.word || word == each.raw || word == each.label) return std::string(each.raw);
  }
  return std::nullopt;
}

std::optional<std::string> Offers::durationTyped(std::string_view typed) {
  std::string word = Text::lowercased(Text::trimmed(typed));
  int count = 0;
  const char* end = word.data() + word.size();
  auto [at, error] = std::from_chars(word.data(), end, count);
  if (error != std::errc()) return std::nullopt;
  std::string_view unit = unitOf(Text::trimmed(std::string_view(at, static_cast<std::size_t>(end - at))));
  if (unit == "day" && count % 7 == 0) std::tie(count, unit) = std::pair(count / 7, std::string_view("week"));
  if (unit == "month" && count == 12) std::tie(count, unit) = std::pair(1, std::string_view("year"));
  for (const Duration& each : durations) {
    if (each.count == count && each.unit == unit) return std::string(each.raw);
  }
  return std::nullopt;
}

std::vector<std::string> Offers::faults(const std::string& mode, const std::optional<std::string>& duration,
                                        const std::optional<std::int64_t>& periods) {
  std::vector<std::string> wrong;
  if (mode == "payasyougo") {
    if (!periods) wrong.emplace_back("Pay as you go says how many periods with --periods.");
    return wrong;
  }
  std::string label = Format::offerMode(mode);
  label.front() = label.front() == 'f' ? 'F' : 'P';
  if (periods.value_or(1) != 1) wrong.push_back(label + " is one time, so --periods goes with pay-as-you-go alone.");
  std::string takes = Text::orList(wordsOf(mode == "payupfront"));
  if (!duration) {
    wrong.push_back(label + " says how long with --duration: " + takes + ".");
  } else if (const Duration* known = durationOf(*duration); mode == "payupfront" && known && !paidUpFront(*known)) {
    wrong.push_back(label + " is for " + takes + ", not " + std::string(known->word) + ".");
  }
  return wrong;
}

std::string Offers::faultFor(const OfferTerms& terms, const std::string& period) {
  if (!terms.isPayAsYouGo()) return "";
  const Duration* its = durationOf(period);
  if (terms.duration != period) {
    return "Pay as you go is by the subscription's period, " + Format::offerLength(period) + ": leave --duration out.";
  }
  if (!its || its->mostPeriods == 0 || (terms.periods >= 1 && terms.periods <= its->mostPeriods)) return "";
  return "A subscription of " + Format::offerLength(period) + " takes " +
         (its->mostPeriods == 1 ? "1 period" : "1 to " + std::to_string(its->mostPeriods) + " periods") + ", not " +
         std::to_string(terms.periods) + ".";
}

std::optional<Decimal> Offers::regular(const std::optional<Decimal>& price, const OfferTerms& terms,
                                       std::string_view period) {
  if (!price || terms.isPayAsYouGo()) return price;
  const Duration* whole = durationOf(terms.duration);
  const Duration* part = durationOf(period);
  if (!whole || !part) return std::nullopt;
  auto [months, monthsOfPart] = std::pair(monthsIn(*whole), monthsIn(*part));
  if (months == 0 || monthsOfPart == 0 || months % monthsOfPart != 0) return std::nullopt;
  return *price * Decimal::of(months / monthsOfPart);
}

std::string Format::renewal(std::string_view period) {
  const Duration* known = durationOf(period);
  if (!known || known->count != 1) return "every " + offerLength(period);
  return "every " + std::string(known->unit);
}

std::string Format::offerMode(std::string_view mode) {
  const Mode* known = modeOf(mode);
  return known ? std::string(known->label) : printable(mode);
}

std::string Format::offerLength(std::string_view duration, std::int64_t periods) {
  const Duration* known = durationOf(duration);
  if (!known) return (periods == 1 ? "" : Format::number(periods) + " × ") + printable(duration);
  std::int64_t count = known->count * periods;
  return Format::number(count) + " " + std::string(known->unit) + (count == 1 ? "" : "s");
}

std::string Format::introTerms(const OfferTerms& terms) {
  std::string length = offerLength(terms.duration, terms.periods);
  return terms.isFree() ? length + " free" : offerMode(terms.mode) + " for " + length;
}

std::string Format::introTerms(const OfferTerms& terms, const std::optional<Decimal>& price,
                               std::string_view currency) {
  const Duration* known = durationOf(terms.duration);
  if (terms.isFree() || !price || !known || !modeOf(terms.mode)) return introTerms(terms);
  return money(*price, currency) + (terms.isPayAsYouGo() ? " " + everyPeriod(*known) : "") + " for " +
         offerLength(terms.duration, terms.periods);
}

} // namespace kestu
