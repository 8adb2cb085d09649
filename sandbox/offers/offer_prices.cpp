#include "core/pricing/storefronts.hpp"
#include "sandbox/offers/offers.hpp"
#include "sandbox/prices/prices.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <set>
#include <string_view>

namespace kestu::sandbox::Offers {

namespace {

using nlohmann::json;

// A percentage off an amount, on one of Apple's prices above 0.
Amount cut(const std::string& pays, Amount from, double share, const PricePoints::Landing& landing) {
  const auto landed = PricePoints::landed(pays, from, share, landing);
  return landed > 0 ? landed : PricePoints::all(pays).at(1);
}

constexpr std::array<std::string_view, 3> modes = {"freetrial", "payasyougo", "payupfront"};
constexpr std::array<std::string_view, 8> durations = {"threedays", "oneweek",     "twoweeks",  "onemonth",
                                                       "twomonths", "threemonths", "sixmonths", "oneyear"};

template <class Words>
void need(const Words& words, const std::string& word, const char* what) {
  if (std::find(words.begin(), words.end(), word) != words.end()) return;
  throw Refused(400, "invalid_request", fmt::format("{} isn't a {}.", word, what));
}

} // namespace

std::map<std::string, Amount> pricesOf(State& state, const PricedProduct& product, const json& body) {
  static_cast<void>(state);
  const auto word = body.value("landing", json::object());
  const auto landing = PricePoints::Landing::of(
      word.value("round", ""), word.contains("nice") ? word["nice"].dump() : "", word.value("ending", ""));
  const auto chosen = body.value("countries", std::set<std::string>());
  std::map<std::string, json> own;
  for (const auto& each : body.value("overrides", json::array())) own[each.at("storefront")] = each;
  const bool discounted = body.contains("discount");
  const bool free = !discounted && !body.contains("price");
  std::string base = body.value("country", "us");
  Amount dollars = 0;
  if (body.contains("price")) {
    const auto price = Prices::priceIn(base, body["price"].get<double>());
    dollars = base == "us" ? price : PricePoints::dollars(base, price);
  }
  std::map<std::string, Amount> prices;
  for (const auto& storefront : Storefronts::all()) {
    const std::string code(storefront.code);
    const auto found = own.find(code);
    if (!chosen.empty() && chosen.count(code) == 0) continue;
    if (found != own.end() && found->second.contains("keep")) continue;
    const auto pays = PricePoints::currency(code);
    const auto usual = Prices::today(product, code);
    const auto from = discounted ? usual : PricePoints::match(code, dollars);
    auto& price = prices[code];
    if (free) continue;
    price = discounted     ? cut(pays, usual, 100 - body["discount"].get<double>(), landing)
            : code == base ? Prices::priceIn(base, body["price"].get<double>())
                           : from;
    if (found == own.end()) continue;
    const auto& each = found->second;
    if (each.contains("price")) price = Prices::priceIn(code, each["price"].get<double>());
    if (each.contains("steps")) price = PricePoints::stepped(pays, from, each["steps"].get<long>(), landing);
    if (each.contains("percent")) price = cut(pays, from, 100 + each["percent"].get<double>(), landing);
  }
  if (prices.empty()) throw Refused(400, "invalid_request", "It's for no country.");
  return prices;
}

json rowsOf(const PricedProduct& product, const std::map<std::string, Amount>& prices) {
  auto rows = json::array();
  for (const auto& [code, price] : prices) {
    rows.push_back({{"storefront", code},
                    {"currency", PricePoints::currency(code)},
                    {"now", Prices::number(Prices::today(product, code))},
                    {"then", Prices::number(price)},
                    {"own", false},
                    {"top", Prices::isTop(code)}});
  }
  return rows;
}

OfferTermsMade termsOf(State& state, const PricedProduct& product, const json& body) {
  OfferTermsMade terms{body.at("mode"), body.at("duration"), body.value("periods", std::int64_t{1})};
  need(modes, terms.mode, "mode");
  need(durations, terms.duration, "duration");
  const auto& period = state.offers.periods[product.productId];
  if (terms.mode == "payasyougo" && terms.duration != period) {
    throw Refused(409, {{"message", "Pay as you go is by the subscription's own period."}});
  }
  if ((terms.mode == "freetrial") == (body.contains("price") || body.contains("discount"))) {
    throw Refused(400, "invalid_request", "A free trial has no price, and another offer has one.");
  }
  return terms;
}

json termsJson(const OfferTermsMade& terms) {
  return {{"mode", terms.mode}, {"duration", terms.duration}, {"periods", terms.periods}};
}

} // namespace kestu::sandbox::Offers
