#include "core/pricing/intro_offers.hpp"

#include "core/changes/store_job.hpp"
#include "core/console/format.hpp"
#include "core/console/format_money.hpp"
#include "core/console/printable.hpp"
#include "core/pricing/storefronts.hpp"
#include "core/support/text.hpp"

#include <algorithm>

namespace kestu {

namespace {

constexpr std::size_t few = 12; // countries that are named one by one

/// Offers of one kind, in several countries.
struct Group {
  const IntroOffer* first;
  std::vector<const IntroOffer*> offers;

  bool takes(const IntroOffer& offer) const {
    return first->terms == offer.terms && first->startsOn == offer.startsOn && first->endsOn == offer.endsOn;
  }
};

/// The largest first.
std::vector<Group> groupsOf(const std::vector<IntroOffer>& offers) {
  std::vector<Group> groups;
  for (const IntroOffer& offer : offers) {
    auto there = std::find_if(groups.begin(), groups.end(), [&](const Group& each) { return each.takes(offer); });
    if (there == groups.end()) there = groups.insert(groups.end(), {&offer, {}});
    there->offers.push_back(&offer);
  }
  std::stable_sort(groups.begin(), groups.end(),
                   [](const Group& a, const Group& b) { return a.offers.size() > b.offers.size(); });
  return groups;
}

std::string headingOf(const Group& group, bool all, const std::string& today, const TextStyles& style) {
  std::vector<std::string> codes;
  for (const IntroOffer* each : group.offers) codes.push_back(each->price.storefront);
  std::string terms = Format::introTerms(group.first->terms);
  if (terms.starts_with('p')) terms.front() = 'P';
  return style.bold(terms) + Format::days(group.first->startsOn, group.first->endsOn, today) + ": " +
         Format::someCountries(codes, all);
}

std::vector<OfferPrice> pricesOf(const Group& group, const std::string& period) {
  std::vector<OfferPrice> prices;
  for (const IntroOffer* each : group.offers) {
    prices.push_back(each->price);
    prices.back().regular = Offers::regular(each->price.regular, each->terms, period);
  }
  return prices;
}

} // namespace

IntroOffer IntroOffer::read(const JSONValue& value) {
  return {OfferPrice::read(value), OfferTerms::read(value), value.find("startsOn", &JSONValue::text),
          value.find("endsOn", &JSONValue::text)};
}

bool IntroOffer::meets(const std::optional<std::string>& from, const std::optional<std::string>& until) const {
  bool endsBefore = endsOn && from && *endsOn < *from;
  bool startsAfter = startsOn && until && *startsOn > *until;
  return !endsBefore && !startsAfter;
}

IntroSubscription IntroSubscription::read(const JSONValue& value) {
  return {value.at("product").text(), value.find("productName", &JSONValue::text).value_or(""),
          value.at("period").text(), value.listAt("offers", IntroOffer::read)};
}

std::string IntroSubscription::title() const {
  return productName.empty() ? printable(product) : printable(productName) + " (" + printable(product) + ")";
}

IntroOffers IntroOffers::read(const JSONValue& value) {
  return {value.listAt("subscriptions", IntroSubscription::read)};
}

const IntroSubscription* IntroOffers::find(const std::string& product) const {
  auto found = std::find_if(subscriptions.begin(), subscriptions.end(),
                            [&](const IntroSubscription& each) { return each.product == product; });
  return found == subscriptions.end() ? nullptr : &*found;
}

Table IntroOffers::table() const {
  Table table;
  table.headings = {"Product", "Storefront", "Country", "Mode",      "Duration", "Periods",
                    "Price",   "Currency",   "Regular", "Starts on", "Ends on"};
  for (const IntroSubscription& subscription : subscriptions) {
    for (const IntroOffer& each : subscription.offers) {
      const OfferPrice& price = each.price;
      std::string regular = price.regular ? OfferPrice{"", price.currency, *price.regular, {}}.amount() : "";
      table.rows.push_back({printable(subscription.product), printable(price.storefront),
                            Format::country(price.storefront), Format::offerMode(each.terms.mode),
                            Format::offerLength(each.terms.duration), std::to_string(each.terms.periods),
                            each.terms.isFree() ? "" : price.amount(), printable(price.currency), regular,
                            printable(each.startsOn.value_or("")), printable(each.endsOn.value_or(""))});
    }
  }
  return table;
}

std::string IntroOffers::text(bool all, const std::string& today, const TextStyles& style, int width) const {
  std::vector<std::string> blocks;
  for (const IntroSubscription& subscription : subscriptions) {
    std::string block =
        TextStyle::wrap(style.bold(subscription.title()) + ", renewed " + Format::renewal(subscription.period), width);
    if (subscription.offers.empty()) block += "\n" + style.dim("No introductory offers.");
    for (const Group& group : groupsOf(subscription.offers)) {
      block += "\n" + TextStyle::wrap(headingOf(group, all, today, style), width);
      if (group.first->terms.isFree()) continue;
      block += "\n" + OfferPrices::text(pricesOf(group, subscription.period), all, style, width);
    }
    blocks.push_back(std::move(block));
  }
  return Text::joined(blocks, "\n\n");
}

std::string Format::firstCountries(const std::vector<std::string>& codes) {
  constexpr std::size_t first = 3;
  if (codes.size() <= few || codes.size() >= Storefronts::all().size()) return someCountries(codes, false);
  std::vector<std::string> shown;
  for (std::size_t i = 0; i < first; ++i) shown.push_back(printable(codes[i]));
  return countries(static_cast<std::int64_t>(codes.size())) + " (" + Text::joined(shown, ", ") + " and " +
         number(static_cast<std::int64_t>(codes.size() - first)) + " more)";
}

std::string Format::someCountries(const std::vector<std::string>& codes, bool all) {
  if (codes.size() >= Storefronts::all().size()) return "every country";
  std::vector<std::string> shown;
  for (const std::string& code : codes) shown.push_back(printable(code));
  if (codes.size() == 1) return country(codes.front());
  if (!all && codes.size() > few) return countries(static_cast<std::int64_t>(codes.size()));
  return countries(static_cast<std::int64_t>(codes.size())) + " (" + Text::joined(shown, ", ") + ")";
}

std::string Format::days(const std::optional<std::string>& from, const std::optional<std::string>& until,
                         const std::string& today) {
  if (from && from == until) return ", on " + day(printable(*from));
  std::string text;
  if (from) text = (*from <= today ? ", since " : ", from ") + day(printable(*from));
  if (until) text += (text.empty() ? ", until " : " until ") + day(printable(*until));
  return text;
}

} // namespace kestu
