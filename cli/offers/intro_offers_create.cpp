#include "cli/context.hpp"
#include "cli/offers/offers.hpp"
#include "cli/prices/typed_values.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/pricing/intro_offers.hpp"
#include "core/pricing/pricing_file.hpp"
#include "core/pricing/storefronts.hpp"
#include "core/project/project.hpp"
#include "core/support/moments.hpp"
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

std::string dayOf(Moment moment) { return Moments::iso8601(moment).substr(0, 10); }

/// All that can be told without asking anybody.
NewOffer offerOf(const CreateOptions& options, Moment now, Console& console) {
  Faults faults;
  NewOffer offer;
  needProduct(options.product, faults);
  if (options.waiting.wait && options.noWait) faults.add("--wait and --no-wait: one or the other.");
  offer.terms = options.terms.given(faults);
  if (offer.terms->mode.empty()) {
    offer.pricing.overrides = {};
  } else {
    offer.pricing = options.pricing.given(offer.terms->isFree(), faults);
  }
  faults.collect([&] {
    offer.from = TypedValues::dayFrom(options.from, now);
    if (offer.from == "soonest") offer.from.reset();
  });
  faults.collect([&] { offer.until = TypedValues::dayUntil(options.until, offer.from, now); });
  faults.settle(console);
  offer.all = options.all;
  offer.field = "introductory offer";
  offer.subject = "the introductory offer of " + printable(*options.product);
  return offer;
}

/// Below what was typed goes what the repository's file says of the subscription's offers.
void addFile(NewOffer& offer, const ProductPrices& file) {
  std::size_t typed = offer.pricing.overrides.size();
  PriceOverrides counting = file.overrides;
  if (offer.terms->isFree()) {
    std::erase_if(counting, [](const auto& each) { return each.second.kind != PriceOverride::Kind::keep; });
  } else if (!offer.pricing.landing.any()) {
    offer.pricing.landing = file.landing;
  }
  offer.pricing.underlay(counting);
  std::vector<std::string> wrong = offer.pricing.faults();
  for (std::string& fault : wrong) fault = std::string(PricingFile::path) + ": " + fault;
  if (!wrong.empty()) throw CLIError(Kind::usage, Text::joined(wrong, "\n"));
  if (std::size_t count = offer.pricing.overrides.size() - typed; count > 0) {
    offer.notes.push_back(Format::countries(static_cast<std::int64_t>(count)) + " from " +
                          std::string(PricingFile::path) + ".");
  }
  const auto& all = Storefronts::all();
  if (std::none_of(all.begin(), all.end(),
                   [&](const auto& each) { return offer.pricing.reaches(std::string(each.code)); })) {
    throw CLIError(Kind::usage, "Every country that it is for is kept as it is, so there's nothing to make.");
  }
}

void requireRoom(const NewOffer& offer, const IntroSubscription& there, const AppTarget& app,
                 const std::string& today) {
  std::vector<std::string> taken;
  for (const IntroOffer& each : there.offers) {
    if (offer.pricing.reaches(each.price.storefront) && each.meets(offer.from.value_or(today), offer.until)) {
      taken.push_back(each.price.storefront);
    }
  }
  if (taken.empty()) return;
  std::sort(taken.begin(), taken.end());
  taken.erase(std::unique(taken.begin(), taken.end()), taken.end());
  bool everywhere = taken.size() >= Storefronts::all().size();
  std::vector<std::string> codes;
  for (const std::string& code : taken) codes.push_back(printable(code));
  std::string list = Text::joined(codes, ",");
  throw CLIError(Kind::failed, printable(there.product) + " has an introductory offer in that time already in " +
                                   Format::someCountries(taken, false) + ", and a country has one at a time. " +
                                   (everywhere ? "Let this one start later, or take that one off"
                                               : "Leave them out with --keep " + list + ", or take theirs off") +
                                   " first:\nkestu intro-offers delete" + ofApp(app) + " --product " +
                                   Format::shellWord(printable(there.product)) +
                                   (everywhere ? "" : " --countries " + list));
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
  for (std::string& each :
       prices.centsFaults(offer.pricing.price, offer.pricing.country.value_or("us"), offer.pricing.overrides)) {
    wrong.push_back(std::move(each));
  }
  if (!wrong.empty()) throw CLIError(Kind::usage, Text::joined(wrong, "\n"));
  requireRoom(offer, *there, options.app, today);
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
  Moment now = context.clock.now();
  NewOffer offer = offerOf(options, now, context.console);
  ProductPrices file = PricingFile::read(Project::root(context.folder)).introOffers(*options.product);
  addFile(offer, file);
  tellUnread(context.console, std::string(PricingFile::introKey) + ": " + *options.product, file);
  Client client = context.signedIn();
  auto app = AppOnPlatform::resolve(client, options.app, std::nullopt, context);
  StorePrices prices = settleWith(offer, client, app, options, dayOf(now));
  offer.title = app.appTitle() + ", " + printable(*options.product);
  ChangeRequest request{"POST", app.path + "/intro-offers", offer.pricing.landing.query(),
                        bodyOf(offer, *options.product).compact()};
  auto plan = plannedChange(client, request, context.console);
  ProposedChange proposal =
      proposed(offer, prices, PriceChangeLine::of(plan.value.details), dayOf(now), context.console);
  if (options.dryRun) {
    proposal.lines = proposal.title + (proposal.lines.empty() ? "" : "\n" + proposal.lines);
    return options.tellDryRun(context, proposal, plan.body);
  }
  options.confirm(context, proposal);
  JobChange change{request,
                   "● Kestu makes " + offer.subject + ": " + offer.what(prices) +
                       ", country by country, as your key's hour allows.",
                   proposal.done, offer.from && *offer.from > dayOf(now)};
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
  declareWord(command, "--until", "date", "Its last day, as 2026-12-26; without an end when left out.", options->until);
  command.flag({"--all"}, options->all, "List every country's price, not only the top markets'.");
  options->waiting.declare(command);
  options->app.declare(command);
  options->ChangeOptions::declare(command);
  command.validate = [options] { options->waiting.requireSensible(); };
  command.run = [options](Context& context) { runCreate(context, *options); };
  command.needs({"--product"});
  command.needs({"--mode"});
  command.example("--product pro.yearly --mode free --duration 1w", "A free week, in every country.");
  command.example("--product pro.monthly --mode pay-as-you-go --periods 3 --discount 40%", "Three months at 40% off.");
  command.example("--product pro.yearly --mode pay-up-front --duration 1y --price 19.99 --override se=199",
                  "A year at a price of its own in Sweden.");
}

} // namespace kestu
