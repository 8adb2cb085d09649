#pragma once

#include "cli/app_platform.hpp"
#include "cli/context.hpp"
#include "cli/faults.hpp"
#include "cli/options.hpp"
#include "cli/prices/prices.hpp"
#include "cli/store_jobs.hpp"
#include "core/pricing/offer_pricing.hpp"
#include "core/pricing/offer_terms.hpp"
#include "core/pricing/price_change.hpp"

#include <optional>
#include <string>
#include <vector>

namespace kestu {

/// What an offer is, as it was typed.
struct OfferTermsOptions {
  std::optional<std::string> mode, duration, periods;

  void declare(Command& command);
  bool any() const { return mode || duration || periods; }

  /// The terms; the duration of pay as you go is empty where it is left to the subscription's period.
  OfferTerms given(Faults& faults) const;
};

/// What --countries names.
std::vector<std::string> countriesGiven(const std::string& typed, Faults& faults);

/// What an offer costs where, as it was typed.
struct OfferPricingOptions {
  std::optional<std::string> price, discount, country, countries;
  std::vector<std::string> overrides, keeps;
  LandingOptions landing;

  void declare(Command& command);
  void declareKeep(Command& command);

  /// `isFree`: the offer has no price to give; none where that can't be said.
  OfferPricing given(std::optional<bool> isFree, Faults& faults) const;
};

/// An offer that is about to be made.
struct NewOffer {
  std::string title;   ///< "Daylight Weather (com.example.daylight), com.example.pro"
  std::string subject; ///< "the introductory offer of com.example.pro"
  std::string field;   ///< what it is called in data: "introductory offer"
  std::optional<OfferTerms> terms{};
  std::string period{}; ///< of the subscription; empty where it isn't known
  OfferPricing pricing{};
  PriceOverrides fromFile{}; ///< those of the pricing's overrides that are the pricing file's
  std::optional<std::string> from{}, until{};
  bool all = false;                 ///< every country's price is listed
  std::vector<std::string> notes{}; ///< lines below the prices

  /// "$1.99 a month for 3 months in United States", "40% off for 3 months, pay as you go".
  std::string what(const StorePrices& prices) const;
  /// The country whose price it is given by.
  std::string base() const { return pricing.country.value_or("us"); }
  /// Names the country that is meant where none was, and gives what is wrong with its prices in their currencies.
  std::vector<std::string> settleCountries(const StorePrices& prices, const std::string& product);
};

/// The offer as it is shown, `preview` being the rows that the service makes of it.
ProposedChange proposed(const NewOffer& offer, const StorePrices& prices, const std::vector<PriceChangeLine>& preview,
                        const std::string& today, Console& console);

/// A list of the app's offers, or of one product's.
struct OfferListOptions : TableOptions {
  AppTarget app;
  std::optional<std::string> product;

  void declare(Command& command);

  /// The app's list at `path`, each read by `read`.
  template <class Read>
  auto fetch(Context& context, const std::string& path, Read read) const {
    Client client = context.signedIn();
    std::string place = AppOnPlatform::resolve(client, app, std::nullopt, context).path + path;
    Query query;
    if (product) query.emplace_back("product", *product);
    return client.get(place, query, read);
  }
};

/// The period of a subscription.
std::string periodOf(const Client& client, const std::string& appPath, const std::string& product);

/// Options of one value each, and an option that names the product, which is then there.
void declareWord(Command& command, const std::string& name, const std::string& value, const std::string& help,
                 std::optional<std::string>& target, std::vector<std::string> choices = {});
void needProduct(const std::optional<std::string>& product, Faults& faults);

extern const JobGroup introJobs;

void addIntroOffersCreate(Command& group);
void addOfferCodesCreate(Command& group);
void addOfferCodesGenerate(Command& group);

} // namespace kestu
