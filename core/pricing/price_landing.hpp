#pragma once

#include "core/service/api_url.hpp"
#include "core/support/decimal.hpp"
#include "core/support/json.hpp"
#include "core/support/json_data.hpp"

#include <optional>
#include <string>
#include <string_view>

namespace kestu {

/// A percentage as it is typed: digits, optionally a point and digits, optionally "%"; none for any other text.
std::optional<Decimal> percentage(std::string_view text);

/// "60%", "60.5%".
std::string percentText(const Decimal& percent);

/// How a percentage lands on Apple's price points.
struct PriceLanding {
  std::optional<std::string> round;  ///< "at-least", "at-most" or "closest"
  std::optional<Decimal> nice;       ///< how far a nice price may be, a percentage
  std::optional<std::string> ending; ///< "99" or "00"

  static Decimal niceWithin(); ///< 5, where only nice prices are asked for

  bool any() const { return round || nice || ending; }

  /// Each throws a CLIError of kind usage, `name` being what the value is called there ("--nice-within", "nice").
  void setRound(const std::string& name, const std::string& value);
  void setNice(const std::string& name, const std::string& value);
  void setEnding(const std::string& name, const std::string& value);

  Query query() const;
  JSONData json() const;
  std::string options() const; ///< as on a command line: " --round closest --nice"

  /// The pricing file's; a CLIError gives the reasons alone ("nice is a percentage from 1% to 15%").
  static PriceLanding read(const JSONValue& value);
};

} // namespace kestu
