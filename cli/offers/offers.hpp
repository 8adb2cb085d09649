#pragma once

#include "cli/app_platform.hpp"
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

/// What an offer costs where, as it was typed.
struct OfferPricingOptions {
  std::optional<std::string> price, discount, country, countries;
  std::vector<std::string> overrides, keeps;
  LandingOptions landing;

  void declare(Command& command);
  void declareKeep(Command& command);

  /// `isFree`: the offer has no price to give.
  OfferPricing given(bool isFree, Faults& faults) const;
};

/// An offer that is about to be made.
struct NewOffer {
  std::string title;   ///< "Daylight Weather (com.example.daylight), com.example.pro"
  std::string subject; ///< "the introductory offer of com.example.pro"
  std::string field;   ///< what it is called in data: "introductory offer"
  std::optional<OfferTerms> terms{};
  std::string period{}; ///< of the subscription; empty where it isn't known
  OfferPricing pricing{};
  std::optional<std::string> from{}, until{};
  bool all = false;                 ///< every country's price is listed
  std::vector<std::string> notes{}; ///< lines below the prices

  /// "$1.99 a month for 3 months in United States", "40% off for 3 months, pay as you go".
  std::string what(const StorePrices& prices) const;
};

/// The offer as it is shown, `preview` being the rows that the service makes of it.
ProposedChange proposed(const NewOffer& offer, const StorePrices& prices, const std::vector<PriceChangeLine>& preview,
                        const std::string& today, Console& console);

/// Options of one value each, and an option that names the product, which is then there.
void declareWord(Command& command, const std::string& name, const std::string& value, const std::string& help,
                 std::optional<std::string>& target, std::vector<std::string> choices = {});
void needProduct(const std::optional<std::string>& product, Faults& faults);

extern const JobGroup introJobs;

void addIntroOffersCreate(Command& group);
void addOfferCodesCreate(Command& group);
void addOfferCodesGenerate(Command& group);

} // namespace kestu
