#pragma once

#include "core/console/text_style.hpp"
#include "core/support/decimal.hpp"
#include "core/support/json.hpp"

#include <optional>
#include <string>
#include <vector>

namespace kestu {

/// What an offer costs in a country; 0 where it is free.
struct OfferPrice {
  std::string storefront, currency;
  Decimal price;
  std::optional<Decimal> regular; ///< what the same is without the offer; none where that can't be said
  bool listed = false;            ///< one of the top markets, or of its own

  static OfferPrice read(const JSONValue& value);
  std::string amount() const; ///< for data: "4.99"
};

namespace OfferPrices {

/// A line a country, of many only those to list unless `all`, and how many there are beside them.
std::string text(const std::vector<OfferPrice>& prices, bool all, const TextStyles& style, int width);

} // namespace OfferPrices

} // namespace kestu
