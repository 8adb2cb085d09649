#pragma once

#include "core/console/table.hpp"
#include "core/console/text_style.hpp"
#include "core/support/decimal.hpp"
#include "core/support/json.hpp"

#include <optional>
#include <string>
#include <vector>

namespace kestu {

/// One price that Apple has in a country.
struct PriceTier {
  Decimal price, proceeds;
  bool nice = false; ///< as a customer reads it: $4.99, 59 kr

  static PriceTier read(const JSONValue& value);
  /// What of the price isn't proceeds, as a percentage; none for a free one.
  std::string kept() const;
};

/// The prices of a country, and which of them are shown.
struct PriceTiers {
  std::string storefront, currency;
  std::optional<Decimal> today;
  std::vector<PriceTier> prices; ///< ascending

  struct Range {
    std::optional<Decimal> from, to;
    bool all = false;
    bool isGiven() const { return from || to || all; }
  };

  static PriceTiers read(const JSONValue& value);

  /// From half today's price to twice it, the cheapest 30 where it is free, or as the range says. A CLIError of kind
  /// usage where there is no price today and no range.
  std::vector<PriceTier> within(const Range& range) const;

  Table table(const std::vector<PriceTier>& shown) const;
  /// The list for people, with its legend.
  std::string text(const std::string& subject, const std::vector<PriceTier>& shown, const TextStyles& style,
                   int width) const;
};

} // namespace kestu
