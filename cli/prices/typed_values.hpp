#pragma once

#include "core/support/clock.hpp"
#include "core/support/decimal.hpp"

#include <cstddef>
#include <optional>
#include <string>

/// Numbers and days as they are typed.
namespace kestu::TypedValues {

/// Digits, and so many more after a point at most; none for any other text.
std::optional<Decimal> plainNumber(const std::string& text, std::size_t mostDecimals);

/// "2026-12-26", a day that there is.
bool isDay(const std::string& text);

/// Of --from and --until; a CLIError of kind usage says what they are to be.
std::optional<std::string> dayFrom(const std::optional<std::string>& from, Moment now);
std::optional<std::string> dayUntil(const std::optional<std::string>& until, const std::optional<std::string>& from,
                                    Moment now);

} // namespace kestu::TypedValues
