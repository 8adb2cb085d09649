#pragma once

#include "core/pricing/region_words.hpp"
#include "core/support/decimal.hpp"
#include "core/support/json_data.hpp"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace kestu {

/// What one country's price is to be instead of Apple's match.
struct PriceOverride {
  enum class Kind { price, steps, percent, keep };
  static constexpr int mostOff = 90;   ///< a percentage is at least -90%
  static constexpr int mostOn = 300;   ///< and at most +300%
  static constexpr int mostSteps = 50; ///< either way

  Kind kind = Kind::keep;
  Decimal amount; ///< the price, the percentage or the steps, with its sign

  static PriceOverride keep() { return {}; }
  static PriceOverride percent(std::int64_t off) { return {Kind::percent, Decimal::of(off)}; }

  /// "59", "4.99", "+2", "-2", "-10%" or "keep"; throws a CLIError of kind usage with the reason alone, and one with an
  /// empty reason for a text that is none of the forms.
  static PriceOverride parse(std::string_view text);

  std::string text() const; ///< as it is typed
  JSONData json(std::string_view storefront) const;
  bool operator==(const PriceOverride&) const = default;
};

/// By storefront.
using PriceOverrides = std::map<std::string, PriceOverride, std::less<>>;

namespace PriceOverriding {

/// What --override ("se=59", "eu=-10%") and --keep ("se,no") say. A CLIError of kind usage tells of all that is wrong,
/// also of a country that is named twice.
PriceOverrides given(const std::vector<std::string>& overrides, const std::vector<std::string>& keeps);

/// Refuses an exact price for countries of several currencies.
void requireOneCurrency(const RegionWord& region, const PriceOverride& price);

} // namespace PriceOverriding

} // namespace kestu
