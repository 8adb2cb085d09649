#include "cli/prices/set_options.hpp"

#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/support/moments.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <chrono>
#include <functional>

namespace kestu {

namespace {

constexpr int mostTimes = 1000; // --multiplier

[[noreturn]] void refuse(const std::string& message) { throw CLIError(CLIError::Kind::usage, message); }

bool isFigures(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

/// Digits, and so many more after a point at most.
std::optional<Decimal> plainNumber(const std::string& text, std::size_t mostDecimals) {
  std::size_t point = std::min(text.find('.'), text.size());
  bool whole = isFigures(std::string_view(text).substr(0, point));
  std::string_view rest = std::string_view(text).substr(std::min(point + 1, text.size()));
  if (!whole || (point < text.size() && (!isFigures(rest) || rest.size() > mostDecimals))) return std::nullopt;
  return Decimal::parse(text);
}

bool isDay(const std::string& text) {
  constexpr std::string_view form = "0000-00-00";
  if (text.size() != form.size()) return false;
  for (std::size_t i = 0; i < form.size(); ++i) {
    if (form[i] == '-' ? text[i] != '-' : !isFigures(text.substr(i, 1))) return false;
  }
  return Moments::parse(text + "T00:00:00Z").has_value();
}

std::optional<std::string> dayFrom(const std::optional<std::string>& from, Moment now) {
  if (!from) return std::nullopt;
  if (*from != "soonest" && !isDay(*from)) refuse("--from is a date, as 2026-12-26, or soonest.");
  // A day that has begun somewhere hasn't passed everywhere.
  std::string yesterday = Moments::iso8601(now - std::chrono::hours(24)).substr(0, 10);
  if (*from < yesterday)
    refuse("--from is a date that's still to come, as " + Moments::iso8601(now + std::chrono::hours(24)).substr(0, 10) +
           ", or soonest.");
  return from;
}

std::optional<std::string> dayUntil(const std::optional<std::string>& until, const std::optional<std::string>& from,
                                    Moment now) {
  if (!until) return std::nullopt;
  std::string start = from && *from != "soonest" ? *from : Moments::iso8601(now).substr(0, 10);
  if (!isDay(*until) || *until <= start) refuse("--until is a date after --from, as 2026-12-26.");
  return until;
}

void requireDerivable(const SetOptions& options) {
  if (options.derivedFrom.has_value() != options.multiplier.has_value()) {
    refuse("--derived-from and --multiplier go together.");
  }
  if (!options.derivedFrom) return;
  if (!options.product) refuse("--derived-from is a subscription's: name the one it sets with --product.");
  if (options.country || options.until || options.parity) {
    refuse("--derived-from goes without --country, --until and --parity.");
  }
  if (options.price) refuse("--derived-from takes the place of a price: leave the price out.");
  if (options.derivedFrom == options.product) refuse("A subscription's prices can't be derived from its own.");
}

std::optional<Decimal> multiplierOf(const std::optional<std::string>& typed) {
  if (!typed) return std::nullopt;
  auto number = plainNumber(*typed, 20);
  if (!number || number->isZero() || *number > Decimal::of(mostTimes)) {
    refuse("--multiplier is a number above 0 and " + Format::number(mostTimes) +
           " at most, with a point for a part: 7.5.");
  }
  return number;
}

void requireParityFits(const SetOptions& options) {
  if (!options.parity) {
    if (options.parityOptions.ask.any()) {
      refuse("--index, --strength, --floor, --cap, --tolerance, --exact, --only and --countries go with --parity.");
    }
    return;
  }
  if (!options.product) refuse("--parity is a subscription's: name it with --product.");
  if (options.country && options.country != "us") {
    refuse("Parity's shares are of Apple's match of the US price, so --parity goes without --country, or with "
           "--country us.");
  }
}

} // namespace

PriceChange SetOptions::change(Moment now) const {
  if (waiting.wait && noWait) refuse("--wait and --no-wait: one or the other.");
  PriceChange change;
  if (price) {
    change.price = plainNumber(*price, 2);
    if (!change.price) refuse("The price is a number with a point for its cents: 4.99, or 0.");
  }
  requireDerivable(*this);
  requireParityFits(*this);
  if ((existingToo || waiting.wait) && !product) {
    refuse("--existing-too and --wait are a subscription's: name it with --product.");
  }
  change.product = product;
  change.country = country;
  change.from = dayFrom(from, now);
  change.until = dayUntil(until, from, now);
  change.derivedFrom = derivedFrom;
  change.multiplier = multiplierOf(multiplier);
  change.overrides = PriceOverriding::given(overrides, keeps);
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
        [this](Text text) { country = oneCountry(text); });
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
