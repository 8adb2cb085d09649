#include "cli/prices/prices.hpp"

#include "cli/families.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/pricing/pricing_file.hpp"
#include "core/pricing/region_words.hpp"
#include "core/pricing/storefronts.hpp"
#include "core/support/text.hpp"

#include <functional>
#include <utility>

namespace kestu {

const JobGroup priceJobs = {"prices", "a subscription's price change", "the new prices",
                            "0b9a3a8e-5d4c-4f6e-8a37-2d1f6c9e7b10"};

namespace {

using Set = std::function<void(const std::string&)>;

/// Keeps what it throws, to be told with all else that is wrong.
Set noting(Faults& wrong, Set set) {
  return [&wrong, set = std::move(set)](const std::string& value) { wrong.collect([&] { set(value); }); };
}

void declareValue(Command& command, const std::string& name, const std::string& value, const std::string& help,
                  const Set& set, std::vector<std::string> choices = {}) {
  command.option({{name}, value, help, set, std::move(choices), false});
}

} // namespace

void LandingOptions::declare(Command& command) {
  declareValue(
      command, "--round", "at-least|at-most|closest",
      "How a percentage lands on Apple's prices: at-least (to start with: a cut at or past the percentage, a raise "
      "too), at-most or closest.",
      noting(wrong, [this](const std::string& value) { landing.setRound("--round", value); }),
      {"at-least", "at-most", "closest"});
  command.option({{"--nice"},
                  "",
                  "Each percentage's or steps' price the nearest nice one of Apple's within 5%, as a customer reads "
                  "it: $4.99 or $4.49 near $5, 59 kr, ₹499.",
                  [this](const std::string&) {
                    if (!landing.nice) landing.nice = PriceLanding::niceWithin();
                  },
                  {},
                  false});
  declareValue(command, "--nice-within", "percentage",
               "How far a nice price may be from where the percentage or steps put it: 1% to 15%. With it, --nice.",
               noting(wrong, [this](const std::string& value) { landing.setNice("--nice-within", value); }));
  declareValue(
      command, "--nice-ending", "99|00",
      "Between two nice prices that read the same ($4.99 and $5.00), which to prefer: 99 (to start with) or 00. A "
      "preference, never a rule.",
      noting(wrong, [this](const std::string& value) { landing.setEnding("--nice-ending", value); }), {"99", "00"});
}

void ParityOptions::declare(Command& command) {
  std::vector<std::string> indexes;
  for (const auto& [raw, name] : parityIndexes) indexes.emplace_back(raw);
  declareValue(command, "--index", "index",
               Text::orList(indexes) + ". The Kestu Global Price Index to start with, the median of the others there.",
               noting(wrong,
                      [this, indexes](const std::string& value) {
                        requireOneOf("--index", value, indexes);
                        ask.index = value;
                      }),
               indexes);
  declareValue(command, "--strength", "percentage", "How much of the index to follow, a percentage: 60% to start with.",
               noting(wrong, [this](const std::string& value) { ask.setStrength(value); }));
  declareValue(command, "--floor", "percentage",
               "The lowest share of Apple's match a price goes to: 50% to start with.",
               noting(wrong, [this](const std::string& value) { ask.setFloor(value); }));
  declareValue(command, "--cap", "percentage",
               "The highest share of Apple's match a price goes to: 125% to start with.",
               noting(wrong, [this](const std::string& value) { ask.setCap(value); }));
  declareValue(command, "--tolerance", "percentage",
               "How near Apple's match counts as at it, either way: 15% to start with. --check allows as much off a "
               "target.",
               noting(wrong, [this](const std::string& value) { ask.setTolerance(value); }));
  command.flag({"--exact"}, ask.exact,
               "Each storefront's own share of Apple's match, rather than the nearest of the five zones.");
  declareValue(command, "--only", "lower|raise", "Only lower prices, or only raise them: lower or raise.",
               noting(wrong, [this](const std::string& value) { ask.setOnly(value); }), {"lower", "raise"});
  declareValue(command, "--countries", "regions",
               "Only these regions, separated by commas: countries (my,in), eu, eur or Apple's regions (asiapacific).",
               noting(wrong, [this](const std::string& value) { ask.setCountries(value); }));
}

void declareProduct(Command& command, std::optional<std::string>& product, const std::string& help) {
  declareValue(command, "--product", "product ID", help, [&product](const std::string& value) {
    if (Text::trimmed(value).empty()) throw UsageError("--product is empty.");
    product = Text::trimmed(value);
  });
}

Response<ParityAnswer> fetchParity(const Client& client, const std::string& appPath, ParityAsk ask,
                                   const std::optional<std::string>& product, const std::filesystem::path& root) {
  PricingFile file = PricingFile::read(root);
  bool given = ask.landing.any();
  if (!given && product) ask.landing = file.product(*product).landing;
  auto answer = client.get(appPath + "/parity", ask.query(product), ParityAnswer::read);
  if (given || product || !answer.value.product) return answer;
  ask.landing = file.product(*answer.value.product).landing;
  if (!ask.landing.any()) return answer;
  return client.get(appPath + "/parity", ask.query(answer.value.product), ParityAnswer::read);
}

std::string ofApp(const AppTarget& app) { return app.app ? " --app " + Format::shellWord(printable(*app.app)) : ""; }

std::string oneCountry(const std::string& value) {
  std::string word = Text::trimmed(value);
  if (const Storefront* country = Storefronts::find(word)) return std::string(country->code);
  bool several = word.find(',') != std::string::npos;
  try {
    several = several || RegionWord::read(word).isRegion;
  } catch (const CLIError&) {
    if (!several) throw;
  }
  throw CLIError(CLIError::Kind::usage,
                 "--country is one country, whose price Apple matches everywhere else: never eu, eur or one of Apple's "
                 "regions.\nFor one price in every euro country: --country de --override eur=4.99.");
}

void tellUnread(Console& console, const std::string& product, const ProductPrices& file) {
  for (const std::string& key : file.unread) {
    console.error("! " + std::string(PricingFile::path) + ": " + printable(product) + " has " + printable(key) +
                  ", which kestu doesn't read: its keys are countries, parity and rounding.");
  }
}

void addPrices(Command& command) {
  command.discussion = "kestu prices parity suggests a subscription's prices, kestu prices set sets them, and kestu "
                       "prices status and undo follow a change and take it back.";
  addPricesSet(command);
  addPricesTiers(command);
  addPricesParity(command);
  addJobStatus(command, priceJobs);
  addJobUndo(command, priceJobs);
  command.example("tiers --product com.example.daylight.pro.yearly",
                  "The prices that Apple has near a subscription's.");
  command.example("set 44.99 --product com.example.daylight.pro.yearly --dry-run",
                  "What a new price would change; nothing is sent.");
}

} // namespace kestu
