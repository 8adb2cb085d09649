#pragma once

#include "core/console/table.hpp"
#include "core/console/text_style.hpp"
#include "core/pricing/offer_prices.hpp"
#include "core/pricing/offer_terms.hpp"
#include "core/support/json.hpp"

#include <optional>
#include <string>
#include <vector>

namespace kestu {

/// A subscription's introductory offer in one country.
struct IntroOffer {
  OfferPrice price;
  OfferTerms terms;
  std::optional<std::string> startsOn, endsOn; ///< days; it lasts to the end of the last one

  static IntroOffer read(const JSONValue& value);
  /// Whether it runs on a day between these two, either of which may be open.
  bool meets(const std::optional<std::string>& from, const std::optional<std::string>& until) const;
};

/// A subscription, and the offers that it has or will have.
struct IntroSubscription {
  std::string product, productName;
  std::string period; ///< "onemonth"
  std::vector<IntroOffer> offers;

  static IntroSubscription read(const JSONValue& value);
  /// "Daylight Pro, monthly (com.example.pro)"; printable.
  std::string title() const;
};

struct IntroOffers {
  std::vector<IntroSubscription> subscriptions;

  static IntroOffers read(const JSONValue& value);
  const IntroSubscription* find(const std::string& product) const;
  Table table() const;
  /// Each subscription's offers, those of the same terms and days together. Of the countries of such a group the top
  /// markets' prices are listed, or those of `all`.
  std::string text(bool all, const std::string& today, const TextStyles& style, int width) const;
};

namespace Format {

/// "se, no and fi", "12 countries", "every country".
std::string someCountries(const std::vector<std::string>& codes, bool all);

/// The same with the first few of many: "50 countries (al, am, at and 47 more)".
std::string firstCountries(const std::vector<std::string>& codes);

/// ", from 1 Dec 2026 until 31 Dec 2026", ", on 1 Dec 2026"; empty for neither. One that began is "since".
std::string days(const std::optional<std::string>& from, const std::optional<std::string>& until,
                 const std::string& today);

} // namespace Format

} // namespace kestu
