#pragma once

#include "sandbox/http.hpp"
#include "sandbox/prices/price_points.hpp"
#include "sandbox/state.hpp"

// Prices, Parity's suggestions and the jobs that change prices. Each function is called with the state held.
namespace kestu::sandbox {

PricesState demoPrices();

namespace Prices {

Answer show(State& state, const Call& call);
Answer tiers(State& state, const Call& call);
Answer change(State& state, const Call& call);
Answer parity(State& state, const Call& call);
Answer job(State& state, const Call& call);
Answer undo(State& state, const Call& call);
// The app's jobs that are on their way, as its status lists them.
nlohmann::json running(State& state, const App& app);

// What is shared by these.

// The app's product that the ID names, the app's own price without one; throws Refused when there is none.
PricedProduct& product(State& state, const App& app, const std::string& productId);
bool isTop(std::string_view storefront);
// From a JSON number, which Apple has as a price in the storefront; throws Refused.
Amount priceIn(const std::string& storefront, double value);
// 10:00 UTC of the day before.
Moment undoUntil(const std::string& startsOn);
Amount today(const PricedProduct& product, const std::string& storefront);
// Starts a job and answers with its ID.
std::string start(State& state, PriceJob job);
// Moves every job on to what the time makes of it.
void advance(State& state);
// An amount as JSON: 4.99.
nlohmann::json number(Amount amount);

} // namespace Prices

} // namespace kestu::sandbox
