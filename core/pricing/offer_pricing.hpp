#pragma once

#include "core/pricing/price_landing.hpp"
#include "core/pricing/price_override.hpp"
#include "core/support/decimal.hpp"
#include "core/support/json_data.hpp"

#include <optional>
#include <string>
#include <vector>

namespace kestu {

/// What an offer costs where: one price that Apple matches elsewhere, or a percentage off each country's own price, and
/// the countries that are otherwise. All of it empty for an offer that is free everywhere.
struct OfferPricing {
  std::optional<Decimal> price;
  std::optional<Decimal> discount;    ///< a percentage off
  std::optional<std::string> country; ///< whose price it is, a storefront's code
  std::vector<std::string> countries; ///< the only ones it is for; empty: every country
  PriceOverrides overrides;           ///< "keep": left as it is, without the offer
  PriceLanding landing;

  /// Puts another source's overrides below these, as far as they are of these countries.
  void underlay(const PriceOverrides& others);
  bool reaches(const std::string& storefront) const;

  /// What of it contradicts itself, whole sentences: overrides beside a discount, or of countries that it isn't for.
  std::vector<std::string> faults() const;

  /// Into a request's body.
  void addTo(JSONData& body) const;
};

} // namespace kestu
