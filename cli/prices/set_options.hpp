#pragma once

#include "cli/prices/prices.hpp"
#include "core/pricing/price_change.hpp"

#include <optional>
#include <string>
#include <vector>

namespace kestu {

struct SetOptions : ChangeOptions {
  AppTarget app;
  std::optional<std::string> price; ///< as typed, until it is checked
  std::optional<std::string> product, country, from, until, derivedFrom, multiplier;
  bool parity = false;
  ParityOptions parityOptions;
  LandingOptions landing;
  std::vector<std::string> overrides, keeps;
  bool existingToo = false;
  bool all = false;
  JobWaitOptions waiting;

  void declare(Command& command);

  /// All that can be told without asking anybody: what the options ask for, but for the overrides of the file and of
  /// Parity.
  PriceChange change(const std::string& today, Faults& faults) const;

  /// What only the product's kind tells.
  void requireKind(const StorePrices& prices) const;
};

} // namespace kestu
