#include "cli/offers/offer_codes.hpp"
#include "cli/prices/typed_values.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/support/text.hpp"
#include "core/support/utf8.hpp"

#include <algorithm>
#include <memory>

namespace kestu {

namespace {

using Kind = CLIError::Kind;

constexpr std::size_t longestName = 64;

struct CreateOptions : ChangeOptions {
  AppTarget app;
  std::string name;
  std::optional<std::string> product, eligibility;
  bool isFree = false;
  OfferTermsOptions terms;
  OfferPricingOptions pricing;
  bool all = false;
};

/// What is asked for, as far as it can be told without asking anybody.
struct Asked {
  NewOffer offer;
  std::vector<std::string> eligibility; ///< empty: everyone
};

std::vector<std::string> eligibilityOf(const std::string& typed, Faults& faults) {
  std::vector<std::string> raw;
  std::vector<std::string> words;
  addWords(words, typed);
  for (const std::string& word : words) {
    auto read = Eligibility::typed(word);
    if (!read) {
      faults.add("--eligibility is of " + Text::joined(Eligibility::words(true), ", ") + ", or an in-app purchase's " +
                 Text::joined(Eligibility::words(false), ", ") + ", not " + printable(word) + ".");
    } else if (std::find(raw.begin(), raw.end(), *read) == raw.end()) {
      raw.push_back(*read);
    }
  }
  if (words.empty()) faults.add("--eligibility names nobody.");
  return raw;
}

Asked askedOf(const CreateOptions& options, Console& console) {
  Faults faults;
  Asked asked;
  if (!UTF8::isValid(options.name)) faults.add("The name isn't UTF-8 text.");
  if (Text::characters(options.name) > longestName) {
    faults.add("The name is " + Format::number(static_cast<std::int64_t>(Text::characters(options.name))) +
               " characters long, " + std::to_string(longestName) + " at most.");
  }
  if (!options.product) faults.add("--product names the in-app purchase or subscription that the codes are for.");
  if (options.terms.any()) asked.offer.terms = options.terms.given(faults);
  bool freeTrial = asked.offer.terms && asked.offer.terms->isFree();
  if (options.isFree && options.terms.any())
    faults.add("--free is an in-app purchase's, a subscription has --mode free.");
  bool known = !asked.offer.terms || !asked.offer.terms->mode.empty();
  asked.offer.pricing =
      options.pricing.given(known ? std::optional(freeTrial || options.isFree) : std::nullopt, faults);
  if (options.eligibility) asked.eligibility = eligibilityOf(*options.eligibility, faults);
  faults.settle(console);
  asked.offer.all = options.all;
  asked.offer.field = "offer " + options.name;
  asked.offer.subject = "the offer " + printable(options.name) + " of " + printable(*options.product);
  return asked;
}

/// What only the product's kind tells.
StorePrices settleWith(Asked& asked, const Client& client, const AppOnPlatform& app, const CreateOptions& options) {
  const std::string& product = *options.product;
  auto prices = client.get(app.path + "/prices", {{"product", product}}, StorePrices::read).value;
  std::vector<std::string> wrong;
  auto& terms = asked.offer.terms;
  if (prices.isSubscription() && !terms) {
    wrong.push_back(printable(product) + " is a subscription: --mode says how customers pay, " +
                    Text::orList(Offers::modeWords()) + ".");
  } else if (!prices.isSubscription() && terms) {
    wrong.push_back(printable(product) + " isn't a subscription: --mode, --duration and --periods are a "
                                         "subscription's. One that costs nothing is --free.");
  } else if (terms && !terms->isFree()) {
    asked.offer.period = periodOf(client, app.path, product);
    if (terms->duration.empty()) terms->duration = asked.offer.period;
    if (std::string fault = Offers::faultFor(*terms, asked.offer.period); !fault.empty()) wrong.push_back(fault);
  }
  if (asked.eligibility.empty()) {
    for (const std::string& word : Eligibility::words(prices.isSubscription())) {
      asked.eligibility.push_back(Eligibility::typed(word).value_or(word));
    }
  } else if (!std::all_of(asked.eligibility.begin(), asked.eligibility.end(),
                          [&](const std::string& each) { return Eligibility::fits(each, prices.isSubscription()); })) {
    wrong.push_back("--eligibility of " +
                    std::string(prices.isSubscription() ? "a subscription" : "an in-app purchase") + " is of " +
                    Text::joined(Eligibility::words(prices.isSubscription()), ", ") + ".");
  }
  for (std::string& each : asked.offer.settleCountries(prices, product)) wrong.push_back(std::move(each));
  if (!wrong.empty()) throw CLIError(Kind::usage, Text::joined(wrong, "\n"));
  return prices;
}

JSONData bodyOf(const Asked& asked, const CreateOptions& options) {
  JSONData body = JSONData::object({{"name", options.name}, {"product", *options.product}});
  if (const auto& terms = asked.offer.terms) {
    body.set("mode", terms->mode).set("duration", terms->duration).set("periods", terms->periods);
  }
  body.set("eligibility", asked.eligibility);
  asked.offer.pricing.addTo(body);
  return body;
}

void runCreate(Context& context, const CreateOptions& options) {
  Asked asked = askedOf(options, context.console);
  Client client = context.signedIn();
  auto app = AppOnPlatform::resolve(client, options.app, std::nullopt, context);
  StorePrices prices = settleWith(asked, client, app, options);
  NewOffer& offer = asked.offer;
  offer.title = app.appTitle() + ", offer " + printable(options.name) + " of " + printable(*options.product);
  offer.notes.push_back("For " + Format::eligibility(asked.eligibility) + ", with a code alone.");
  ChangeRequest request{"POST", app.path + "/offer-codes", offer.pricing.landing.query(),
                        bodyOf(asked, options).compact()};
  auto plan = plannedChange(client, request, context.console);
  Moment now = context.clock.now();
  ProposedChange proposal =
      proposed(offer, prices, PriceChangeLine::of(plan.value.details), TypedValues::today(context), context.console);
  if (options.dryRun) return tellPlanned(context, options, proposal, plan.body);
  // By its ID: the name may be another product's too, or one that can't be typed.
  proposal.more = [&options, now](const JSONValue& answer) {
    auto id = answer.find("offerId");
    return "\nNext: kestu offer-codes generate" + offerWords(options.app, id ? printable(id->text()) : "<its ID>") +
           " --count 500 --expires " + expiryExample(now);
  };
  options.confirm(context, proposal);
  options.send(context, client, request, proposal);
}

} // namespace

void addOfferCodesCreate(Command& group) {
  Command& command = group.add("create", "Make an offer of an in-app purchase or a subscription that codes give. Waits "
                                         "for your approval.");
  command.discussion = "A subscription's is a free trial, a price each period (pay-as-you-go) or one for all of it "
                       "(pay-up-front), as --mode says; an in-app purchase's is a price, or --free. A price is one "
                       "country's, and Apple's match of it elsewhere; a discount is off each country's own. The codes "
                       "themselves are made afterwards, by kestu offer-codes generate.";
  auto options = std::make_shared<CreateOptions>();
  command.argument({"name", "What it is called, up to 64 characters; customers don't see it.",
                    [options](const std::string& value) {
                      options->name = Text::trimmed(value);
                      if (options->name.empty()) throw UsageError("The name is empty.");
                    },
                    true});
  declareProduct(command, options->product, "The in-app purchase or subscription.");
  options->terms.declare(command);
  command.flag({"--free"}, options->isFree, "An in-app purchase that costs nothing with a code.");
  options->pricing.declare(command);
  declareWord(command, "--eligibility", "whom",
              "Whom it's for, separated by commas: new, existing or expired subscribers; of an in-app purchase "
              "non-spender, active-spender or churned-spender. Everyone when left out.",
              options->eligibility);
  command.flag({"--all"}, options->all, "List every country's price, not only the top markets'.");
  options->app.declare(command);
  options->ChangeOptions::declare(command);
  command.run = [options](Context& context) { runCreate(context, *options); };
  command.needs({"--product"});
  command.example(
      "Spring --product com.example.daylight.pro.yearly --mode free --duration 1m --eligibility new,expired",
      "A free month of a subscription, for those who don't have it.");
  command.example("Thanks --product com.example.daylight.tip --free", "An in-app purchase for nothing.");
}

} // namespace kestu
