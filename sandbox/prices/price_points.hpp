#pragma once

#include "sandbox/prices/prices_state.hpp"

#include <string>
#include <string_view>
#include <vector>

// Prices as Apple has them: what each storefront pays in, which prices there are, and which one an amount lands on.
namespace kestu::sandbox::PricePoints {

std::string currency(std::string_view storefront);

// Every price there is in the currency, ascending, 0 included.
const std::vector<Amount>& all(const std::string& currency);
bool isNice(const std::string& currency, Amount price); // $4.99 and $4.49, 59 kr

// Apple's match in a storefront of a price in US dollars, and the dollars that a price there is the match of.
Amount match(const std::string& storefront, Amount dollars);
Amount dollars(const std::string& storefront, Amount price);

enum class Round { atLeast, atMost, closest };

struct Landing {
  Round round = Round::atLeast;
  double nice = 0; // the window in percent; 0 for none
  bool to00 = false;

  // An empty word is the one to start with.
  static Landing of(const std::string& round, const std::string& nice, const std::string& ending);
};

// So many hundredths of the match, landed; `share` is 80 for a fifth off.
Amount landed(const std::string& currency, Amount match, double share, const Landing& landing);
// So many of Apple's prices up or down from one.
Amount stepped(const std::string& currency, Amount match, long steps, const Landing& landing);

} // namespace kestu::sandbox::PricePoints
