#pragma once

#include "core/changes/store_job.hpp"
#include "core/console/text_style.hpp"
#include "core/pricing/price_landing.hpp"
#include "core/pricing/price_override.hpp"
#include "core/support/decimal.hpp"
#include "core/support/json.hpp"
#include "core/support/json_data.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestu {

/// A storefront that has a price of its own today.
struct OwnPrice {
  std::string storefront, currency;
  Decimal price;
};

/// Today's prices of the app or of a product.
struct StorePrices {
  struct Base {
    std::string storefront, currency;
    Decimal amount;
  };
  struct Storefront {
    std::string storefront, currency;
    std::optional<Decimal> price, match;
    bool own = false, top = false;
  };
  std::optional<std::string> product;
  std::string kind; ///< "app", "subscription", …
  std::optional<Base> base;
  std::vector<Storefront> storefronts;

  static StorePrices read(const JSONValue& value);
  bool isSubscription() const { return kind == "subscription"; }
  const Storefront* find(std::string_view code) const;
  /// Where the price isn't Apple's match today.
  std::vector<OwnPrice> ownPrices() const;
  /// The country whose price is meant where none is named: the United States, the base country of what isn't sold
  /// there.
  std::string meantCountry() const;
  /// What is wrong with a price in a country, or with those of overrides: cents where the currency has none.
  std::vector<std::string> centsFaults(const std::optional<Decimal>& amount, const std::string& country,
                                       const PriceOverrides& overrides) const;
  std::vector<std::string> centsFaults(const PriceOverrides& overrides) const {
    return centsFaults(std::nullopt, "", overrides);
  }
};

/// One storefront of a price change, as its preview has it.
struct PriceChangeLine {
  std::string storefront, currency;
  std::optional<Decimal> now; ///< none where it has no price yet
  Decimal then;
  bool own = false; ///< it gets a price of its own
  bool top = false; ///< one of the top markets

  static PriceChangeLine read(const JSONValue& value);
  /// The preview in a change's details; none where there is none.
  static std::vector<PriceChangeLine> of(const std::optional<JobDetails>& details);
  bool moves() const { return now != then; }
  /// The amount with its currency, for data: "4.99 USD".
  std::string amount(const Decimal& value) const;
};

/// What a price change asks for.
struct PriceChange {
  std::optional<std::string> product;
  std::optional<Decimal> price;
  std::optional<std::string> country; ///< a storefront's code
  std::optional<std::string> from, until;
  std::optional<std::string> derivedFrom;
  std::optional<Decimal> multiplier;
  PriceOverrides overrides;
  bool existingToo = false;
  PriceLanding landing;

  JSONData body() const;
  /// Whether anything at all is asked for.
  bool changesSomething() const;
};

namespace PriceChangeText {

/// Which countries' prices move, within so many columns: those with a price of their own, of the others the top markets
/// unless `all`, and how many there are.
std::string preview(const std::vector<PriceChangeLine>& lines, bool all, const TextStyles& style, int width);

/// The entries that the preview doesn't know: "Keeping today's price: ch, jp".
std::string keeps(const PriceOverrides& overrides);

} // namespace PriceChangeText

} // namespace kestu
