#pragma once

#include "sandbox/prices/prices_state.hpp"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace kestu::sandbox {

// What an offer is, in the service's words.
struct OfferTermsMade {
  std::string mode, duration;
  std::int64_t periods = 1;
};

// A subscription's introductory offer in one country; days are empty where it is open.
struct IntroOfferMade {
  std::int64_t appId;
  std::string productId, storefront;
  OfferTermsMade terms;
  Amount price; // 0 where it is free
  std::string startsOn, endsOn;
};

// One-time codes of one making, or a word of its own that so many may redeem.
struct CodeBatch {
  std::string batchId;
  std::string code; // of a custom one
  std::int64_t count;
  Moment createdAt;
  std::string expiresOn;
  bool active = true;
  Moment readyAt;
};

struct OfferCodeMade {
  std::int64_t appId;
  std::string offerId, name, productId;
  std::vector<std::string> eligibility;
  std::optional<OfferTermsMade> terms;  // a subscription's
  std::map<std::string, Amount> prices; // by storefront
  bool active = true;
  std::vector<CodeBatch> batches = {};
};

struct OffersState {
  std::map<std::string, std::string> periods; // of subscriptions, by product ID
  std::vector<IntroOfferMade> intro;
  std::vector<OfferCodeMade> codes;
  int codesAfter = 0; // seconds that Apple takes to make a batch
};

} // namespace kestu::sandbox
