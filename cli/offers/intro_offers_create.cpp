#include "cli/context.hpp"
#include "cli/offers/offers.hpp"
#include "cli/prices/typed_values.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/pricing/intro_offers.hpp"
#include "core/pricing/pricing_file.hpp"
#include "core/pricing/storefronts.hpp"
#include "core/project/project.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <memory>

namespace kestu {

namespace {

using Kind = CLIError::Kind;

struct CreateOptions : ChangeOptions {
  AppTarget app;
  std::optional<std::string> product, from, until;
  OfferTermsOptions terms;
  OfferPricingOptions pricing;
  bool all = false;
  JobWaitOptions waiting;
};

/// All that can be told of the options without asking anybody.
NewOffer offerOf(const CreateOptions& options, const std::string& today, Faults& faults) {
  NewOffer offer;
  needProduct(options.product, faults);
  offer.terms = options.terms.given(faults);
  bool known = !offer.terms->mode.empty();
  offer.pricing = options.pricing.given(known ? std::optional(offer.terms->isFree()) : std::nullopt, faults);
  faults.collect([&] {
    offer.from = TypedValues::dayFrom(options.from, today);
    if (offer.from == "soonest") offer.from.reset();
  });
  faults.collect([&] { offer.until = TypedValues::lastDay(options.until, offer.from, today); });
  options.waiting.check(options.noWait, faults);
  offer.all = options.all;
  offer.field = "introductory offer";
  offer.subject = "the introductory offer of " + printable(options.product.value_or(""));
  return offer;
}

/// Below what was typed goes what the repository's file says of the subscription's offers.
void addFile(NewOffer& offer, const ProductPrices& file, const std::string& product) {
  PriceOverrides typed = offer.pricing.overrides;
  PriceOverrides counting = file.overrides;
  if (offer.terms->isFree()) {
    std::erase_if(counting, [](const auto& each) { return each.second.kind != PriceOverride::Kind::keep; });
  } else if (!offer.pricing.landing.any()) {
    offer.pricing.landing = file.landing;
  }
  offer.pricing.underlay(counting);
  offer.fromFile = offer.pricing.overrides;
  std::erase_if(offer.fromFile, [&](const auto& each) { return typed.contains(each.first); });
  std::vector<std::string> wrong = PricingFile::faultsAtIntro(product, offer.pricing.faults());
  if (!wrong.empty()) throw CLIError(Kind::usage, Text::joined(wrong, "\n"));
  if (!offer.fromFile.empty()) {
    offer.notes.push_back(Format::countries(static_cast<std::int64_t>(offer.fromFile.size())) + " from " +
                          std::string(PricingFile::path) + ".");
  }
  const auto& all = Storefronts::all();
  if (std::none_of(all.begin(), all.end(),
                   [&](const auto& each) { return offer.pricing.reaches(std::string(each.code)); })) {
    throw CLIError(Kind::usage, "Every country that it is for is kept as it is" +
                                    (offer.fromFile.empty() ? "" : ", by " + std::string(PricingFile::path) + " too") +
                                    ", so there's nothing to make.");
  }
}

/// The offers that a new one would meet.
struct InTheWay {
  std::vector<std::string> countries; ///< each once, in order
  std::optional<std::string> lastDay; ///< of all of them, where all of them end

