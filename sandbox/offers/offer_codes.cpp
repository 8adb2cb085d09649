#include "sandbox/account/accounts.hpp"
#include "sandbox/offers/offers.hpp"
#include "sandbox/plans.hpp"
#include "sandbox/prices/prices.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <functional>

namespace kestu::sandbox::Offers {

namespace {

using nlohmann::json;

OfferCodeMade& named(State& state, std::int64_t appId, const std::string& id) {
  auto& all = state.offers.codes;
  const auto found =
      std::find_if(all.begin(), all.end(), [&](const auto& each) { return each.appId == appId && each.offerId == id; });
  if (found == all.end()) throw Refused(404, "not_found", "There is no such offer.");
  return *found;
}

CodeBatch& batchOf(OfferCodeMade& offer, const std::string& id) {
  const auto found =
      std::find_if(offer.batches.begin(), offer.batches.end(), [&](const auto& each) { return each.batchId == id; });
  if (found == offer.batches.end()) throw Refused(404, "not_found", "There are no such codes.");
  return *found;
}

json batchJson(const State& state, const CodeBatch& batch) {
  json value{{"batchId", batch.batchId},
             {"count", batch.count},
             {"createdAt", isoText(batch.createdAt)},
             {"active", batch.active},
             {"state", state.clock() < batch.readyAt ? "making" : "ready"}};
  if (!batch.code.empty()) value["code"] = batch.code;
  if (!batch.expiresOn.empty()) value["expiresOn"] = batch.expiresOn;
  return value;
}

json offerJson(State& state, const OfferCodeMade& offer) {
  const auto& product = Prices::product(state, *state.app(offer.appId), offer.productId);
  auto batches = json::array();
  for (const auto& each : offer.batches) batches.push_back(batchJson(state, each));
  auto prices = json::array();
  for (const auto& [code, price] : offer.prices) {
    prices.push_back({{"storefront", code},
                      {"currency", PricePoints::currency(code)},
                      {"price", Prices::number(price)},
                      {"regular", Prices::number(Prices::today(product, code))},
                      {"top", Prices::isTop(code)}});
  }
  json value{{"offerId", offer.offerId},         {"name", offer.name},   {"product", offer.productId},
             {"productName", product.name},      {"kind", product.kind}, {"active", offer.active},
             {"eligibility", offer.eligibility}, {"prices", prices},     {"batches", batches}};
  if (offer.terms) value.update(termsJson(*offer.terms));
  return value;
}

// The change's answer with an ID of what it makes.
Answer withId(Answer answer, const char* key, const std::string& id, const json& details = json()) {
  auto value = json::parse(answer.body);
  value[key] = id;
  if (!details.is_null()) value["details"] = details;
  return Answer::json(value);
}

Answer turnedOff(State& state, const Call& call, const App& app, const std::string& line,
                 const std::function<bool&()>& active) {
  if (!active()) throw Refused(409, {{"message", "It's off already."}});
  return Plans::change(state, call, app.name, {line}, [active]() -> std::string {
    active() = false;
    return "";
  });
}

// What a code looks like: eighteen letters and figures.
std::string codeOf(const std::string& batchId, std::int64_t index) {
  constexpr std::string_view signs = "ABCDEFGHJKLMNPQRSTUVWXYZ23456789";
  std::uint64_t mixed = std::hash<std::string>()(batchId) + static_cast<std::uint64_t>(index) * 0x9E3779B97F4A7C15U;
  std::string code;
  for (int i = 0; i < 18; ++i) {
    mixed ^= mixed >> 29U;
    mixed *= 0xBF58476D1CE4E5B9U;
    code += signs[(mixed >> 40U) % signs.size()];
  }
  return code;
}

} // namespace

Answer codes(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  auto offers = json::array();
  if (!call.param("product").empty()) Prices::product(state, app, call.param("product"));
  for (const auto& each : state.offers.codes) {
    const bool wanted = call.param("product").empty() || call.param("product") == each.productId;
    if (each.appId == app.appId && wanted) offers.push_back(offerJson(state, each));
  }
  return Answer::json({{"offers", offers}});
}

Answer createCode(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  Prices::advance(state);
  const auto body = call.object();
  const auto& product = Prices::product(state, app, body.at("product"));
  OfferCodeMade made{app.appId,
                     randomUuid(),
                     body.at("name"),
                     product.productId,
                     body.at("eligibility"),
                     std::nullopt,
                     pricesOf(state, product, body)};
  if (product.kind == "subscription") made.terms = termsOf(state, product, body);
  for (const auto& each : state.offers.codes) {
    if (each.appId == app.appId && each.productId == made.productId && each.name == made.name) {
      throw Refused(409, {{"message", fmt::format("{} has an offer {} already.", made.productId, made.name)}});
    }
  }
  const json details{{"product", product.productId}, {"changes", rowsOf(product, made.prices)}};
  auto apply = [&state, made]() -> std::string {
    state.offers.codes.push_back(made);
    return "";
  };
  auto answer = Plans::change(state, call, fmt::format("{}: {}", app.name, product.name),
                              {fmt::format("Make the offer {} for codes", made.name)}, apply);
  return withId(std::move(answer), "offerId", made.offerId, details);
}

Answer generate(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  auto& offer = named(state, app.appId, call.segments[4]);
  if (!offer.active) throw Refused(409, {{"message", "The offer is off."}});
  const auto body = call.object();
  CodeBatch batch{
      randomUuid(), body.value("code", ""), body.at("count"), state.clock(), body.value("expiresOn", ""), true, {}};
  for (const auto& each : offer.batches) {
    if (!batch.code.empty() && each.code == batch.code) throw Refused(409, {{"message", "There is such a code."}});
  }
  auto apply = [&state, appId = app.appId, id = offer.offerId, batch]() mutable -> std::string {
    batch.createdAt = state.clock();
    batch.readyAt = state.clock() + std::chrono::seconds(batch.code.empty() ? state.offers.codesAfter : 0);
    named(state, appId, id).batches.push_back(batch);
    return "";
  };
  const auto line = batch.code.empty()
                        ? fmt::format("Generate {}", counted(static_cast<std::size_t>(batch.count), "code", "codes"))
                        : fmt::format("Make the code {}", batch.code);
  return withId(Plans::change(state, call, fmt::format("{}: {}", app.name, offer.name), {line}, apply), "batchId",
                batch.batchId);
}

Answer values(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  const auto& batch = batchOf(named(state, app.appId, call.segments[4]), call.segments[6]);
  if (!batch.code.empty()) throw Refused(409, {{"message", "A custom code is the same for everyone."}});
  auto answer = batchJson(state, batch);
  auto codes = json::array();
  if (answer["state"] == "ready") {
    for (std::int64_t i = 0; i < batch.count; ++i) codes.push_back(codeOf(batch.batchId, i));
  }
  return Answer::json({{"state", answer["state"]}, {"codes", codes}});
}

Answer deactivate(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  const auto id = named(state, app.appId, call.segments[4]).offerId;
  return turnedOff(state, call, app, "Turn an offer off for good",
                   [&state, appId = app.appId, id]() -> bool& { return named(state, appId, id).active; });
}

Answer deactivateBatch(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  const auto id = named(state, app.appId, call.segments[4]).offerId;
  const auto batch = call.segments[6];
  return turnedOff(state, call, app, "Turn codes off for good", [&state, appId = app.appId, id, batch]() -> bool& {
    return batchOf(named(state, appId, id), batch).active;
  });
}

} // namespace kestu::sandbox::Offers
