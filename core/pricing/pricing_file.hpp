#pragma once

#include "core/pricing/price_landing.hpp"
#include "core/pricing/price_override.hpp"
#include "core/support/json.hpp"
#include "core/support/json_data.hpp"

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace kestu {

/// What the pricing file says of one product.
struct ProductPrices {
  PriceOverrides overrides;                  ///< a country's own entry goes before its region's
  PriceOverrides regional;                   ///< what holds by a region alone
  std::set<std::string, std::less<>> parity; ///< the countries whose entry is as Parity wrote it
  PriceLanding landing;
  std::vector<std::string> unread; ///< keys that mean nothing to this program

  /// Without Parity's entries for these countries; what the user says of their regions holds again.
  PriceOverrides leavingOutParityIn(const std::set<std::string, std::less<>>& covered) const;
};

/// What Parity's suggestion made of a product's entries.
struct ParityWritten {
  std::size_t count = 0;              ///< countries with a percentage
  std::vector<std::string> wroteOver; ///< countries whose entry was the user's own
  std::vector<std::string> noLonger;  ///< countries that Parity had moved, and leaves at Apple's match now
  std::vector<std::string> inRegions; ///< countries with a percentage in one of the user's regions
  std::vector<std::string> regions;   ///< those regions
};

/// The prices that the repository keeps, in metadata/pricing.json: each product's countries that differ from Apple's
/// match. Whatever else the file holds stays as it is.
class PricingFile {
 public:
  static constexpr std::string_view path = "metadata/pricing.json";
  static constexpr std::string_view appKey = "app"; ///< the app's own price
  static constexpr std::string_view introKey = "intro-offers";

  /// What is wrong with a product's entries, found after they were read, with their place: "metadata/pricing.json:
  /// com.example.pro: jp pays in JPY, …".
  static std::vector<std::string> faultsAt(const std::string& product, std::vector<std::string> faults);
  static std::vector<std::string> faultsAtIntro(const std::string& product, std::vector<std::string> faults);

  /// A file that isn't there is an empty one; one that can't be read, or isn't an object, a CLIError of kind failed
  /// whose message ends with what follows from it.
  static PricingFile read(const std::filesystem::path& root, const std::string& consequence = "");

  bool has(std::string_view product) const;

  /// A CLIError of kind failed tells of all that is wrong with the product's entries.
  ProductPrices product(const std::string& product) const;

  /// The same of a subscription's introductory offers, which have a place of their own in the file.
  ProductPrices introOffers(const std::string& product) const;

  /// Puts Parity's percentages under the product: its earlier entries are replaced for all that it covers, the user's
  /// own kept where it gives none. A CLIError of kind failed when the product's entries can't be read.
  ParityWritten setParity(const std::string& product, const std::map<std::string, std::int64_t>& percentages,
                          const std::set<std::string, std::less<>>& covered, JSONData record,
                          const PriceLanding& landing);

  /// Writes the file, whole or not at all; a CLIError of kind failed when it can't be written.
  void write() const;

 private:
  std::filesystem::path root_;
  JSONData document_ = JSONData::object();
};

} // namespace kestu
