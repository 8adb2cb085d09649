#include "sandbox/account/accounts.hpp"
#include "sandbox/prices/prices.hpp"

#include "core/pricing/storefronts.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace kestu::sandbox::Prices {

namespace {

using nlohmann::json;

// What a country pays for subscriptions, as a share of what is paid in the United States.
double indexOf(const Storefront& storefront) {
  constexpr std::array<std::pair<std::string_view, double>, 18> known = {{
      {"us", 1.0},
      {"ca", 0.97},
      {"gb", 1.02},
      {"de", 1.0},
      {"ch", 1.25},
      {"no", 1.1},
      {"se", 0.98},
      {"au", 0.98},
      {"jp", 0.7},
      {"kr", 0.85},
      {"in", 0.2},
      {"br", 0.45},
      {"mx", 0.6},
      {"tr", 0.25},
      {"pl", 0.7},
      {"id", 0.3},
      {"ng", 0.2},
      {"cn", 0.5},
  }};
  for (const auto& [code, index] : known) {
    if (code == storefront.code) return index;
  }
  switch (storefront.region) {
  case Region::europe:
    return storefront.eu ? 0.9 : 0.5;
  case Region::asiaPacific:
    return 0.45;
  case Region::latinAmerica:
    return 0.5;
  case Region::africaMiddleEast:
    return 0.35;
  case Region::usCanada:
    break;
  }
  return 1;
}

struct Settings {
  std::string index = "kestu", only;
  double strength = 0.6, floor = 0.5, cap = 1.25, tolerance = 0.15;
  bool exact = false;
};

double given(const Call& call, const char* name, double otherwise) {
  const auto text = call.param(name);
  return text.empty() ? otherwise : std::strtod(text.c_str(), nullptr);
}

Settings settingsOf(const Call& call) {
  Settings settings;
  if (!call.param("index").empty()) settings.index = call.param("index");
  settings.only = call.param("only");
  settings.strength = given(call, "strength", settings.strength);
  settings.floor = given(call, "floor", settings.floor);
  settings.cap = given(call, "cap", settings.cap);
  settings.tolerance = given(call, "tolerance", settings.tolerance);
  settings.exact = call.param("exact") == "true";
  return settings;
}

constexpr std::array<std::pair<const char*, double>, 5> zones = {
    {{"A", 1.15}, {"B", 1}, {"C", 0.8}, {"D", 0.65}, {"E", 0.5}}};

// The target as a share of Apple's match, and its zone.
std::pair<double, std::string> targetOf(const Storefront& storefront, const Settings& settings) {
  double index = indexOf(storefront);
  if (settings.index == "worldbank") index = (index + 0.3) / 1.3;
  double share = std::clamp(1 + settings.strength * (index - 1), settings.floor, settings.cap);
  // More of the trials pay there than at home in these alone.
  if (share > 1 && storefront.code != "ch" && storefront.code != "no") share = 1;
  if ((settings.only == "lower" && share > 1) || (settings.only == "raise" && share < 1)) share = 1;
  if (std::abs(share - 1) <= settings.tolerance) share = 1;
  if (settings.exact) return {std::round(share * 100) / 100, ""};
  const auto nearest = std::min_element(zones.begin(), zones.end(), [&](const auto& a, const auto& b) {
    return std::abs(a.second - share) < std::abs(b.second - share);
  });
  return {nearest->second, nearest->first};
}

json cards(const PricedProduct& product) {
  return {
      {{"kind", "converts"}, {"storefront", "in"}, {"ended", 410}, {"paid", 33}, {"rate", 0.08}, {"home", 0.33}},
      {{"kind", "raise"},
       {"storefront", "ch"},
       {"ended", 220},
       {"paid", 97},
       {"rate", 0.44},
       {"home", 0.33},
       {"change", 0.15},
       {"breakeven", 0.13},
       {"modelLow", 0.02},
       {"modelHigh", 0.09}},
      {{"kind", "low"},
       {"storefronts", {{{"storefront", "in"}, {"change", -0.5}}, {{"storefront", "tr"}, {"change", -0.5}}}}},
      {{"kind", "over"}, {"storefront", "br"}, {"change", 0.54}, {"downloadsShare", 0.12}, {"proceedsShare", 0.031}},
      {{"kind", "drift"},
       {"storefront", "eg"},
       {"since", "2024-03-03"},
       {"then", number(product.base)},
       {"change", -0.38}},
      {{"kind", "notprice"}, {"storefront", "br"}, {"lost", 0.12}, {"elsewhere", 0.04}},
      {{"kind", "rivals"}, {"storefront", "mx"}, {"median", 0.61}, {"count", 7}},
      {{"kind", "newproduct"},
       {"productId", "com.example.daylight.pro.yearly"},
       {"sibling", "com.example.daylight.pro.monthly"}},
      {{"kind", "changed"},
       {"storefront", "pl"},
       {"before", 0.21},
       {"after", 0.26},
       {"perDownloadBefore", 0.11},
       {"perDownloadAfter", 0.13},
       {"control", {{"before", 0.3}, {"after", 0.31}, {"perDownloadBefore", 0.24}, {"perDownloadAfter", 0.24}}}},
  };
}

json storefrontJson(const PricedProduct& product, const Storefront& storefront, const Settings& settings,
                    const PricePoints::Landing& landing) {
  const std::string code(storefront.code);
  const auto price = today(product, code);
  const auto match = PricePoints::match(code, product.base);
  const auto [share, zone] = targetOf(storefront, settings);
  const bool kept = code == "jp" && product.own.count("jp") > 0;
  auto target = share == 1 ? match : PricePoints::landed(PricePoints::currency(code), match, share * 100, landing);
  if (kept) target = price;
  json value{{"storefront", code},
             {"currency", PricePoints::currency(code)},
             {"price", number(price)},
             {"match", number(match)},
             {"multiplier", share},
             {"target", number(target)},
             {"change", static_cast<double>(target) / static_cast<double>(price) - 1},
             {"confidence", (storefront.code[0] * 7 + storefront.code[1]) % 5 + 1}};
  if (!zone.empty()) value["zone"] = zone;
  if (kept) value["kept"] = true;
  return value;
}

} // namespace

