#pragma once

#include "sandbox/http.hpp"
#include "sandbox/state.hpp"

// Introductory offers and offer codes. Each function is called with the state held.
namespace kestu::sandbox {

OffersState demoOffers();

namespace Offers {

Answer introOffers(State& state, const Call& call);
Answer createIntroOffer(State& state, const Call& call);
Answer deleteIntroOffers(State& state, const Call& call);
Answer codes(State& state, const Call& call);
Answer createCode(State& state, const Call& call);
Answer generate(State& state, const Call& call);
Answer values(State& state, const Call& call);
Answer deactivate(State& state, const Call& call);
Answer deactivateBatch(State& state, const Call& call);

// What is shared by these.

// What an offer costs in each storefront that the body's pricing reaches; 0 where it is free.
std::map<std::string, Amount> pricesOf(State& state, const PricedProduct& product, const nlohmann::json& body);
// The preview's rows.
nlohmann::json rowsOf(const PricedProduct& product, const std::map<std::string, Amount>& prices);
OfferTermsMade termsOf(State& state, const PricedProduct& product, const nlohmann::json& body);
nlohmann::json termsJson(const OfferTermsMade& terms);

} // namespace Offers

} // namespace kestu::sandbox
