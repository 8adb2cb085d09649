#pragma once

#include "sandbox/text.hpp"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace kestu::sandbox {

// Amounts are hundredths of the currency, also of those without cents.
using Amount = std::int64_t;

// The app itself, with an empty product ID, or one of its products.
struct PricedProduct {
  std::int64_t appId;
  std::string productId, name, kind;
  Amount base;                       // in US dollars
  std::map<std::string, Amount> own; // by storefront, what isn't Apple's match
};

// A change of a subscription that goes out country by country; how far it is goes by the time.
struct PriceJob {
  struct Country {
    std::string storefront;
    std::optional<Amount> before, after; // own prices; none for Apple's match
  };
  std::string id; // upper case
  std::int64_t appId;
  std::string productId;
  std::string details; // JSON
  std::string startsOn;
  Moment undoUntil; // of one that can't be undone: long ago
  std::vector<Country> countries;
  Amount baseBefore, baseAfter;
  std::string state = "running";
  std::string error = {};
  std::size_t done = 0;
  std::size_t doneWhenTurned = 0; // what there was to take back
  std::optional<std::size_t> stopAt = std::nullopt;
  Moment since = {};
  std::string kind = "price";
  // What it makes of a country, or takes back, where that isn't its price; called with the state held.
  std::function<void(const std::string& storefront, bool forth)> move = {};
};

struct PricesState {
  std::vector<PricedProduct> products;
  std::vector<PriceJob> jobs; // oldest first
  int countriesASecond = 8;
  std::optional<std::size_t> nextStopsAt; // the next job stops at App Store Connect's refusal there
  std::string nextError = "The price isn't available in this territory.";
};

} // namespace kestu::sandbox
