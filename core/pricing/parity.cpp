#include "core/pricing/parity.hpp"

#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/pricing/region_words.hpp"
#include "core/support/error.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <cmath>

namespace kestu {

namespace {

using Kind = CLIError::Kind;

Decimal percentIn(const std::string& option, const std::string& value, int lowest, int highest) {
  auto given = percentage(value);
  if (given && *given >= Decimal::of(lowest) && *given <= Decimal::of(highest)) return *given;
  throw CLIError(Kind::usage, "--" + option + " is a percentage from " + std::to_string(lowest) + "% to " +
                                  std::to_string(highest) + "%");
}

std::optional<std::string> sent(const std::optional<Decimal>& percent) {
  return percent ? std::optional(percent->shifted(-2).text()) : std::nullopt;
}

const Decimal& hundred() {
  static const Decimal value = Decimal::of(100);
  return value;
}

std::int64_t hundredths(const Decimal& fraction) { return (fraction * hundred()).whole(); }

} // namespace

std::string parityIndexName(std::string_view rawValue) {
  for (const auto& [raw, name] : parityIndexes) {
    if (raw == rawValue) return std::string(name);
  }
  return printable(rawValue);
}

// What is asked

bool ParityAsk::any() const { return index || strength || floor || cap || tolerance || exact || only || countries; }
void ParityAsk::setStrength(const std::string& value) { strength = percentIn("strength", value, 0, 150); }
void ParityAsk::setFloor(const std::string& value) { floor = percentIn("floor", value, 10, 100); }
void ParityAsk::setCap(const std::string& value) { cap = percentIn("cap", value, 100, 200); }
void ParityAsk::setTolerance(const std::string& value) { tolerance = percentIn("tolerance", value, 0, 50); }

void ParityAsk::setOnly(const std::string& value) {
  if (value != "lower" && value != "raise") throw CLIError(Kind::usage, "--only is lower or raise.");
  only = value;
}

void ParityAsk::setCountries(const std::string& value) {
  countries = RegionWords::storefronts(value);
  countriesTyped = value;
}

Query ParityAsk::query(const std::optional<std::string>& product) const {
  Query query;
  auto add = [&](const char* key, const std::optional<std::string>& value) {
    if (value) query.emplace_back(key, *value);
  };
  add("product", product);
  add("index", index);
  add("strength", sent(strength));
  add("floor", sent(floor));
  add("cap", sent(cap));
  add("tolerance", sent(tolerance));
  if (exact) add("exact", "true");
  add("only", only);
  if (countries) add("countries", Text::joined(*countries, ","));
  for (auto& item : landing.query()) query.push_back(std::move(item));
  return query;
}

std::string ParityAsk::options() const {
  std::string text;
  auto add = [&](const std::string& option, const std::optional<std::string>& value) {
    if (value) text += " --" + option + " " + Format::shellWord(*value);
  };
  auto typed = [](const std::optional<Decimal>& percent) {
    return percent ? std::optional(percent->text()) : std::nullopt;
  };
  add("index", index);
  add("strength", typed(strength));
  add("floor", typed(floor));
  add("cap", typed(cap));
  add("tolerance", typed(tolerance));
  if (exact) text += " --exact";
  add("only", only);
  if (countries) add("countries", printable(countriesTyped));
  return text + landing.options();
}

// A storefront

std::optional<std::int64_t> ParityStorefront::percent() const {
  if (!multiplier || kept) return std::nullopt;
  std::int64_t percent = hundredths(*multiplier - Decimal::of(1));
  return percent == 0 ? std::nullopt : std::optional(percent);
}

bool ParityStorefront::moves() const {
  if (change) return hundredths(*change) != 0;
  return price && percent();
}

std::optional<double> ParityStorefront::off() const {
  if (price && target && *target > Decimal()) return price->approximate() / target->approximate() - 1;
  if (change && *change > Decimal::of(-1)) return 1 / (1 + change->approximate()) - 1;
  return std::nullopt;
}

bool ParityStorefront::isOffBy(const Decimal& bound) const {
  // |price / target - 1| > bound, and |1 / (1 + change) - 1| > bound, without a division.
  if (price && target && *target > Decimal()) return (*price - *target).absolute() > bound * *target;
  if (change && *change > Decimal::of(-1)) return change->absolute() > bound * (Decimal::of(1) + *change);
  return false;
}

std::optional<int> ParityStorefront::marks() const {
  if (!confidence) return std::nullopt;
  bool isShare = *confidence < Decimal::of(1);
  std::int64_t marks = (isShare ? *confidence * Decimal::of(5) : *confidence).whole();
  return static_cast<int>(std::clamp<std::int64_t>(marks, 1, 5));
}

// The answer

std::string ParityAnswer::productText() const { return product ? printable(*product) : "the subscription"; }

void ParityAnswer::requireUsable(const ParityAsk& ask) const {
  const std::string needs = " Parity needs Apple's match of the price, which only a key with App Manager or Admin "
                            "reads: add one in the Kestu app (Settings → App Store Connect).";
  auto refuse = [](const std::string& message) { throw CLIError(Kind::failed, message); };
  if (connect == "nosubscription") refuse("The app has no subscription on sale for Parity to price.");
  if (connect == "nokey") refuse("No App Store Connect key of yours covers the app." + needs);
  if (connect == "unavailable") {
    refuse("App Store Connect didn't answer, and Parity needs Apple's match of the price. Try again in a moment.");
  }
  if (connect) refuse("Your App Store Connect key can't read prices." + needs);
  if (!base) {
    refuse("Parity works from Apple's match of the US price, and Kestu has none for " + productText() +
           " yet. Once it has a US price in App Store Connect, run it again.");
  }
  bool priced = std::any_of(storefronts.begin(), storefronts.end(),
                            [](const ParityStorefront& each) { return each.price || each.match; });
  if (ask.countries && !priced) refuse("None of the storefronts --countries names has a price of " + productText());
}

std::map<std::string, std::int64_t> ParityAnswer::percentages() const {
  std::map<std::string, std::int64_t> all;
  for (const ParityStorefront& each : storefronts) {
    if (auto percent = each.percent()) all.emplace(each.storefront, *percent);
  }
  return all;
}

std::set<std::string, std::less<>> ParityAnswer::covered() const {
  std::set<std::string, std::less<>> codes;
  for (const ParityStorefront& each : storefronts) codes.insert(each.storefront);
  return codes;
}

std::vector<const ParityStorefront*> ParityAnswer::toMatch() const {
  std::vector<const ParityStorefront*> all;
  for (const ParityStorefront& each : storefronts) {
    if (!each.percent()) all.push_back(&each);
  }
  return all;
}

Decimal ParityAnswer::tolerance() const {
  return settings && settings->tolerance ? *settings->tolerance : *Decimal::parse("0.15");
}

std::vector<const ParityStorefront*> ParityAnswer::offTarget() const {
  // A price exactly at the tolerance passes, whatever rounding the service did.
  Decimal bound = tolerance() + *Decimal::parse("0.000000001");
  std::vector<const ParityStorefront*> all;
  for (const ParityStorefront& each : storefronts) {
    if (each.isOffBy(bound)) all.push_back(&each);
  }
  std::stable_sort(all.begin(), all.end(), [](const ParityStorefront* a, const ParityStorefront* b) {
    return a->off().value_or(0) < b->off().value_or(0);
  });
  return all;
}

JSONData ParityAnswer::record(const std::optional<std::string>& only) const {
  ParitySettings used = settings.value_or(ParitySettings{});
  auto number = [](const std::optional<Decimal>& value, const char* otherwise) {
    return JSONData::decimal(value ? value->text() : otherwise);
  };
  JSONData record = JSONData::object({{"index", used.index.value_or("kestu")},
                                      {"strength", number(used.strength, "0.6")},
                                      {"floor", number(used.floor, "0.5")},
                                      {"cap", number(used.cap, "1.25")},
                                      {"tolerance", number(used.tolerance, "0.15")},
                                      {"zones", used.zones}});
  return record.setGiven("only", used.only ? used.only : only);
}

PriceOverrides ParityAnswer::overrides(bool priced) const {
  PriceOverrides all;
  for (const ParityStorefront& each : storefronts) {
    if (auto percent = each.percent()) {
      all.insert_or_assign(each.storefront, PriceOverride::percent(*percent));
    } else if (priced && each.kept) {
      all.insert_or_assign(each.storefront, PriceOverride::keep());
    }
  }
  return all;
}

} // namespace kestu
