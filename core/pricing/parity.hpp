#pragma once

#include "core/pricing/price_landing.hpp"
#include "core/pricing/price_override.hpp"
#include "core/service/api_url.hpp"
#include "core/support/decimal.hpp"
#include "core/support/json.hpp"
#include "core/support/json_data.hpp"

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kestu {

/// What prices are suggested by: raw value, then the name that people read.
inline constexpr std::array<std::pair<std::string_view, std::string_view>, 9> parityIndexes = {{
    {"kestu", "Kestu Global Price Index"},
    {"peers", "App Store peers"},
    {"creatorstudio", "Creator Studio"},
    {"duolingo", "Duolingo"},
    {"strava", "Strava"},
    {"todoist", "Todoist"},
    {"spotify", "Spotify"},
    {"netflix", "Netflix"},
    {"worldbank", "World Bank"},
}};

/// The name of an index; the text itself, made printable, for one that this program doesn't know.
std::string parityIndexName(std::string_view rawValue);

/// What the user asks of Parity; percentages as they are typed, 60 for 60%.
struct ParityAsk {
  std::optional<std::string> index; ///< a raw value of `parityIndexes`
  std::optional<Decimal> strength, floor, cap, tolerance;
  bool exact = false;
  std::optional<std::string> only; ///< "lower" or "raise"
  std::optional<std::vector<std::string>> countries;
  std::string countriesTyped;
  PriceLanding landing;

  /// Whether anything but the landing was asked.
  bool any() const;

  /// Each a CLIError of kind usage for what it doesn't take.
  void setStrength(const std::string& value);
  void setFloor(const std::string& value);
  void setCap(const std::string& value);
  void setTolerance(const std::string& value);
  void setOnly(const std::string& value);
  void setCountries(const std::string& value);

  Query query(const std::optional<std::string>& product) const;
  std::string options() const; ///< as on a command line: " --strength 50 --exact"
};

struct ParitySettings {
  std::optional<std::string> index, only;
  std::optional<Decimal> strength, floor, cap, tolerance; ///< fractions: 0.6 is 60%
  bool zones = true;

  static ParitySettings read(const JSONValue& value);
};

struct ParityStorefront {
  std::string storefront, currency;
  std::optional<Decimal> price, match; ///< today's, and Apple's match there
  std::optional<Decimal> multiplier;   ///< the target as a share of Apple's match
  std::optional<std::string> zone;
  std::optional<Decimal> target, change; ///< the change from today's price to the target, a fraction
  std::optional<Decimal> confidence;
  bool kept = false;

  static ParityStorefront read(const JSONValue& value);

  /// How far off Apple's match the target is; none at it, and where the price is kept.
  std::optional<std::int64_t> percent() const;
  bool moves() const;
  /// How far today's price is off its target, as a fraction for what is shown.
  std::optional<double> off() const;
  /// Whether it is further off than this; decided without the rounding of `off`.
  bool isOffBy(const Decimal& bound) const;
  /// From 1 to 5.
  std::optional<int> marks() const;
};

/// One thing that Parity sees in the trials and prices; which of it is there goes by the kind.
struct ParityCard {
  struct Storefront {
    std::string storefront;
    std::optional<double> change;
  };
  struct Control {
    std::optional<double> before, after;
    std::optional<Decimal> perDownloadBefore, perDownloadAfter;
    std::vector<std::string> storefronts;
  };
  std::string kind;
  std::optional<std::string> storefront, productId, sibling, since;
  std::optional<double> ended, paid, rate, expected, home, change, breakeven, modelLow, modelHigh, downloadsShare,
      proceedsShare, losable, lost, elsewhere, median, count, before, after, endedBefore, endedAfter;
  std::optional<Decimal> then, perDownloadBefore, perDownloadAfter;
  std::vector<Storefront> storefronts;
  std::optional<Control> control;

  static ParityCard read(const JSONValue& value);
};

/// The service's suggestion.
struct ParityAnswer {
  struct Base {
    std::string storefront, currency;
    Decimal amount;
  };
  struct Zone {
    std::string zone;
    Decimal rate;
  };
  struct Product {
    std::string productId, name;
  };
  std::vector<Product> products;
  std::optional<std::string> product, connect;
  std::optional<ParitySettings> settings;
  std::optional<Base> base;
  std::vector<Zone> zones;
  std::vector<ParityStorefront> storefronts;
  std::vector<ParityCard> cards;
  std::optional<Decimal> perDownloadBefore, perDownloadAfter;

  static ParityAnswer read(const JSONValue& value);

  /// The product's ID, or what stands for it in a text.
  std::string productText() const;
  /// A CLIError of kind failed where there is nothing to price by.
  void requireUsable(const ParityAsk& ask) const;

  std::map<std::string, std::int64_t> percentages() const;
  std::set<std::string, std::less<>> covered() const;
  /// The storefronts that Parity leaves at Apple's match, in the answer's order.
  std::vector<const ParityStorefront*> toMatch() const;
  /// How far off a target counts as at it.
  Decimal tolerance() const;
  /// The storefronts further off their target than that, the furthest under it first.
  std::vector<const ParityStorefront*> offTarget() const;
  /// How the suggestion was made, for the pricing file.
  JSONData record(const std::optional<std::string>& only) const;
  /// The percentages, and where a price is set too the storefronts that keep theirs.
  PriceOverrides overrides(bool priced) const;
};

} // namespace kestu
