#pragma once

#include "core/support/decimal.hpp"

#include <cstddef>
#include <string>
#include <string_view>

namespace kestu::Format {

/// How many decimals the currency ("SEK") has: 0 for yen; 2 for a currency that isn't known.
std::size_t currencyDecimals(std::string_view currency);

/// An amount in its currency, as the user's locale writes it, none of its digits lost: "$4.99", "SEK 59.00".
std::string money(const Decimal& amount, std::string_view currency);

/// The same in American English, for texts that are.
std::string moneyInEnglish(const Decimal& amount, std::string_view currency);

/// A country by its code ("se") in English: "Sweden". Any other text made printable.
std::string country(std::string_view code);

} // namespace kestu::Format
