#include "core/pricing/price_change.hpp"

#include "core/console/format.hpp"
#include "core/console/format_money.hpp"
#include "core/console/printable.hpp"
#include "core/pricing/price_rows.hpp"
#include "core/support/text.hpp"

#include <algorithm>

namespace kestu {

namespace {

StorePrices::Base readBase(const JSONValue& value) {
  return {value.at("storefront").text(), value.at("currency").text(), Decimal::read(value.at("amount"))};
}

StorePrices::Storefront readStorefront(const JSONValue& value) {
  return {value.at("storefront").text(),      value.at("currency").text(), value.find("price", Decimal::read),
          value.find("match", Decimal::read), value.whenTrue("own"),       value.whenTrue("top")};
}

} // namespace

StorePrices StorePrices::read(const JSONValue& value) {
  return {value.find("product", &JSONValue::text), value.at("kind").text(), value.find("base", readBase),
          value.listAt("storefronts", readStorefront)};
}

const StorePrices::Storefront* StorePrices::find(std::string_view code) const {
  auto found = std::find_if(storefronts.begin(), storefronts.end(),
                            [&](const Storefront& each) { return each.storefront == code; });
  return found == storefronts.end() ? nullptr : &*found;
}

std::vector<OwnPrice> StorePrices::ownPrices() const {
  std::vector<OwnPrice> own;
  for (const Storefront& each : storefronts) {
    if (each.own && each.price) own.push_back({each.storefront, each.currency, *each.price});
  }
  return own;
}

std::string StorePrices::meantCountry() const { return base && !find("us") ? base->storefront : "us"; }

std::vector<std::string> StorePrices::centsFaults(const std::optional<Decimal>& amount, const std::string& country,
                                                  const PriceOverrides& overrides) const {
  std::vector<std::string> wrong;
  auto look = [&](const std::string& code, const Decimal& price) {
    const auto* there = find(code);
    if (!there || price.decimals() <= Format::currencyDecimals(there->currency)) return;
    wrong.push_back(code + " pays in " + printable(there->currency) + ", without cents: " + price.fixed(0) + ", not " +
                    price.text() + ".");
  };
  if (amount) look(country, *amount);
  for (const auto& [code, override] : overrides) {
    if (override.kind == PriceOverride::Kind::price) look(code, override.amount);
  }
  return wrong;
}

std::string PriceChangeLine::amount(const Decimal& value) const {
  return value.fixed(std::max(Format::currencyDecimals(currency), value.decimals())) + " " + currency;
}

PriceChangeLine PriceChangeLine::read(const JSONValue& value) {
  return {value.at("storefront").text(),   value.at("currency").text(), value.find("now", Decimal::read),
          Decimal::read(value.at("then")), value.whenTrue("own"),       value.whenTrue("top")};
}

std::vector<PriceChangeLine> PriceChangeLine::of(const std::optional<JobDetails>& details) {
  std::vector<PriceChangeLine> lines;
  if (!details || !details->changes) return lines;
  for (const JSONValue& each : details->changes->list()) lines.push_back(read(each));
  return lines;
}

JSONData PriceChange::body() const {
  JSONData body = JSONData::object();
  auto decimal = [&](const char* key, const std::optional<Decimal>& value) {
    if (value) body.set(key, JSONData::decimal(value->text()));
  };
  body.setGiven("product", product);
  decimal("price", price);
  body.setGiven("country", country).setGiven("from", from).setGiven("until", until);
  body.setGiven("derivedFrom", derivedFrom);
  decimal("multiplier", multiplier);
  JSONData list = JSONData::array();
  for (const auto& [storefront, override] : overrides) list.add(override.json(storefront));
  body.set("overrides", std::move(list));
  if (existingToo) body.set("existingToo", true);
  if (landing.any()) body.set("landing", landing.json());
  return body;
}

bool PriceChange::changesSomething() const {
  return price || derivedFrom || std::any_of(overrides.begin(), overrides.end(), [](const auto& each) {
           return each.second.kind != PriceOverride::Kind::keep;
         });
}

namespace PriceChangeText {

std::string preview(const std::vector<PriceChangeLine>& lines, bool all, const TextStyles& style, int width) {
  std::vector<PriceRow> rows;
  std::int64_t lower = 0;
  std::int64_t higher = 0;
  std::int64_t still = 0;
  std::int64_t unlisted = 0;
  for (const PriceChangeLine& line : lines) {
    if (!line.moves()) {
      ++still;
      continue;
    }
    ++(line.now && line.then < *line.now ? lower : higher);
    if (!all && !line.own && !line.top) {
      ++unlisted;
      continue;
    }
    rows.push_back({line.storefront, line.currency, line.now, line.then, PriceRows::changeText(line.now, line.then),
                    line.own ? "its own" : ""});
  }
  std::string text = PriceRows::text(rows, Format::currencyDecimals, width);
  if (unlisted > 0) {
    text += (text.empty() ? "  " : "\n  ") +
            style.dim("and " + Format::countries(unlisted) + " more at Apple's price, which --all lists");
  }
  std::vector<std::string> counts;
  auto add = [&](std::int64_t count, const std::string& what) {
    if (count > 0) counts.push_back((counts.empty() ? Format::countries(count) : Format::number(count)) + " " + what);
  };
  add(lower, "lower");
  add(higher, "higher");
  add(still, "as now");
  if (counts.empty()) return text;
  return text + (text.empty() ? "" : "\n") + TextStyle::wrap(Text::joined(counts, ", ") + ".", width);
}

std::string keeps(const PriceOverrides& overrides) {
  std::vector<std::string> codes;
  for (const auto& [code, override] : overrides) {
    if (override.kind == PriceOverride::Kind::keep) codes.push_back(code);
  }
  return codes.empty() ? "" : "Keeping today's price: " + Text::joined(codes, ", ") + ".";
}

} // namespace PriceChangeText

} // namespace kestu
