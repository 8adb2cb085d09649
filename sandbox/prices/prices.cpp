#include "sandbox/prices/prices.hpp"

#include "core/console/format.hpp"
#include "core/console/format_money.hpp"
#include "core/pricing/storefronts.hpp"
#include "sandbox/account/accounts.hpp"
#include "sandbox/plans.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <utility>

namespace kestu::sandbox {

using nlohmann::json;

PricesState demoPrices() {
  const std::string id = "com.example.daylight.";
  PricesState prices;
  prices.products = {
      {1234567890, "", "Daylight Weather", "app", 0, {}},
      {1234567890, id + "pro.monthly", "Daylight Pro, monthly", "subscription", 499, {{"jp", 90000}, {"in", 19900}}},
      {1234567890, id + "pro.yearly", "Daylight Pro, yearly", "subscription", 3999, {}},
      {1234567890, id + "tip", "Tip", "consumable", 199, {}},
      {2345678901, "", "Tidepool: Naturkunde für Kinder", "app", 299, {}},
      {2345678901, "com.example.tidepool.school", "Tidepool for schools", "subscription", 999, {}},
      {3456789012, "", "Ledger", "app", 1999, {}},
  };
  return prices;
}

namespace Prices {

namespace {

constexpr std::array<std::string_view, 12> topMarkets = {"au", "br", "ca", "cn", "de", "fr",
                                                         "gb", "in", "it", "jp", "kr", "us"};

std::string money(Amount amount, const std::string& currency) {
  return Format::money(*Decimal::parse(fmt::format("{:.2f}", static_cast<double>(amount) / 100)), currency);
}

std::string storefrontOf(const std::string& word) {
  const auto* const found = Storefronts::find(word);
  if (found == nullptr) throw Refused(400, "invalid_request", fmt::format("{} is no storefront.", word));
  return std::string(found->code);
}

// What a change makes of each storefront that it touches.
struct Outcome {
  std::string storefront;
  Amount now, then;
  std::optional<Amount> own;
};

class Change {
 public:
  Change(State& state, const App& app, const json& body)
      : product_(Prices::product(state, app, body.value("product", ""))), state_(state), app_(app), body_(body) {
    const auto landing = body.value("landing", json::object());
    landing_ =
        PricePoints::Landing::of(landing.value("round", ""), landing.contains("nice") ? landing["nice"].dump() : "",
                                 landing.value("ending", ""));
    base_ = product_.base;
    if (body.contains("price")) {
      country_ = storefrontOf(body.value("country", "us"));
      price_ = priceIn(country_, body["price"].get<double>());
      if (*price_ == 0 && product_.kind == "subscription") {
        throw Refused(409, "conflict", "A subscription has a price above 0.");
      }
      base_ = country_ == "us" ? *price_ : PricePoints::dollars(country_, *price_);
    }
  }

  std::vector<Outcome> outcomes() {
    const auto own = overridden();
    std::vector<Outcome> all;
    for (const auto& storefront : Storefronts::all()) {
      const std::string code(storefront.code);
      const auto found = own.find(code);
      if (found == own.end() && !price_ && !derived()) continue;
      Outcome outcome{code, today(product_, code), 0, std::nullopt};
      const auto matched = PricePoints::match(code, base_);
      if (found != own.end()) {
        outcome.then = found->second;
      } else if (derived()) {
        const auto& from = Prices::product(state_, app_, body_["derivedFrom"].get<std::string>());
        const auto share = body_.at("multiplier").get<double>() * 100;
        PricePoints::Landing closest;
        closest.round = PricePoints::Round::closest;
        outcome.then = PricePoints::landed(PricePoints::currency(code), today(from, code), share, closest);
      } else {
        outcome.then = price_ && code == country_ ? *price_ : matched;
      }
      if (outcome.then != matched) outcome.own = outcome.then;
      all.push_back(outcome);
    }
    return all;
  }

  PricedProduct& product() { return product_; }
  Amount base() const { return base_; }

 private:
  bool derived() const { return body_.contains("derivedFrom"); }

