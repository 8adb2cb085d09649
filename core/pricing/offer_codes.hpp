#pragma once

#include "core/console/table.hpp"
#include "core/console/text_style.hpp"
#include "core/pricing/offer_prices.hpp"
#include "core/pricing/offer_terms.hpp"
#include "core/support/clock.hpp"
#include "core/support/json.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestu {

/// Codes of an offer that were made at once: one-time codes, or a word that so many may redeem.
struct CodeBatch {
  std::string batchId;
  std::optional<std::string> code; ///< of a custom one
  std::int64_t count = 0;
  Moment createdAt;
  std::optional<std::string> expiresOn; ///< a day
  bool active = true;

  static CodeBatch read(const JSONValue& value);
  bool isOneTime() const { return !code; }
  std::string title() const; ///< "500 one-time codes", "SPRING26 (1,000 times)"; printable
};

/// An offer that is had by codes.
struct OfferCode {
  std::string offerId, name, product;
  std::optional<OfferTerms> terms; ///< a subscription's
  std::vector<std::string> eligibility;
  std::vector<OfferPrice> prices;
  std::vector<CodeBatch> batches; ///< oldest first
  bool active = true;

  static OfferCode read(const JSONValue& value);

  /// By its ID, or a custom code's word; none when it has no such codes.
  const CodeBatch* batch(const std::string& idOrCode) const;
  const CodeBatch* newestOneTime() const; ///< of those that can be redeemed, if there are any
  /// Whether codes can be redeemed, as far as nobody turned them off.
  bool isOn(const CodeBatch& codes) const { return active && codes.active; }
  std::string what() const; ///< "$1.99 a month for 3 months": in the United States, or else the first country
  /// Whether its prices are for another time than the product's own, so that they compare by its period alone.
  bool isUpFront() const { return terms && !terms->isFree() && !terms->isPayAsYouGo(); }
  /// `period`: the subscription's; empty where it isn't known.
  std::string text(bool all, const std::string& period, const TextStyles& style, int width, Moment now) const;
};

struct OfferCodes {
  std::vector<OfferCode> offers;

  static OfferCodes read(const JSONValue& value);
  /// By ID or name; a CLIError of kind notFound for none, of kind usage for several.
  const OfferCode& named(const std::string& idOrName) const;
  Table table(const TextStyles& style) const;
};

namespace Eligibility {

/// Whom an offer can be for: a subscription's "new", "existing", "expired", an in-app purchase's "non-spender", … as a
/// command line has them, in order.
const std::vector<std::string>& words(bool ofSubscription);
/// In the service's word; none for any other text.
std::optional<std::string> typed(std::string_view word);
bool fits(std::string_view raw, bool ofSubscription);

} // namespace Eligibility

namespace Format {

/// "new and expired subscribers", in order.
std::string eligibility(const std::vector<std::string>& raw);

} // namespace Format

namespace CodeFile {

/// Whether codes can be written as they are: letters and figures alone.
bool isCode(std::string_view code);

/// A line each; for a spreadsheet with the link that redeems it in the App Store.
std::string text(const std::vector<std::string>& codes, std::int64_t appId, bool spreadsheet);

} // namespace CodeFile

} // namespace kestu
