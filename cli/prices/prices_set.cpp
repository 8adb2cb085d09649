#include "cli/app_platform.hpp"
#include "cli/context.hpp"
#include "cli/prices/set_options.hpp"
#include "cli/prices/typed_values.hpp"
#include "core/console/format.hpp"
#include "core/console/format_money.hpp"
#include "core/console/printable.hpp"
#include "core/pricing/price_change.hpp"
#include "core/pricing/pricing_file.hpp"
#include "core/project/project.hpp"
#include "core/support/json_data.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <iterator>
#include <memory>
#include <set>

namespace kestu {

namespace {

using Kind = CLIError::Kind;

/// A price change on its way to the service, and where each part of it came from.
struct Setting {
  Client client;
  AppOnPlatform app;
  StorePrices prices;
  PriceChange change;
  PriceOverrides fromFile{}; ///< the pricing file's entries that count
  std::size_t fromParity = 0;
};

/// What the product is called in a sentence.
std::string subject(const Setting& setting) {
  return setting.change.product ? printable(*setting.change.product) : "the app's own price";
}

/// "$4.99 in United States".
std::string baseText(const Setting& setting) {
  const PriceChange& change = setting.change;
  if (change.derivedFrom) {
    return "each country's price of " + printable(*change.derivedFrom) + " times " + change.multiplier->text();
  }
  if (!change.price) return "only the countries overridden";
  std::string code = change.country.value_or("us");
  const auto* there = setting.prices.find(code);
  return Format::money(*change.price, there ? there->currency : "USD") + " in " + Format::country(code);
}

std::string titleOf(const Setting& setting) {
  const PriceChange& change = setting.change;
  std::string text = setting.app.appTitle() + ", " + subject(setting) + ": " + baseText(setting);
  if (change.from) text += change.from == "soonest" ? ", as soon as can be" : ", from " + Format::day(*change.from);
  if (change.until) text += ", until " + Format::day(*change.until);
  return text + ", after your approval:";
}

/// Amounts that the currency of a country can't hold are refused before anything is sent.
void requireCents(const Setting& setting, const std::string& key) {
  const PriceChange& change = setting.change;
  PriceOverrides typed = change.overrides;
  for (const auto& [code, ignored] : setting.fromFile) typed.erase(code);
  Faults faults;
  faults.add(setting.prices.centsFaults(change.price, change.country.value_or("us"), typed));
  faults.add(PricingFile::faultsAt(key, setting.prices.centsFaults(setting.fromFile)));
  if (!faults.all.empty()) throw CLIError(Kind::usage, Text::joined(faults.all, "\n"));
}

/// Later entries win: the file's, Parity's, the command line's.
void merge(Setting& setting, const ProductPrices& file, const std::optional<ParityAnswer>& parity) {
  PriceOverrides given = std::move(setting.change.overrides);
  PriceOverrides merged = parity ? file.leavingOutParityIn(parity->covered()) : file.overrides;
  PriceOverrides suggested = parity ? parity->overrides(setting.change.price.has_value()) : PriceOverrides();
  setting.fromFile = merged;
  std::erase_if(setting.fromFile,
                [&](const auto& each) { return given.contains(each.first) || suggested.contains(each.first); });
  setting.fromParity = static_cast<std::size_t>(
      std::count_if(suggested.begin(), suggested.end(), [&](const auto& each) { return !given.contains(each.first); }));
  for (const auto* layer : {&suggested, &given}) {
    for (const auto& [code, override] : *layer) merged.insert_or_assign(code, override);
  }
  setting.change.overrides = std::move(merged);
}

void requireChange(const Setting& setting, const SetOptions& options) {
  if (setting.change.changesSomething()) return;
  if (options.parity) {
    throw CLIError(Kind::usage, "Parity gives no storefront a price of its own, so with no price or countries given "
                                "there's nothing to change.");
  }
  throw CLIError(Kind::usage, "Give the new price, or countries to override: --override, --keep or " +
                                  std::string(PricingFile::path) + ".");
}

std::vector<ChangeItem> itemsOf(const std::vector<PriceChangeLine>& lines) {
  std::vector<ChangeItem> items;
  for (const PriceChangeLine& line : lines) {
    if (!line.moves()) continue;
    items.push_back({line.storefront, "price", line.now ? std::optional(line.amount(*line.now)) : std::nullopt,
                     line.amount(line.then)});
  }
  return items;
}

std::string linesOf(const Setting& setting, const SetOptions& options, const std::vector<PriceChangeLine>& preview,
                    Console& console) {
  std::vector<std::string> parts;
  std::string rows = PriceChangeText::preview(preview, options.all, console.style(), console.width());
  if (!rows.empty()) parts.push_back(rows);
  auto fold = [&](const std::string& text) {
    if (!text.empty()) parts.push_back(TextStyle::wrap(text, console.width()));
  };
  auto count = [](std::size_t number) { return Format::countries(static_cast<std::int64_t>(number)); };
  if (!setting.fromFile.empty()) fold(count(setting.fromFile.size()) + " from " + std::string(PricingFile::path) + ".");
  if (setting.fromParity > 0) fold(count(setting.fromParity) + " from Parity's suggestion.");
  fold(PriceChangeText::keeps(setting.change.overrides));
  if (setting.change.price) {
    std::vector<std::string> back;
    for (const OwnPrice& own : setting.prices.ownPrices()) {
      if (!setting.change.overrides.contains(own.storefront)) back.push_back(printable(own.storefront));
    }
    constexpr std::size_t few = 12;
    if (console.isTerminal(Stream::out) && !options.all && back.size() > few) {
      std::size_t more = back.size() - few;
      back.resize(few);
      back.back() += " and " + Format::number(static_cast<std::int64_t>(more)) + " more (--all lists them)";
    }
    if (!back.empty()) fold("Back to Apple's match, from a price of their own: " + Text::joined(back, ", ") + ".");
  }
  if (setting.prices.isSubscription()) {
    fold(setting.change.existingToo ? "An increase applies to existing subscribers too."
                                    : "Existing subscribers keep their current price where it increases.");
  }
  return Text::joined(parts, "\n");
}

ProposedChange proposed(const Setting& setting, const SetOptions& options, const std::optional<JobDetails>& details,
                        Console& console) {
  auto preview = PriceChangeLine::of(details);
  ProposedChange change;
  change.title = titleOf(setting);
  change.lines = linesOf(setting, options, preview, console);
  change.items = itemsOf(preview);
  change.would = "Dry run: would set " + subject(setting) + ", after your approval.";
  change.done = "✓ Set " + subject(setting) + ": " + baseText(setting) + ".";
  return change;
}

JobChange jobChange(const Setting& setting, const ChangeRequest& request, const ProposedChange& change) {
  return {request,
          "● Kestu sets " + subject(setting) + ": " + baseText(setting) +
              ", country by country, as your key's hour allows.",
          change};
}

void runSet(Context& context, const SetOptions& options) {
  Faults faults;
  PriceChange change = options.change(TypedValues::today(context), faults);
  auto root = Project::root(context.folder);
  std::string key = options.product.value_or(std::string(PricingFile::appKey));
  ProductPrices file;
  faults.also([&] { file = PricingFile::read(root).product(key); });
  faults.settle(context.console);
  if (!change.landing.any()) change.landing = file.landing;
  if (!options.parity && !change.changesSomething() && file.overrides.empty()) {
    throw CLIError(Kind::usage, "Give the new price, or countries to override: --override, --keep or " +
                                    std::string(PricingFile::path) + ".");
  }
  tellUnread(context.console, key, file);
  Client client = context.signedIn();
  Setting setting{client, AppOnPlatform::resolve(client, options.app, std::nullopt, context), {}, std::move(change)};
  Query ofProduct;
  if (options.product) ofProduct.emplace_back("product", *options.product);
  setting.prices = client.get(setting.app.path + "/prices", ofProduct, StorePrices::read).value;
  options.requireKind(setting.prices);
  std::optional<ParityAnswer> parity;
  if (options.parity) {
    ParityAsk ask = options.parityOptions.ask;
    ask.landing = setting.change.landing;
    parity = fetchParity(client, setting.app.path, ask, options.product, root).value;
    parity->requireUsable(ask);
  }
  merge(setting, file, parity);
  requireChange(setting, options);
  requireCents(setting, key);
  ChangeRequest request{"POST", setting.app.path + "/prices", setting.change.landing.query(),
                        setting.change.body().compact()};
  auto plan = plannedChange(setting.client, request, context.console);
  ProposedChange proposal = proposed(setting, options, plan.value.details, context.console);
  if (options.dryRun) return tellPlanned(context, options, proposal, plan.body);
  noteSameWaiting(context, client, setting.app.path, plan.body, proposal);
  options.confirm(context, proposal);
  sendJob(context, {client, setting.app.path, options.app}, options, options.waiting, priceJobs,
          jobChange(setting, request, proposal));
}

} // namespace

void addPricesSet(Command& group) {
  Command& command = group.add("set", "Set a price, starting on a date you choose, as customers in one country pay it; "
                                      "Apple works out every other country's. Waits for your approval.");
  command.discussion =
      "The countries with a price of their own come from the repo's metadata/pricing.json, from --parity and from "
      "--override and --keep, a flag taking the file's place for its country. Without a price, only those countries "
      "change, their steps and percentages from Apple's match of the price now: a subscription's in the US or "
      "--country, the app's and an in-app purchase's in their base country. A country is a storefront (se) or Apple's "
      "territory (SWE), or several at once: eu, eur (the euro's), or one of Apple's regions (europe, asiapacific, "
      "latinamerica, uscanada, africamiddleeast).";
  auto options = std::make_shared<SetOptions>();
  options->declare(command);
  command.run = [options](Context& context) { runSet(context, *options); };
  command.example("4.99 --dry-run", "The app's own price in every country; nothing is sent.");
  command.example("29.99 --product com.example.daylight.pro.yearly --from 2027-02-01 --override se=299 --wait",
                  "A subscription's, with a price of its own in Sweden.");
  command.example("--product com.example.daylight.pro.yearly", "Only the countries that metadata/pricing.json names.");
}

} // namespace kestu
