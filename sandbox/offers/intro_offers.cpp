#include "sandbox/account/accounts.hpp"
#include "sandbox/offers/offers.hpp"
#include "sandbox/plans.hpp"
#include "sandbox/prices/prices.hpp"

#include "core/pricing/storefronts.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <sstream>

namespace kestu::sandbox {

using nlohmann::json;

OffersState demoOffers() {
  const std::string id = "com.example.daylight.";
  OffersState offers;
  offers.periods = {
      {id + "pro.monthly", "onemonth"}, {id + "pro.yearly", "oneyear"}, {"com.example.tidepool.school", "onemonth"}};
  for (const auto& storefront : Storefronts::all()) {
    offers.intro.push_back(
        {1234567890, id + "pro.yearly", std::string(storefront.code), {"freetrial", "oneweek"}, 0, "2026-09-01", ""});
  }
  return offers;
}

namespace Offers {

namespace {

const PricedProduct& subscription(State& state, const App& app, const std::string& productId) {
  const auto& product = Prices::product(state, app, productId);
  if (product.kind == "subscription") return product;
  throw Refused(409, {{"message", fmt::format("{} isn't a subscription.", productId)}});
}

json offerJson(const PricedProduct& product, const IntroOfferMade& offer) {
  auto value = termsJson(offer.terms);
  value["storefront"] = offer.storefront;
  value["currency"] = PricePoints::currency(offer.storefront);
  value["top"] = Prices::isTop(offer.storefront);
  if (offer.price > 0) {
    value["price"] = Prices::number(offer.price);
    value["regular"] = Prices::number(Prices::today(product, offer.storefront));
  }
  if (!offer.startsOn.empty()) value["startsOn"] = offer.startsOn;
  if (!offer.endsOn.empty()) value["endsOn"] = offer.endsOn;
  return value;
}

bool isOf(const IntroOfferMade& offer, std::int64_t appId, const std::string& productId) {
  return offer.appId == appId && offer.productId == productId;
}

// The answer to a change that becomes a job, which starts once it is approved.
Answer started(State& state, const Call& call, const App& app, const std::string& line, PriceJob job) {
  const auto details = json::parse(job.details);
  auto apply = [&state, job]() -> std::string {
    Prices::start(state, job);
    return "";
  };
  const auto title = fmt::format("{}: {}", app.name, details.at("productName").get<std::string>());
  auto answer = json::parse(Plans::change(state, call, title, {line}, apply).body);
  answer["details"] = details;
  if (call.dryRun()) return Answer::json(answer);
  auto& plan = state.plans.back();
  plan.jobDetails = job.details;
  plan.job = job.id;
  answer["plan"] = Plans::planJson(plan);
  return Answer::json(answer);
}

PriceJob jobOf(const App& app, const PricedProduct& product, const json& details, const std::string& startsOn) {
  PriceJob job{randomUuid(), app.appId, product.productId, details.dump(), startsOn, {}, {}, 0, 0};
  if (!startsOn.empty()) job.undoUntil = Prices::undoUntil(startsOn);
  job.kind = "introoffer";
  return job;
}

} // namespace

Answer introOffers(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  Prices::advance(state);
  auto subscriptions = json::array();
  if (!call.param("product").empty()) subscription(state, app, call.param("product"));
  for (const auto& product : state.prices.products) {
    if (product.appId != app.appId || product.kind != "subscription") continue;
    if (!call.param("product").empty() && call.param("product") != product.productId) continue;
    auto offers = json::array();
    for (const auto& offer : state.offers.intro) {
      if (isOf(offer, app.appId, product.productId)) offers.push_back(offerJson(product, offer));
    }
    subscriptions.push_back({{"product", product.productId},
                             {"productName", product.name},
                             {"period", state.offers.periods[product.productId]},
                             {"offers", offers}});
  }
  return Answer::json({{"subscriptions", subscriptions}});
}

Answer createIntroOffer(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  Prices::advance(state);
  const auto body = call.object();
  const auto& product = subscription(state, app, body.at("product"));
  const auto terms = termsOf(state, product, body);
  const auto prices = pricesOf(state, product, body);
  const auto from = body.value("from", "");
  const auto until = body.value("until", "");
  json details = termsJson(terms);
  details.update({{"product", product.productId},
                  {"productName", product.name},
                  {"countries", prices.size()},
                  {"changes", rowsOf(product, prices)}});
  if (!from.empty()) details["startsOn"] = from;
  if (!until.empty()) details["endsOn"] = until;
  if (body.contains("discount")) details["discount"] = body["discount"].dump() + "%";
  if (body.contains("price")) {
    const auto country = body.value("country", "us");
    details.update({{"price", body["price"]}, {"storefront", country}, {"currency", PricePoints::currency(country)}});
  }
  auto job = jobOf(app, product, details, from);
  for (const auto& [code, price] : prices) job.countries.push_back({code, std::nullopt, price});
  job.move = [&state, appId = app.appId, id = product.productId, terms, prices, from,
              until](const std::string& storefront, bool forth) {
    auto& all = state.offers.intro;
    const IntroOfferMade made{appId, id, storefront, terms, prices.at(storefront), from, until};
    if (forth) return all.push_back(made);
    std::erase_if(all, [&](const IntroOfferMade& each) {
      return isOf(each, appId, id) && each.storefront == storefront && each.startsOn == from;
    });
  };
  return started(state, call, app,
                 fmt::format("Make an introductory offer in {}", counted(prices.size(), "country", "countries")),
                 std::move(job));
}

Answer deleteIntroOffers(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  Prices::advance(state);
  const auto& product = subscription(state, app, call.param("product"));
  std::set<std::string> wanted;
  std::stringstream words(call.param("countries"));
  for (std::string word; std::getline(words, word, ',');) wanted.insert(word);
  std::set<std::string> codes;
  for (const auto& each : state.offers.intro) {
    if (isOf(each, app.appId, product.productId) && (wanted.empty() || wanted.count(each.storefront) > 0)) {
      codes.insert(each.storefront);
    }
  }
  if (codes.empty()) throw Refused(409, {{"message", "There is no introductory offer there."}});
  const json details{
      {"product", product.productId}, {"productName", product.name}, {"countries", codes.size()}, {"ending", true}};
  auto job = jobOf(app, product, details, "");
  for (const auto& code : codes) job.countries.push_back({code, std::nullopt, std::nullopt});
  job.move = [&state, appId = app.appId, id = product.productId](const std::string& storefront, bool) {
    std::erase_if(state.offers.intro,
                  [&](const IntroOfferMade& each) { return isOf(each, appId, id) && each.storefront == storefront; });
  };
  return started(state, call, app,
                 fmt::format("Take off the introductory offers in {}", counted(codes.size(), "country", "countries")),
                 std::move(job));
}

} // namespace Offers

} // namespace kestu::sandbox
