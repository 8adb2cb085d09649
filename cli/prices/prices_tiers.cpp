#include "cli/app_platform.hpp"
#include "cli/context.hpp"
#include "cli/prices/prices.hpp"
#include "core/console/printable.hpp"
#include "core/pricing/price_tiers.hpp"

#include <memory>

namespace kestu {

namespace {

using Kind = CLIError::Kind;

struct TiersOptions : TableOptions {
  AppTarget app;
  std::optional<std::string> product;
  std::string country = "us";
  PriceTiers::Range range;
};

std::optional<Decimal> amountOf(const std::string& option, const std::string& value) {
  auto amount = Decimal::parse(value);
  if (!amount || amount->isNegative()) {
    throw CLIError(Kind::usage, option + " is a price, a number with a point for its cents: 4.99.");
  }
  return amount;
}

void runTiers(Context& context, const TiersOptions& options) {
  const auto& range = options.range;
  if (range.all && (range.from || range.to)) throw CLIError(Kind::usage, "--all goes without --from and --to.");
  if (range.from && range.to && *range.from > *range.to) throw CLIError(Kind::usage, "--from is at most --to.");
  Client client = context.signedIn();
  auto app = AppOnPlatform::resolve(client, options.app, std::nullopt, context);
  Query query;
  if (options.product) query.emplace_back("product", *options.product);
  query.emplace_back("country", options.country);
  auto tiers = client.get(app.path + "/prices/tiers", query, PriceTiers::read);
  // JSON has every one; the others are of what is shown.
  bool json = options.json || options.format == TableFormat::json;
  std::vector<PriceTier> shown = json ? tiers.value.prices : tiers.value.within(range);
  const Console& console = context.console;
  options.write(context.console, tiers.body, tiers.value.table(shown),
                tiers.value.text(options.product ? printable(*options.product) : app.appTitle(), shown, console.style(),
                                 console.width()));
}

} // namespace

void addPricesTiers(Command& group) {
  Command& command = group.add("tiers", "Every price Apple has in a country for the app, an in-app purchase or a "
                                        "subscription, the nice ones marked.");
  command.discussion =
      "What a price can be set to there, with your proceeds as Apple reports them and the share of the price that "
      "isn't (Apple's commission and any tax in the price): the app's own price without a product ID, else the "
      "product's (a subscription's list is its own). A nice price, as a customer reads it ($4.99 and $4.49, 59 kr, "
      "₹499), is green and marked ●: the kind kestu prices set --nice lands on. Today's price there is highlighted. "
      "From half today's price to twice it, or where it's free the cheapest 30, unless --all, --from or --to say "
      "otherwise (with no price there today, one of them says which); --json has every one.";
  auto options = std::make_shared<TiersOptions>();
  declareProduct(command, options->product, "The in-app purchase or subscription. The app's own price when left out.");
  auto value = [&](const char* name, const char* kind, const char* help,
                   const std::function<void(const std::string&)>& set) {
    command.option({{name}, kind, help, set, {}, false});
  };
  value("--country", "country",
        "The country: a storefront (se) or Apple's territory (SWE). The United States when left out.",
        [options](const std::string& text) { options->country = oneCountry(text); });
  value("--from", "price", "The cheapest to list.",
        [options](const std::string& text) { options->range.from = amountOf("--from", text); });
  value("--to", "price", "The dearest to list.",
        [options](const std::string& text) { options->range.to = amountOf("--to", text); });
  command.flag({"--all"}, options->range.all, "List every one.");
  options->app.declare(command);
  options->TableOptions::declare(command);
  command.run = [options](Context& context) { runTiers(context, *options); };
  command.example("--country se", "Near the app's price in Sweden.");
  command.example("--product com.example.daylight.pro.yearly --from 20 --to 40",
                  "A subscription's prices in the US, from 20 to 40.");
}

} // namespace kestu