  std::map<std::string, Amount> overridden() {
    std::map<std::string, Amount> own;
    for (const auto& each : body_.value("overrides", json::array())) {
      const auto code = storefrontOf(each.at("storefront").get<std::string>());
      const auto pays = PricePoints::currency(code);
      const auto matched = PricePoints::match(code, base_);
      if (each.contains("price")) {
        own[code] = priceIn(code, each["price"].get<double>());
      } else if (each.contains("steps")) {
        own[code] = PricePoints::stepped(pays, matched, each["steps"].get<long>(), landing_);
      } else if (each.contains("percent")) {
        own[code] = PricePoints::landed(pays, matched, 100 + each["percent"].get<double>(), landing_);
      } else {
        own[code] = today(product_, code);
      }
    }
    return own;
  }

  PricedProduct& product_;
  State& state_;
  const App& app_;
  const json& body_;
  PricePoints::Landing landing_;
  Amount base_ = 0;
  std::string country_ = "us";
  std::optional<Amount> price_;
};

json detailsOf(const Change& change, PricedProduct& product, const json& body, const std::vector<Outcome>& outcomes,
               const std::string& startsOn) {
  auto changes = json::array();
  std::size_t own = 0;
  for (const auto& each : outcomes) {
    own += each.own ? 1 : 0;
    changes.push_back({{"storefront", each.storefront},
                       {"currency", PricePoints::currency(each.storefront)},
                       {"now", number(each.now)},
                       {"then", number(each.then)},
                       {"own", each.own.has_value()},
                       {"top", isTop(each.storefront)}});
  }
  json details{{"productName", product.name},
               {"startsOn", startsOn},
               {"countries", outcomes.size()},
               {"ownPrices", own},
               {"changes", changes}};
  if (!product.productId.empty()) details["product"] = product.productId;
  if (body.contains("price")) {
    details["storefront"] = storefrontOf(body.value("country", "us"));
    details["currency"] = PricePoints::currency(details["storefront"].get<std::string>());
    details["price"] = body["price"];
  }
  if (body.contains("until")) details["endsOn"] = body["until"];
  if (product.kind == "subscription") {
    details["existingSubscribers"] = body.value("existingToo", false) ? "raised" : "preserved";
  }
  static_cast<void>(change);
  return details;
}

std::string dayAfter(Moment moment, int days) { return isoText(moment + std::chrono::hours(24 * days)).substr(0, 10); }

} // namespace

bool isTop(std::string_view storefront) {
  return std::find(topMarkets.begin(), topMarkets.end(), storefront) != topMarkets.end();
}

Amount priceIn(const std::string& storefront, double value) {
  constexpr double most = 1e12; // beyond any price, and far from what an amount can't hold
  if (!(value >= 0 && value <= most)) throw Refused(400, "invalid_request", "That is no price.");
  const auto price = static_cast<Amount>(std::llround(value * 100));
  const auto pays = PricePoints::currency(storefront);
  const auto& points = PricePoints::all(pays);
  if (std::binary_search(points.begin(), points.end(), price)) return price;
  const auto above = std::lower_bound(points.begin(), points.end(), price);
  const auto shown = [&](Amount amount) { return fmt::format("{:.2f}", static_cast<double>(amount) / 100); };
  std::string near = above == points.begin() ? "" : shown(*(above - 1));
  if (above != points.end()) near += (near.empty() ? "" : " and ") + shown(*above);
  throw Refused(409, {{"message", fmt::format("Apple has no price of {} {} in {}: the nearest are {}.", shown(price),
                                              pays, storefront, near)}});
}

Moment undoUntil(const std::string& startsOn) {
  const auto number = [&](std::size_t at, std::size_t length) {
    return std::atoi(startsOn.substr(at, length).c_str());
  };
  const auto day = std::chrono::year(number(0, 4)) / number(5, 2) / number(8, 2);
  return std::chrono::sys_days(day) - std::chrono::hours(14);
}

json number(Amount amount) {
  if (amount % 100 == 0) return amount / 100;
  return static_cast<double>(amount) / 100;
}

PricedProduct& product(State& state, const App& app, const std::string& productId) {
  auto& all = state.prices.products;
  const auto found = std::find_if(all.begin(), all.end(), [&](const PricedProduct& each) {
    return each.appId == app.appId && each.productId == productId;
  });
  if (found == all.end()) throw Refused(404, "not_found", fmt::format("{} has no product {}.", app.name, productId));
  return *found;
}

Amount today(const PricedProduct& product, const std::string& storefront) {
  const auto own = product.own.find(storefront);
  return own == product.own.end() ? PricePoints::match(storefront, product.base) : own->second;
}

Answer show(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  advance(state);
  const auto& product = Prices::product(state, app, call.param("product"));
  auto storefronts = json::array();
  for (const auto& each : Storefronts::all()) {
    const std::string code(each.code);
    storefronts.push_back({{"storefront", code},
                           {"territory", each.territory},
                           {"currency", PricePoints::currency(code)},
                           {"price", number(today(product, code))},
                           {"match", number(PricePoints::match(code, product.base))},
                           {"own", product.own.count(code) > 0},
                           {"top", isTop(code)}});
  }
  json answer{{"kind", product.kind},
              {"base", {{"storefront", "us"}, {"currency", "USD"}, {"amount", number(product.base)}}},
              {"storefronts", storefronts}};
  if (!product.productId.empty()) answer["product"] = product.productId;
  return Answer::json(answer);
}

Answer tiers(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  advance(state);
  const auto& product = Prices::product(state, app, call.param("product"));
  const auto code = storefrontOf(call.param("country").empty() ? "us" : call.param("country"));
  const auto pays = PricePoints::currency(code);
  auto prices = json::array();
  for (const Amount price : PricePoints::all(pays)) {
    if (price == 0 && product.kind == "subscription") continue;
    prices.push_back(
        {{"price", number(price)}, {"proceeds", number(price * 70 / 100)}, {"nice", PricePoints::isNice(pays, price)}});
  }
  return Answer::json(
      {{"storefront", code}, {"currency", pays}, {"today", number(today(product, code))}, {"prices", prices}});
}

Answer change(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  advance(state);
  const auto body = call.object();
  Change change(state, app, body);
  auto& product = change.product();
  const auto outcomes = change.outcomes();
  if (outcomes.empty()) throw Refused(400, "invalid_request", "Nothing is to change.");
  const auto from = body.value("from", "soonest");
  const auto startsOn = from == "soonest" ? dayAfter(state.clock(), 2) : from;
  const auto details = detailsOf(change, product, body, outcomes, startsOn);
  PriceJob made{randomUuid(),        app.appId, product.productId, details.dump(), startsOn,
                undoUntil(startsOn), {},        product.base,      change.base()};
  for (const auto& each : outcomes) {
    const auto own = product.own.find(each.storefront);
    made.countries.push_back(
        {each.storefront, own == product.own.end() ? std::nullopt : std::optional(own->second), each.own});
  }
  const bool isJob = product.kind == "subscription";
  auto apply = [&state, made, isJob]() -> std::string {
    if (isJob) {
      start(state, made);
      return "";
    }
    auto& changed = Prices::product(state, *state.app(made.appId), made.productId);
    changed.base = made.baseAfter;
    for (const auto& each : made.countries) {
      if (each.after) {
        changed.own[each.storefront] = *each.after;
      } else {
        changed.own.erase(each.storefront);
      }
    }
    return "";
  };
  const auto title = fmt::format("{}: {}", app.name, product.name);
  std::vector<std::string> lines = {fmt::format(
      "Set its price in {}, from {}", counted(outcomes.size(), "country", "countries"), Format::day(startsOn))};
  for (const auto& each : outcomes) {
    const auto pays = PricePoints::currency(each.storefront);
    if (!isTop(each.storefront) || each.now == each.then) continue;
    lines.push_back(
        fmt::format("{}: {} → {}", Format::country(each.storefront), money(each.now, pays), money(each.then, pays)));
  }
  auto answer = json::parse(Plans::change(state, call, title, lines, apply).body);
  answer["details"] = details;
  if (!call.dryRun()) {
    auto& plan = state.plans.back();
    plan.jobDetails = details.dump();
    if (isJob) plan.job = made.id;
    answer["plan"]["details"] = details;
    if (isJob && plan.state == "applied") answer["plan"]["job"] = made.id;
  }
  return Answer::json(answer);
}

} // namespace Prices

} // namespace kestu::sandbox
