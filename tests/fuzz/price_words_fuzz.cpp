#include "core/pricing/parity.hpp"
#include "core/pricing/price_landing.hpp"
#include "core/pricing/price_override.hpp"
#include "core/pricing/region_words.hpp"
#include "core/support/error.hpp"
#include "core/support/text.hpp"
#include "tests/fuzz/targets.hpp"

#include <functional>

namespace kestu::fuzz {

namespace {

/// Runs what may refuse its words as a mistake in use, with a message that can be shown.
void refusing(const std::function<void()>& work, bool needsWords = true) {
  try {
    work();
  } catch (const CLIError& error) {
    require(error.kind == CLIError::Kind::usage, "a mistake in use");
    require(!needsWords || !error.description.empty(), "there are words for it");
    requirePrintable(error.description, "the message");
  }
}

void requireInBounds(const PriceOverride& price) {
  auto within = [&](int least, int most) {
    return price.amount >= Decimal::of(least) && price.amount <= Decimal::of(most) && !price.amount.isZero();
  };
  if (price.kind == PriceOverride::Kind::steps) require(within(-50, 50), "steps are few");
  if (price.kind == PriceOverride::Kind::percent) require(within(-90, 300), "a percentage is one");
  bool isPrice = price.kind == PriceOverride::Kind::price;
  if (isPrice) require(!price.amount.isNegative() && !price.amount.isZero(), "a price costs something");
  if (isPrice) require(price.amount.decimals() <= 2, "a price has two decimals at most");
}

} // namespace

/// Prices, percentages and countries as they are typed.
void priceWords(std::string_view bytes) {
  Input input(bytes);
  std::string word(input.line()), list(input.rest());
  refusing(
      [&] {
        PriceOverride price = PriceOverride::parse(word);
        require(PriceOverride::parse(price.text()) == price, "a price is what its text says: " + price.text());
        requireInBounds(price);
        requirePrintable(price.json("se").compact(), "a request");
      },
      false);
  refusing([&] {
    RegionWord region = RegionWord::read(word);
    require(RegionWord::read(region.word).storefronts == region.storefronts, "a region is what its word says");
    require(region.isRegion || region.storefronts.size() == 1, "a country is one");
  });
  refusing([&] {
    std::string last;
    for (const std::string& code : RegionWords::storefronts(list)) {
      require(last < code, "countries stand in order, each once");
      last = code;
    }
  });
  refusing([&] {
    for (const auto& [code, price] : PriceOverriding::given({word, list}, {})) {
      requireInBounds(price);
      require(RegionWord::read(code).storefronts.size() == 1, "a price is a country's");
    }
  });
  refusing([&] {
    PriceOverrides kept = PriceOverriding::given({}, {list});
    for (const auto& [code, price] : kept) require(price == PriceOverride::keep(), "what is kept is kept");
  });
  if (auto percent = percentage(word)) {
    require(percentage(percentText(*percent)) == percent && !percent->isNegative(), "a percentage is its text");
  }
  PriceLanding landing;
  ParityAsk ask;
  for (const auto& set : std::vector<std::function<void()>>{
           [&] { landing.setRound("--round", word); }, [&] { landing.setNice("--nice-within", word); },
           [&] { landing.setEnding("--nice-ending", word); }, [&] { ask.setStrength(word); },
           [&] { ask.setFloor(word); }, [&] { ask.setCap(word); }, [&] { ask.setTolerance(word); },
           [&] { ask.setOnly(word); }, [&] { ask.setCountries(list); }}) {
    refusing(set);
  }
  requirePrintable(landing.options() + landing.json().compact(), "options");
}

} // namespace kestu::fuzz