  InTheWay(const NewOffer& offer, const IntroSubscription& there, const std::string& today) {
    bool end = true;
    for (const IntroOffer& each : there.offers) {
      bool meets = each.meets(offer.from.value_or(today), offer.until);
      if (!meets || !offer.pricing.reaches(each.price.storefront)) continue;
      countries.push_back(each.price.storefront);
      end = end && each.endsOn;
      lastDay = std::max(lastDay, each.endsOn);
    }
    if (!end) lastDay.reset();
    std::sort(countries.begin(), countries.end());
    countries.erase(std::unique(countries.begin(), countries.end()), countries.end());
  }
};

void requireRoom(const InTheWay& taken, const std::string& product, const AppTarget& app) {
  if (taken.countries.empty()) return;
  constexpr std::size_t few = 12;
  bool everywhere = taken.countries.size() >= Storefronts::all().size();
  bool one = taken.countries.size() == 1;
  std::vector<std::string> ways;
  if (!everywhere) ways.push_back(std::string("leave ") + (one ? "it" : "them") + " out with --keep");
  if (taken.lastDay) ways.push_back("let this one start after " + Format::day(printable(*taken.lastDay)));
  ways.push_back(std::string("take ") + (everywhere || one ? "that one" : "theirs") + " off first");
  std::string text = Text::orList(ways);
  text.front() = text.front() == 'l' ? 'L' : 'T';
  std::string words = ofApp(app) + " --product " + Format::shellWord(printable(product));
  if (!everywhere && taken.countries.size() > few) {
    text += " with kestu intro-offers delete.\nNext: kestu intro-offers list" + words + " --all";
  } else {
    std::vector<std::string> codes;
    for (const std::string& code : taken.countries) codes.push_back(printable(code));
    text += ":\nkestu intro-offers delete" + words + (everywhere ? "" : " --countries " + Text::joined(codes, ","));
  }
  throw CLIError(Kind::failed, printable(product) + " has an introductory offer in that time already in " +
                                   Format::firstCountries(taken.countries) + ", and a country has one at a time. " +
                                   text);
}

/// What only the service knows of the subscription: its kind, its period and what is there already.
StorePrices settleWith(NewOffer& offer, const Client& client, const AppOnPlatform& app, const CreateOptions& options,
                       const std::string& today) {
  const std::string& product = *options.product;
  auto prices = client.get(app.path + "/prices", {{"product", product}}, StorePrices::read).value;
  if (!prices.isSubscription()) {
    throw CLIError(Kind::usage, printable(product) + " isn't a subscription, and introductory offers are a "
                                                     "subscription's. kestu offer-codes create gives codes for it.");
  }
  auto offers = client.get(app.path + "/intro-offers", {{"product", product}}, IntroOffers::read).value;
  const IntroSubscription* there = offers.find(product);
  if (!there) throw notUnderstood();
  offer.period = there->period;
  if (offer.terms->duration.empty()) offer.terms->duration = offer.period;
  std::vector<std::string> wrong;
  if (std::string fault = Offers::faultFor(*offer.terms, there->period); !fault.empty()) wrong.push_back(fault);
  for (std::string& each : offer.settleCountries(prices, product)) wrong.push_back(std::move(each));
  if (!wrong.empty()) throw CLIError(Kind::usage, Text::joined(wrong, "\n"));
  requireRoom(InTheWay(offer, *there, today), product, options.app);
  return prices;
}

JSONData bodyOf(const NewOffer& offer, const std::string& product) {
  JSONData body = JSONData::object({{"product", product},
                                    {"mode", offer.terms->mode},
                                    {"duration", offer.terms->duration},
                                    {"periods", offer.terms->periods}});
  offer.pricing.addTo(body);
  body.setGiven("from", offer.from).setGiven("until", offer.until);
  return body;
}

void runCreate(Context& context, const CreateOptions& options) {
  std::string today = TypedValues::today(context);
  Faults faults;
  NewOffer offer = offerOf(options, today, faults);
  ProductPrices file;
  faults.also(
      [&] { file = PricingFile::read(Project::root(context.folder)).introOffers(options.product.value_or("")); });
  faults.settle(context.console);
  addFile(offer, file, *options.product);
  tellUnread(context.console, std::string(PricingFile::introKey) + ": " + *options.product, file);
  Client client = context.signedIn();
  auto app = AppOnPlatform::resolve(client, options.app, std::nullopt, context);
  StorePrices prices = settleWith(offer, client, app, options, today);
  offer.title = app.appTitle() + ", " + printable(*options.product);
  ChangeRequest request{"POST", app.path + "/intro-offers", offer.pricing.landing.query(),
                        bodyOf(offer, *options.product).compact()};
  auto plan = plannedChange(client, request, context.console);
  ProposedChange proposal = proposed(offer, prices, PriceChangeLine::of(plan.value.details), today, context.console);
  if (options.dryRun) return tellPlanned(context, options, proposal, plan.body);
  noteSameWaiting(context, client, app.path, plan.body, proposal);
  options.confirm(context, proposal);
  JobChange change{request,
                   "● Kestu makes " + offer.subject + ": " + offer.what(prices) +
                       ", country by country, as your key's hour allows.",
                   proposal, offer.from && *offer.from > today};
  sendJob(context, {client, app.path, options.app}, options, options.waiting, introJobs, change);
}

} // namespace

void addIntroOffersCreate(Command& group) {
  Command& command = group.add("create", "Make an introductory offer for a subscription, in every country or some. "
                                         "Waits for your approval.");
  command.discussion =
      "A free trial, a price each period (pay-as-you-go) or one for all of it (pay-up-front), for those who haven't "
      "had the subscription. A price is one country's, and Apple's match of it elsewhere; a discount is off each "
      "country's own. Countries of their own come from \"intro-offers\" in the repo's metadata/pricing.json and from "
      "--override and --keep, a flag taking the file's place for its country. A country has one introductory offer at "
      "a time. It can be undone until the day it starts.";
  auto options = std::make_shared<CreateOptions>();
  declareProduct(command, options->product, "The subscription, which kestu intro-offers list shows.");
  options->terms.declare(command);
  options->pricing.declare(command);
  options->pricing.declareKeep(command);
  declareWord(command, "--from", "date", "The day it starts, as 2026-12-01; as soon as it's made when left out.",
              options->from);
  declareWord(command, "--until", "date",
              "Its last day, as 2026-12-26, which may be the first one too; without an end when left out.",
              options->until);
  command.flag({"--all"}, options->all, "List every country's price, not only the top markets'.");
  options->waiting.declare(command);
  options->app.declare(command);
  options->ChangeOptions::declare(command);
  command.run = [options](Context& context) { runCreate(context, *options); };
  command.needs({"--product"});
  command.needs({"--mode"});
  command.example("--product com.example.daylight.pro.monthly --mode free --duration 1w",
                  "A free week, in every country.");
  command.example("--product com.example.daylight.pro.monthly --mode pay-as-you-go --periods 3 --discount 40%",
                  "Three months at 40% off.");
  command.example(
      "--product com.example.daylight.pro.monthly --mode pay-up-front --duration 1y --price 19.99 --override se=199",
      "A year at a price of its own in Sweden.");
}

} // namespace kestu
