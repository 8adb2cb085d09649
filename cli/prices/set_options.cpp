#include "cli/prices/set_options.hpp"

#include "cli/prices/typed_values.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/support/text.hpp"

#include <functional>

namespace kestu {

namespace {

constexpr int mostTimes = 1000; // --multiplier

[[noreturn]] void refuse(const std::string& message) { throw CLIError(CLIError::Kind::usage, message); }

void checkDerived(const SetOptions& options, Faults& faults) {
  if (options.derivedFrom.has_value() != options.multiplier.has_value()) {
    faults.add("--derived-from and --multiplier go together.");
  }
  if (!options.derivedFrom) return;
  if (!options.product) faults.add("--derived-from is a subscription's: name the one it sets with --product.");
  if (options.country || options.until || options.parity) {
    faults.add("--derived-from goes without --country, --until and --parity.");
  }
  if (options.price) faults.add("--derived-from takes the place of a price: leave the price out.");
  if (options.derivedFrom == options.product) faults.add("A subscription's prices can't be derived from its own.");
}

std::optional<Decimal> multiplierOf(const std::optional<std::string>& typed, Faults& faults) {
  if (!typed) return std::nullopt;
  auto number = TypedValues::plainNumber(*typed, 20);
  if (!number || number->isZero() || *number > Decimal::of(mostTimes)) {
    faults.add("--multiplier is a number above 0 and " + Format::number(mostTimes) +
               " at most, with a point for a part: 7.5.");
  }
  return number;
}

void checkParity(const SetOptions& options, const std::optional<std::string>& country, Faults& faults) {
  faults.add(options.parityOptions.wrong.all);
  if (!options.parity) {
    if (options.parityOptions.ask.any()) {
      faults.add("--index, --strength, --floor, --cap, --tolerance, --exact, --only and --countries go with --parity.");
    }
    return;
  }
  if (!options.product) faults.add("--parity is a subscription's: name it with --product.");
  if (country && country != "us") {
    faults.add("Parity's shares are of Apple's match of the US price, so --parity goes without --country, or with "
               "--country us.");
  }
}

} // namespace

PriceChange SetOptions::change(const std::string& today, Faults& faults) const {
  PriceChange change;
  if (price) {
    change.price = TypedValues::plainNumber(*price, 2);
    if (!change.price) faults.add("The price is a number with a point for its cents: 4.99, or 0.");
  }
  if (country) faults.collect([&] { change.country = oneCountry(*country); });
  checkDerived(*this, faults);
  change.multiplier = multiplierOf(multiplier, faults);
  checkParity(*this, change.country, faults);
  if ((existingToo || waiting.wait) && !product) {
    faults.add("--existing-too and --wait are a subscription's: name it with --product.");
  }
  waiting.check(noWait, faults);
  faults.collect([&] { change.from = TypedValues::dayFrom(from, today); });
  faults.collect([&] { change.until = TypedValues::dayUntil(until, change.from, today); });
  faults.collect([&] { change.overrides = PriceOverriding::given(overrides, keeps); });
  faults.add(landing.wrong.all);
  change.product = product;
  change.derivedFrom = derivedFrom;
  change.existingToo = existingToo;
  change.landing = landing.landing;
  return change;
}

void SetOptions::requireKind(const StorePrices& prices) const {
  if (!product) return;
  std::string name = printable(*product);
  if (prices.isSubscription()) {
    if (!until) return;
    refuse(name + " is a subscription, whose prices run until they change: its sale is an introductory offer (kestu "
                  "intro-offers create) or an offer code (kestu offer-codes create).");
  }
  if (existingToo || waiting.wait || derivedFrom) {
    refuse(name + " isn't a subscription: --existing-too, --wait and --derived-from are a subscription's.");
  }
  if (parity) refuse(name + " isn't a subscription: --parity is a subscription's.");
}

void SetOptions::declare(Command& command) {
  using Text = const std::string&;
  auto value = [&](const char* name, const char* kind, const char* help, const std::function<void(Text)>& set) {
    command.option({{name}, kind, help, set, {}, false});
  };
  command.argument({"price",
                    "The price, as customers in the country pay it: 4.99, or 0 for a free app. Left out, only the "
                    "countries overridden change.",
                    [this](Text text) { price = text; }, false});
  declareProduct(command, product, "The in-app purchase or subscription. Without it the app's own price.");
  value("--country", "country",
        "The one country where customers pay it, never several: a storefront (se) or Apple's territory (SWE). Defaults "
        "to the United States when not provided.",
        [this](Text text) { country = text; });
  value("--from", "date", "When it starts: a date, as 2026-12-01, or soonest.", [this](Text text) { from = text; });
  value("--until", "date",
        "A temporary price's end, as 2026-12-26: from then each country is back to what it had, its own price or "
        "Apple's match. The app's and an in-app purchase's; a subscription's sale is an introductory offer or an offer "
        "code.",
        [this](Text text) { until = text; });
  value("--derived-from", "product ID",
        "Another subscription's product ID, in place of a price: each country's is its price there times --multiplier.",
        [this](Text text) { derivedFrom = text; });
  value("--multiplier", "number",
        "What --derived-from's price in each country is multiplied by, with a point for a part: 7.5.",
        [this](Text text) { multiplier = text; });
  command.flag({"--parity"}, parity,
               "A subscription's Parity suggestion as its countries of their own: each storefront's share of Apple's "
               "match. Without a price only those change; with one, the rest go to Apple's match of it.");
  parityOptions.declare(command);
  landing.declare(command);
  value("--override", "country=price",
        "A country and its price: se=59, se=+2 (steps), se=-10% or se=keep. Repeat for "
        "several.",
        [this](Text text) { overrides.push_back(text); });
  value("--keep", "countries", "Countries that keep today's price, separated by commas.",
        [this](Text text) { keeps.push_back(text); });
  command.flag({"--existing-too"}, existingToo,
               "Apply price increase to existing subscribers, rather than preserve current price for them.");
  command.flag({"--all"}, all,
               "List every country whose price moves, not only the top markets of those at Apple's price.");
  waiting.declare(command);
  app.declare(command);
  ChangeOptions::declare(command);
}

} // namespace kestu
