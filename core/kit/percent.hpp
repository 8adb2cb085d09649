#pragma once

#include "core/support/json.hpp"
#include "core/support/json_data.hpp"

#include <optional>
#include <string>
#include <string_view>

/// Parts of a hundred, held in hundredths of a percent so that they add up: 25% is 2500.
namespace kestu::Percent {

inline constexpr int whole = 10'000;

/// "25", "25%" or "12.5%", from 0 to 100 with two decimals at most; none for any other text.
std::optional<int> typed(std::string_view text);

/// A number from 0 to 100; throws JSONError for any other.
int read(const JSONValue& value);

JSONData data(int hundredths);
std::string text(int hundredths); ///< "25%", "12.5%"

} // namespace kestu::Percent
