#include "cli/offers/offers.hpp"
#include "core/console/format.hpp"
#include "core/console/format_money.hpp"
#include "core/console/printable.hpp"
#include "core/pricing/intro_offers.hpp"
#include "core/pricing/offer_prices.hpp"
#include "core/pricing/pricing_file.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <utility>

namespace kestu {

namespace {

std::string currencyIn(const StorePrices& prices, const std::string& code) {
  const auto* there = prices.find(code);
  return there ? there->currency : "USD";
}

/// ", its match in every other country", ", in 12 countries (…)".
std::string whereText(const NewOffer& offer, const std::vector<PriceChangeLine>& preview) {
  std::vector<std::string> codes;
  for (const PriceChangeLine& line : preview) codes.push_back(line.storefront);
  if (codes.empty()) return "";
  bool isThere = std::find(codes.begin(), codes.end(), offer.base()) != codes.end();
  if (!offer.pricing.price || !isThere) return ", in " + Format::someCountries(codes, offer.all);
  if (codes.size() == 1) return "";
  std::string all = Format::someCountries(codes, false);
  if (all == "every country") return ", its match in every other country";
  return ", its match in " + Format::number(static_cast<std::int64_t>(codes.size()) - 1) + " more";
}

std::vector<OfferPrice> pricesOf(const NewOffer& offer, const std::vector<PriceChangeLine>& preview) {
  std::vector<OfferPrice> prices;
  for (const PriceChangeLine& line : preview) {
    bool listed = line.top || offer.pricing.overrides.contains(line.storefront);
    auto regular = offer.terms ? Offers::regular(line.now, *offer.terms, offer.period) : line.now;
    prices.push_back({line.storefront, line.currency, line.then, regular, listed});
  }
  return prices;
}

std::string linesOf(const NewOffer& offer, const std::vector<PriceChangeLine>& preview, Console& console) {
  std::vector<std::string> parts;
  bool isFree = std::all_of(preview.begin(), preview.end(), [](const auto& line) { return line.then.isZero(); });
  if (!isFree)
    parts.push_back(OfferPrices::text(pricesOf(offer, preview), offer.all, console.style(), console.width()));
  std::vector<std::string> noLower;
  for (const OfferPrice& each : pricesOf(offer, preview)) {
    if (each.regular && each.price >= *each.regular) noLower.push_back(each.storefront);
  }
  std::vector<std::string> kept;
  for (const auto& [code, override] : offer.pricing.overrides) {
    if (override.kind == PriceOverride::Kind::keep) kept.push_back(code);
  }
  std::vector<std::string> notes = offer.notes;
  if (!noLower.empty()) {
    notes.push_back("! No lower than what it costs anyway: " + Format::someCountries(noLower, offer.all) + ".");
  }
  if (!kept.empty()) notes.push_back("Left as they are: " + Text::joined(kept, ", ") + ".");
  for (const std::string& note : notes) parts.push_back(TextStyle::wrap(note, console.width()));
  return Text::joined(parts, "\n");
}

std::vector<ChangeItem> itemsOf(const NewOffer& offer, const std::vector<PriceChangeLine>& preview) {
  std::vector<ChangeItem> items;
  for (const PriceChangeLine& line : preview) {
    std::string to = line.then.isZero() ? "" : line.amount(line.then);
    if (offer.terms) to += (to.empty() ? "" : ", ") + Format::introTerms(*offer.terms);
    items.push_back({line.storefront, offer.field, std::nullopt, to.empty() ? "free" : to});
  }
  return items;
}

} // namespace

std::string NewOffer::what(const StorePrices& prices) const {
  if (pricing.discount) {
    return percentText(*pricing.discount) + " off each country's own price" +
           (terms ? ", " + Format::introTerms(*terms) : "");
  }
  if (!pricing.price) return terms ? Format::introTerms(*terms) : "free";
  std::string currency = currencyIn(prices, base());
  std::string price =
      terms ? Format::introTerms(*terms, pricing.price, currency) : Format::money(*pricing.price, currency);
  return (pricing.reaches(base()) ? "" : "Apple's match of ") + price + " in " + Format::country(base());
}

std::vector<std::string> NewOffer::settleCountries(const StorePrices& prices, const std::string& product) {
  if (pricing.price && !pricing.country) {
    if (std::string meant = prices.meantCountry(); meant != "us") pricing.country = meant;
    if (!pricing.reaches(base())) {
      notes.push_back("! --price is the price in " + Format::country(base()) +
                      ", where the offer isn't: --country says it is another country's.");
    }
  }
  PriceOverrides typed = pricing.overrides;
  for (const auto& [code, ignored] : fromFile) typed.erase(code);
  std::vector<std::string> wrong = prices.centsFaults(pricing.price, base(), typed);
  for (std::string& each : PricingFile::faultsAtIntro(product, prices.centsFaults(fromFile))) {
    wrong.push_back(std::move(each));
  }
  return wrong;
}

ProposedChange proposed(const NewOffer& offer, const StorePrices& prices, const std::vector<PriceChangeLine>& preview,
                        const std::string& today, Console& console) {
  ProposedChange change;
  change.lines = linesOf(offer, preview, console);
  change.title = offer.title + ": " + offer.what(prices) + whereText(offer, preview) +
                 Format::days(offer.from, offer.until, today) + ", after your approval" +
                 (change.lines.empty() ? "." : ":");
  change.items = itemsOf(offer, preview);
  change.would = "Dry run: would make " + offer.subject + ", after your approval.";
  change.done = "✓ Made " + offer.subject + ": " + offer.what(prices) + ".";
  return change;
}

} // namespace kestu
