#pragma once

#include "core/support/decimal.hpp"

#include <cstddef>
#include <optional>
#include <string>

namespace kestu {
struct Context;
}

/// Numbers and days as they are typed.
namespace kestu::TypedValues {

/// Digits, and so many more after a point at most; none for any other text.
std::optional<Decimal> plainNumber(const std::string& text, std::size_t mostDecimals);

/// "2026-12-26", a day that there is.
bool isDay(const std::string& text);

/// The day that it is where the user is.
std::string today(const Context& context);

/// Of --from and --until; a CLIError of kind usage says what they are to be. A last day may be the first one too.
std::optional<std::string> dayFrom(const std::optional<std::string>& from, const std::string& today);
std::optional<std::string> dayUntil(const std::optional<std::string>& until, const std::optional<std::string>& from,
                                    const std::string& today);
std::optional<std::string> lastDay(const std::optional<std::string>& until, const std::optional<std::string>& from,
                                   const std::string& today);

} // namespace kestu::TypedValues
