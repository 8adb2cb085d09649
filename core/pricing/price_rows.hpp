#pragma once

#include "core/support/decimal.hpp"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestu {

/// A storefront's price and what becomes of it, as one line of a page.
struct PriceRow {
  std::string storefront, currency;
  std::optional<Decimal> now, then; ///< none: "–"
  std::string change{};             ///< "-20%"
  std::string end{};                ///< what follows, as it is shown
};

namespace PriceRows {

/// Decimals that the amounts of a currency are shown with.
using DecimalsOf = std::function<std::size_t(std::string_view currency)>;

/// Aligned lines within so many columns, each begun with two blanks: code, country, price → price and currency, change,
/// end. The countries' names are shortened where there is little room, and left out where there is none.
std::string text(const std::vector<PriceRow>& rows, const DecimalsOf& decimals, int width);

/// A change as a signed percentage: "-20%", "+0.4%"; empty where there was nothing.
std::string changeText(const std::optional<Decimal>& now, const Decimal& then);

/// A fraction as a signed percentage, whole from 1% on.
std::string signedPercent(double fraction);

} // namespace PriceRows

} // namespace kestu
