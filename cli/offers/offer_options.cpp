#include "cli/offers/offers.hpp"
#include "cli/prices/typed_values.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/pricing/intro_offers.hpp"
#include "core/pricing/region_words.hpp"
#include "core/support/text.hpp"

#include <charconv>
#include <set>

namespace kestu {

namespace {

std::optional<std::int64_t> countOf(const std::string& typed) {
  std::int64_t count = 0;
  const char* end = typed.data() + typed.size();
  auto [at, error] = std::from_chars(typed.data(), end, count);
  if (error != std::errc() || at != end || count < 1) return std::nullopt;
  return count;
}

std::optional<Decimal> discountOf(const std::string& typed, Faults& faults) {
  auto percent = percentage(typed);
  if (percent && !percent->isZero() && *percent <= Decimal::of(PriceOverride::mostOff)) return percent;
  faults.add("--discount is a percentage off each country's own price, up to " +
             std::to_string(PriceOverride::mostOff) + "%: 40%.");
  return std::nullopt;
}

} // namespace

void declareWord(Command& command, const std::string& name, const std::string& value, const std::string& help,
                 std::optional<std::string>& target, std::vector<std::string> choices) {
  command.option({{name},
                  value,
                  help,
                  [&target](const std::string& given) { target = Text::trimmed(given); },
                  std::move(choices),
                  false});
}

void needProduct(const std::optional<std::string>& product, Faults& faults) {
  if (!product) faults.add("--product names the subscription: kestu intro-offers list shows the app's.");
}

std::string periodOf(const Client& client, const std::string& appPath, const std::string& product) {
  auto offers = client.get(appPath + "/intro-offers", {{"product", product}}, IntroOffers::read).value;
  const IntroSubscription* there = offers.find(product);
  if (!there) throw notUnderstood();
  return there->period;
}

void OfferListOptions::declare(Command& command) {
  app.declare(command);
  TableOptions::declare(command);
}

std::vector<std::string> countriesGiven(const std::string& typed, Faults& faults) {
  std::vector<std::string> codes;
  std::set<std::string> twice;
  faults.collect([&] { codes = RegionWords::storefronts(typed, &twice); });
  if (!twice.empty()) {
    faults.notes.push_back("! --countries names " + Text::joined({twice.begin(), twice.end()}, ", ") + " twice.");
  }
  return codes;
}

void OfferTermsOptions::declare(Command& command) {
  declareWord(command, "--mode", "mode",
              "How customers pay: free (a free trial), pay-as-you-go (a price each period) or pay-up-front (once for "
              "all of it).",
              mode, Offers::modeWords());
  declareWord(command, "--duration", "duration",
              "How long it is: 3d, 1w, 2w, 1m, 2m, 3m, 6m or 1y; pay-up-front from a month on. Of pay-as-you-go the "
              "subscription's own period, which is taken when left out.",
              duration, Offers::durationWords());
  declareWord(command, "--periods", "count",
              "How many periods pay-as-you-go is for: 3 of a monthly subscription are 3 months.", periods);
}

OfferTerms OfferTermsOptions::given(Faults& faults) const {
  OfferTerms terms;
  if (!mode) {
    faults.add("--mode says how customers pay: " + Text::orList(Offers::modeWords()) + ".");
  } else if (auto read = Offers::modeTyped(*mode)) {
    terms.mode = *read;
  } else {
    faults.add("--mode is " + Text::orList(Offers::modeWords()) + ", not " + printable(*mode) + ".");
  }
  std::optional<std::string> length;
  if (duration && !(length = Offers::durationTyped(*duration))) {
    faults.add("--duration is " + Text::orList(Offers::durationWords()) + ", not " + printable(*duration) + ".");
  }
  std::optional<std::int64_t> count;
  if (periods && !(count = countOf(*periods))) {
    faults.add("--periods is a whole number from 1 on, not " + printable(*periods) + ".");
  }
  bool isReadable = (!duration || length) && (!periods || count);
  if (!terms.mode.empty() && isReadable) faults.add(Offers::faults(terms.mode, length, count));
  terms.duration = length.value_or("");
  terms.periods = count.value_or(1);
  return terms;
}

void OfferPricingOptions::declare(Command& command) {
  declareWord(command, "--price", "price",
              "The price, as customers in the country pay it: 1.99. Apple works out every other country's.", price);
  declareWord(command, "--discount", "percentage",
              "In place of a price: so much off each country's own price, landed on one of Apple's prices.", discount);
  declareWord(command, "--country", "country",
              "The one country whose price --price is: a storefront (se) or Apple's territory (SWE). The United States "
              "when left out, or the base country of what isn't sold there.",
              country);
  declareWord(command, "--countries", "countries",
              "The only countries it is for, separated by commas: countries (se,no), eu, eur or Apple's regions "
              "(europe). Every country when left out.",
              countries);
  command.option({{"--override"},
                  "country=price",
                  "A country and its price: se=29, and beside --price se=+2 (steps) or se=-10% from Apple's match of "
                  "it, beside --discount se=-50% off its own price. Repeat for several.",
                  [this](const std::string& text) { overrides.push_back(text); },
                  {},
                  false});
  landing.declare(command);
}

void OfferPricingOptions::declareKeep(Command& command) {
  command.option({{"--keep"},
                  "countries",
                  "Countries left as they are, without this offer, separated by commas.",
                  [this](const std::string& text) { keeps.push_back(text); },
                  {},
                  false});
}

OfferPricing OfferPricingOptions::given(std::optional<bool> isFree, Faults& faults) const {
  OfferPricing pricing;
  if (isFree == true &&
      (price || discount || country || landing.landing.any() || !landing.wrong.all.empty() || !overrides.empty())) {
    faults.add("A free offer has no price: --price, --discount, --country, --override and how a price lands go without "
               "it.");
  }
  if (isFree == false && price.has_value() == discount.has_value()) {
    faults.add(price ? "--price or --discount: one or the other."
                     : "Say what it costs: --price 1.99, or --discount 40% off each country's own price.");
  }
  if (price && discount == std::nullopt) {
    pricing.price = TypedValues::plainNumber(*price, 2);
    if (!pricing.price || pricing.price->isZero()) {
      faults.add("--price is a number above 0 with a point for its cents: 1.99.");
    }
  }
  if (discount) pricing.discount = discountOf(*discount, faults);
  if (discount && country) faults.add("--country goes with --price: --discount is off each country's own price.");
  if (country) faults.collect([&] { pricing.country = oneCountry(*country); });
  if (countries) pricing.countries = countriesGiven(*countries, faults);
  faults.collect([&] { pricing.overrides = PriceOverriding::given(overrides, keeps); });
  pricing.landing = landing.landing;
  faults.add(landing.wrong.all);
  faults.add(pricing.faults());
  return pricing;
}

} // namespace kestu
