#include "core/pricing/parity.hpp"

#include <functional>

namespace kestu {

namespace {

std::optional<Decimal> decimal(const JSONValue& value, std::string_view key) { return value.find(key, Decimal::read); }

ParityAnswer::Base readBase(const JSONValue& value) {
  return {value.at("storefront").text(), value.at("currency").text(), Decimal::read(value.at("amount"))};
}

ParityAnswer::Zone readZone(const JSONValue& value) {
  return {value.at("zone").text(), Decimal::read(value.at("rate"))};
}

ParityAnswer::Product readProduct(const JSONValue& value) {
  return {value.at("productId").text(), value.at("name").text()};
}

ParityCard::Storefront readCardStorefront(const JSONValue& value) {
  return {value.at("storefront").text(), value.find("change", &JSONValue::number)};
}

ParityCard::Control readControl(const JSONValue& value) {
  return {value.find("before", &JSONValue::number), value.find("after", &JSONValue::number),
          decimal(value, "perDownloadBefore"), decimal(value, "perDownloadAfter"),
          value.find("storefronts", &JSONValue::texts).value_or(std::vector<std::string>())};
}

/// The key's list, none when it is absent or null.
template <class Read>
auto listIn(const JSONValue& value, std::string_view key, Read read) {
  using Element = std::decay_t<decltype(std::invoke(read, value))>;
  return value.find(key) ? value.listAt(key, read) : std::vector<Element>();
}

} // namespace

ParitySettings ParitySettings::read(const JSONValue& value) {
  return {value.find("index", &JSONValue::text),
          value.find("only", &JSONValue::text),
          decimal(value, "strength"),
          decimal(value, "floor"),
          decimal(value, "cap"),
          decimal(value, "tolerance"),
          value.find("zones", &JSONValue::boolean).value_or(true)};
}

ParityStorefront ParityStorefront::read(const JSONValue& value) {
  ParityStorefront read;
  read.storefront = value.at("storefront").text();
  read.currency = value.at("currency").text();
  read.price = decimal(value, "price");
  read.match = decimal(value, "match");
  read.multiplier = decimal(value, "multiplier");
  read.zone = value.find("zone", &JSONValue::text);
  read.target = decimal(value, "target");
  read.change = decimal(value, "change");
  read.confidence = decimal(value, "confidence");
  read.kept = value.whenTrue("kept");
  return read;
}

ParityCard ParityCard::read(const JSONValue& value) {
  auto text = [&](std::string_view key) { return value.find(key, &JSONValue::text); };
  auto number = [&](std::string_view key) { return value.find(key, &JSONValue::number); };
  ParityCard card;
  card.kind = value.at("kind").text();
  card.storefront = text("storefront");
  card.productId = text("productId");
  card.sibling = text("sibling");
  card.since = text("since");
  card.ended = number("ended");
  card.paid = number("paid");
  card.rate = number("rate");
  card.expected = number("expected");
  card.home = number("home");
  card.change = number("change");
  card.breakeven = number("breakeven");
  card.modelLow = number("modelLow");
  card.modelHigh = number("modelHigh");
  card.downloadsShare = number("downloadsShare");
  card.proceedsShare = number("proceedsShare");
  card.losable = number("losable");
  card.lost = number("lost");
  card.elsewhere = number("elsewhere");
  card.median = number("median");
  card.count = number("count");
  card.before = number("before");
  card.after = number("after");
  card.endedBefore = number("endedBefore");
  card.endedAfter = number("endedAfter");
  card.then = decimal(value, "then");
  card.perDownloadBefore = decimal(value, "perDownloadBefore");
  card.perDownloadAfter = decimal(value, "perDownloadAfter");
  card.storefronts = listIn(value, "storefronts", readCardStorefront);
  card.control = value.find("control", readControl);
  return card;
}

ParityAnswer ParityAnswer::read(const JSONValue& value) {
  ParityAnswer answer;
  answer.products = listIn(value, "products", readProduct);
  answer.product = value.find("product", &JSONValue::text);
  answer.connect = value.find("connect", &JSONValue::text);
  answer.settings = value.find("settings", ParitySettings::read);
  answer.base = value.find("base", readBase);
  answer.zones = listIn(value, "zones", readZone);
  answer.storefronts = listIn(value, "storefronts", ParityStorefront::read);
  answer.cards = listIn(value, "cards", ParityCard::read);
  answer.perDownloadBefore = decimal(value, "perDownloadBefore");
  answer.perDownloadAfter = decimal(value, "perDownloadAfter");
  return answer;
}

} // namespace kestu
