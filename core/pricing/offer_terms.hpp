#pragma once

#include "core/support/decimal.hpp"
#include "core/support/json.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestu {

/// What a subscription's offer is, but for its prices; in the service's words, which may be newer than this program.
struct OfferTerms {
  std::string mode;         ///< "freetrial", "payasyougo" or "payupfront"
  std::string duration;     ///< of a period: "oneweek", "onemonth", …
  std::int64_t periods = 1; ///< more than one only of pay as you go

  static OfferTerms read(const JSONValue& value);
  bool isFree() const { return mode == "freetrial"; }
  bool isPayAsYouGo() const { return mode == "payasyougo"; }
  bool operator==(const OfferTerms&) const = default;
};

namespace Offers {

/// The words of a command line: "free", "pay-as-you-go", "pay-up-front"; "3d", "1w", …, "1y".
const std::vector<std::string>& modeWords();
const std::vector<std::string>& durationWords();

/// What was typed in the service's words; none for any other text. A duration may be another name of the same time
/// ("7d", "1 week", "12 months").
std::optional<std::string> modeTyped(std::string_view typed);
std::optional<std::string> durationTyped(std::string_view typed);

/// What App Store Connect doesn't take of a mode, whole sentences: its durations, and how many periods.
std::vector<std::string> faults(const std::string& mode, const std::optional<std::string>& duration,
                                const std::optional<std::int64_t>& periods);

/// What it doesn't take of pay as you go for a subscription of that period; empty for nothing.
std::string faultFor(const OfferTerms& terms, const std::string& period);

/// What the time of such an offer costs without it, of the price of a period; none where the time isn't whole periods.
/// Pay as you go is compared period by period.
std::optional<Decimal> regular(const std::optional<Decimal>& price, const OfferTerms& terms, std::string_view period);

} // namespace Offers

namespace Format {

/// "free trial", "pay as you go"; a mode that isn't known as it is.
std::string offerMode(std::string_view mode);

/// So many periods as one time: "3 weeks", "1 year".
std::string offerLength(std::string_view duration, std::int64_t periods = 1);

/// How often a subscription of that period is renewed: "every month", "every 2 months".
std::string renewal(std::string_view period);

/// "1 week free", "pay as you go for 3 months", "pay up front for 6 months".
std::string introTerms(const OfferTerms& terms);

/// With the price in a country: "$1.99 a month for 3 months", "$9.99 for 6 months", "1 week free".
std::string introTerms(const OfferTerms& terms, const std::optional<Decimal>& price, std::string_view currency);

} // namespace Format

} // namespace kestu