Answer parity(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  advance(state);
  auto products = json::array();
  const PricedProduct* product = nullptr;
  for (const auto& each : state.prices.products) {
    if (each.appId != app.appId || each.kind != "subscription") continue;
    products.push_back({{"productId", each.productId}, {"name", each.name}});
    if (product == nullptr || each.productId == call.param("product")) product = &each;
  }
  if (product == nullptr) return Answer::json({{"products", products}, {"connect", "nosubscription"}});
  if (!call.param("product").empty() && product->productId != call.param("product")) {
    throw Refused(404, "not_found", "No subscription on sale is " + call.param("product") + ".");
  }
  json answer{{"products", products}, {"product", product->productId}};
  if (app.appId == 2345678901) { // no key of the account covers it
    answer["connect"] = "nokey";
    return Answer::json(answer);
  }
  const auto settings = settingsOf(call);
  const auto landing = PricePoints::Landing::of(call.param("round"), call.param("nice"), call.param("ending"));
  answer["settings"] = {{"index", settings.index}, {"strength", settings.strength},   {"floor", settings.floor},
                        {"cap", settings.cap},     {"tolerance", settings.tolerance}, {"zones", !settings.exact}};
  if (!settings.only.empty()) answer["settings"]["only"] = settings.only;
  answer["base"] = {{"storefront", "us"}, {"currency", "USD"}, {"amount", number(product->base)}};
  answer["sources"] = {{{"source", "spotify"}, {"storefronts", 158}}, {{"source", "worldbank"}, {"storefronts", 17}}};
  for (const auto& [zone, rate] : zones) answer["zones"].push_back({{"zone", zone}, {"rate", rate}});
  auto storefronts = json::array();
  const auto asked = "," + call.param("countries") + ",";
  for (const auto& each : Storefronts::all()) {
    if (asked.size() > 2 && asked.find("," + std::string(each.code) + ",") == std::string::npos) continue;
    storefronts.push_back(storefrontJson(*product, each, settings, landing));
  }
  answer["storefronts"] = storefronts;
  answer["cards"] = cards(*product);
  answer["perDownloadBefore"] = 0.21;
  answer["perDownloadAfter"] = 0.26;
  return Answer::json(answer);
}

} // namespace kestu::sandbox::Prices
