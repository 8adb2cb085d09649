#include "core/pricing/offer_codes.hpp"

#include "core/console/format.hpp"
#include "core/console/format_money.hpp"
#include "core/console/printable.hpp"
#include "core/pricing/intro_offers.hpp"
#include "core/support/error.hpp"
#include "core/support/moments.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <array>

namespace kestu {

namespace {

struct Whom {
  std::string_view raw, word, people;
  bool ofSubscription;
};

constexpr std::array<Whom, 6> whoms = {{
    {"new", "new", "new", true},
    {"existing", "existing", "existing", true},
    {"expired", "expired", "expired", true},
    {"nonspender", "non-spender", "who never paid", false},
    {"activespender", "active-spender", "who pay", false},
    {"churnedspender", "churned-spender", "who used to pay", false},
}};

std::string andList(const std::vector<std::string>& parts) {
  if (parts.size() < 2) return Text::joined(parts, "");
  return Text::joined({parts.begin(), parts.end() - 1}, ", ") + " and " + parts.back();
}

std::string batchesText(const OfferCode& offer) {
  std::vector<std::string> all;
  for (const CodeBatch& each : offer.batches) all.push_back(each.title() + (offer.isOn(each) ? "" : " (off)"));
  return Text::joined(all, "; ");
}

std::string batchLine(const CodeBatch& batch, bool isOn, Moment now) {
  std::string line = batch.title() + ", made " + Format::ago(batch.createdAt, now);
  if (batch.expiresOn) {
    bool over = *batch.expiresOn < Moments::iso8601(now).substr(0, 10);
    line += (over ? ", expired after " : ", until ") + Format::day(printable(*batch.expiresOn));
  }
  return line + (isOn ? "" : ", off");
}

} // namespace

CodeBatch CodeBatch::read(const JSONValue& value) {
  return {value.at("batchId").text(),     value.find("code", &JSONValue::text),      value.at("count").integer(),
          value.at("createdAt").moment(), value.find("expiresOn", &JSONValue::text), value.whenTrue("active")};
}

std::string CodeBatch::title() const {
  if (code) return printable(*code) + " (" + Format::number(count) + (count == 1 ? " time)" : " times)");
  return Format::number(count) + (count == 1 ? " one-time code" : " one-time codes");
}

OfferCode OfferCode::read(const JSONValue& value) {
  OfferCode offer;
  offer.offerId = value.at("offerId").text();
  offer.name = value.at("name").text();
  offer.product = value.at("product").text();
  if (value.find("mode")) offer.terms = OfferTerms::read(value);
  offer.eligibility = value.at("eligibility").texts();
  offer.prices = value.listAt("prices", OfferPrice::read);
  offer.batches = value.listAt("batches", CodeBatch::read);
  offer.active = value.whenTrue("active");
  return offer;
}

const CodeBatch* OfferCode::batch(const std::string& idOrCode) const {
  auto found = std::find_if(batches.begin(), batches.end(), [&](const CodeBatch& each) {
    return Text::lowercased(each.batchId) == Text::lowercased(idOrCode) || each.code == idOrCode;
  });
  return found == batches.end() ? nullptr : &*found;
}

const CodeBatch* OfferCode::newestOneTime() const {
  const CodeBatch* newest = nullptr;
  for (const CodeBatch& each : batches) {
    if (!each.isOneTime() || (newest && newest->active && !each.active)) continue;
    if (!newest || (each.active && !newest->active) || each.createdAt >= newest->createdAt) newest = &each;
  }
  return newest;
}

std::string OfferCode::what() const {
  auto shown = std::find_if(prices.begin(), prices.end(), [](const auto& each) { return each.storefront == "us"; });
  if (shown == prices.end()) shown = prices.begin();
  if (shown == prices.end() || shown->price.isZero()) return terms ? Format::introTerms(*terms) : "free";
  return terms ? Format::introTerms(*terms, shown->price, shown->currency)
               : Format::money(shown->price, shown->currency);
}

std::string OfferCode::text(bool all, const std::string& period, const TextStyles& style, int width, Moment now) const {
  std::vector<std::string> codes;
  std::vector<OfferPrice> compared = prices;
  for (OfferPrice& each : compared) {
    codes.push_back(each.storefront);
    if (terms) each.regular = Offers::regular(each.regular, *terms, period);
  }
  std::vector<std::string> lines = {
      style.bold(printable(name)) + " (" + printable(product) + "), " + (active ? style.green("on") : "off for good"),
      what() + ", for " + Format::eligibility(eligibility) + ", in " + Format::someCountries(codes, false)};
  for (std::string& line : lines) line = TextStyle::wrap(line, width);
  bool isFree = std::all_of(prices.begin(), prices.end(), [](const auto& each) { return each.price.isZero(); });
  if (!isFree) lines.push_back(OfferPrices::text(compared, all, style, width));
  lines.emplace_back(batches.empty() ? "No codes yet." : "Codes:");
  for (const CodeBatch& each : batches) {
    lines.push_back(TextStyle::wrap("  " + batchLine(each, isOn(each), now), width, 4));
    lines.push_back("    " + style.dim(printable(each.batchId)));
  }
  return Text::joined(lines, "\n");
}

OfferCodes OfferCodes::read(const JSONValue& value) { return {value.listAt("offers", OfferCode::read)}; }

const OfferCode& OfferCodes::named(const std::string& idOrName) const {
  std::vector<const OfferCode*> found;
  for (const OfferCode& each : offers) {
    if (Text::lowercased(each.offerId) == Text::lowercased(idOrName)) return each;
    if (each.name == idOrName) found.push_back(&each);
  }
  if (found.size() == 1) return *found.front();
  if (found.empty()) {
    throw CLIError(CLIError::Kind::notFound,
                   "The app has no offer " + printable(idOrName) + ": kestu offer-codes list shows them.");
  }
  std::string text = "Several offers are called " + printable(idOrName) + ". Name the one you mean by its ID:";
  for (const OfferCode* each : found) text += "\n  " + printable(each->offerId) + "  " + printable(each->product);
  throw CLIError(CLIError::Kind::usage, text);
}

Table OfferCodes::table(const TextStyles& style) const {
  Table table;
  table.headings = {"Offer", "Product", "What", "For", "Codes", "On", "ID"};
  for (const OfferCode& each : offers) {
    table.rows.push_back({printable(each.name), printable(each.product), each.what(),
                          Format::eligibility(each.eligibility), batchesText(each),
                          each.active ? style.green("on") : "off", printable(each.offerId)});
  }
  return table;
}

const std::vector<std::string>& Eligibility::words(bool ofSubscription) {
  static const auto listed = [](bool wanted) {
    std::vector<std::string> all;
    for (const Whom& each : whoms) {
      if (each.ofSubscription == wanted) all.emplace_back(each.word);
    }
    return all;
  };
  static const std::vector<std::string> subscribers = listed(true);
  static const std::vector<std::string> buyers = listed(false);
  return ofSubscription ? subscribers : buyers;
}

std::optional<std::string> Eligibility::typed(std::string_view word) {
  std::string wanted = Text::lowercased(Text::trimmed(word));
  for (const Whom& each : whoms) {
    if (wanted == each.word || wanted == each.raw) return std::string(each.raw);
  }
  return std::nullopt;
}

bool Eligibility::fits(std::string_view raw, bool ofSubscription) {
  return std::any_of(whoms.begin(), whoms.end(),
                     [&](const Whom& each) { return each.raw == raw && each.ofSubscription == ofSubscription; });
}

std::string Format::eligibility(const std::vector<std::string>& raw) {
  std::vector<std::string> subscribers;
  std::vector<std::string> customers;
  for (const Whom& each : whoms) {
    if (std::find(raw.begin(), raw.end(), each.raw) == raw.end()) continue;
    (each.ofSubscription ? subscribers : customers).emplace_back(each.people);
  }
  for (const std::string& each : raw) {
    bool known = Eligibility::fits(each, true) || Eligibility::fits(each, false);
    if (!known) customers.push_back(printable(each));
  }
  if (customers.empty()) return subscribers.empty() ? "nobody" : andList(subscribers) + " subscribers";
  return (subscribers.empty() ? "" : andList(subscribers) + " subscribers and ") + "customers " + andList(customers);
}

bool CodeFile::isCode(std::string_view code) {
  return !code.empty() && std::all_of(code.begin(), code.end(), [](char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
  });
}

std::string CodeFile::text(const std::vector<std::string>& codes, std::int64_t appId, bool spreadsheet) {
  std::string text = spreadsheet ? "Code,Link\n" : "";
  const std::string link = "https://apps.apple.com/redeem?ctx=offercodes&id=" + std::to_string(appId) + "&code=";
  for (const std::string& code : codes) text += spreadsheet ? code + "," + link + code + "\n" : code + "\n";
  return text;
}

} // namespace kestu
