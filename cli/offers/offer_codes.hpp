#pragma once

#include "cli/context.hpp"
#include "cli/offers/offers.hpp"
#include "core/pricing/offer_codes.hpp"

#include <string>

namespace kestu {

/// The offer that a command is about.
struct OfferTarget {
  std::string offer;
  AppTarget app;

  void declare(Command& command);
};

/// An offer found, and what a change of it needs.
struct FoundOffer {
  Client client;
  AppOnPlatform app;
  OfferCode offer;
  std::string json; ///< the offer as the service gave it
  std::string path; ///< of its calls
  std::string word; ///< what another command line calls it: its name, or its ID where that isn't its alone or looks
                    ///< like an option

  static FoundOffer of(const OfferTarget& target, const Context& context);
  std::string about() const; ///< "the offer Spring of com.example.pro"; printable
};

/// An argument that names an offer on another command line, before it " --app …" where that was given.
std::string offerWords(const AppTarget& app, const std::string& offer);

/// A day that codes made now can be good until, for a "Next:".
std::string expiryExample(Moment now);

} // namespace kestu
