#include "core/pricing/intro_offers.hpp"

#include "cli/context.hpp"
#include "cli/families.hpp"
#include "cli/offers/offers.hpp"
#include "cli/prices/typed_values.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <iterator>
#include <memory>
#include <set>

namespace kestu {

const JobGroup introJobs = {"intro-offers", "a subscription's introductory offer", "the new offers",
                            "6c1e4f0a-92d7-4b35-a0c8-5e7d3f218b94"};

namespace {

using Kind = CLIError::Kind;

struct ListOptions : OfferListOptions {
  bool all = false;
};

std::string listText(const IntroOffers& offers, const ListOptions& options, Context& context) {
  if (offers.subscriptions.empty()) return "The app has no subscriptions, and introductory offers are theirs alone.";
  const Console& console = context.console;
  std::string text = offers.text(options.all, TypedValues::today(context), console.style(), console.width());
  const auto& all = offers.subscriptions;
  auto bare = std::find_if(all.begin(), all.end(), [](const auto& each) { return each.offers.empty(); });
  if (bare == all.end()) return text;
  return text + "\n\nNext: kestu intro-offers create" + ofApp(options.app) + " --product " +
         Format::shellWord(printable(bare->product)) + " --mode free --duration 1w";
}

void runList(Context& context, const ListOptions& options) {
  auto offers = options.fetch(context, "/intro-offers", IntroOffers::read);
  options.write(context.console, offers.body, offers.value.table(), listText(offers.value, options, context));
}

struct DeleteOptions : ChangeOptions {
  AppTarget app;
  std::optional<std::string> product, countries;
  JobWaitOptions waiting;
};

/// What goes: the offers in the countries given, in all without any.
struct Removal {
  std::vector<IntroOffer> offers;
  std::vector<std::string> countries; ///< theirs, each once
  std::vector<std::string> without;   ///< those given in which there is none

  Removal(const IntroSubscription& there, const std::vector<std::string>& given) {
    std::set<std::string> codes;
    for (const IntroOffer& each : there.offers) {
      const std::string& code = each.price.storefront;
      if (!given.empty() && std::find(given.begin(), given.end(), code) == given.end()) continue;
      offers.push_back(each);
      codes.insert(code);
    }
    countries.assign(codes.begin(), codes.end());
    std::set_difference(given.begin(), given.end(), codes.begin(), codes.end(), std::back_inserter(without));
    if (!offers.empty()) return;
    throw CLIError(Kind::notFound, printable(there.product) + " has no introductory offer" +
                                       (given.empty() ? "" : " in " + Format::firstCountries(given)) +
                                       ". Nothing sent.");
  }
};

ProposedChange proposed(const IntroSubscription& there, const Removal& removal, const std::string& app,
                        const std::string& today, const Console& console) {
  IntroOffers shown{{{there.product, there.productName, there.period, removal.offers}}};
  ProposedChange change;
  change.title = app + ": take off these introductory offers, after your approval. Nobody gets one there any more; "
                       "those who have it keep it to its end.";
  change.lines = shown.text(false, today, console.style(), console.width());
  if (!removal.without.empty()) {
    change.lines +=
        "\n" + TextStyle::wrap("! There is none to take off in " + Format::firstCountries(removal.without) + ".",
                               console.width());
  }
  for (const IntroOffer& each : removal.offers) {
    std::string from = Format::introTerms(each.terms);
    if (!each.terms.isFree()) from = each.price.amount() + " " + each.price.currency + ", " + from;
    change.items.push_back({each.price.storefront, "introductory offer", from, std::nullopt});
  }
  std::string count = Format::countries(static_cast<std::int64_t>(removal.countries.size()));
  change.would = "Dry run: would take off the introductory offers of " + printable(there.product) + " in " + count +
                 ", after your approval.";
  change.done = "✓ Took off the introductory offers of " + printable(there.product) + " in " + count + ".";
  return change;
}

void runDelete(Context& context, const DeleteOptions& options) {
  Faults faults;
  needProduct(options.product, faults);
  options.waiting.check(options.noWait, faults);
  std::vector<std::string> countries;
  if (options.countries) countries = countriesGiven(*options.countries, faults);
  faults.settle(context.console);
  Client client = context.signedIn();
  auto app = AppOnPlatform::resolve(client, options.app, std::nullopt, context);
  Query query = {{"product", *options.product}};
  auto all = client.get(app.path + "/intro-offers", query, IntroOffers::read).value;
  const IntroSubscription* there = all.find(*options.product);
  if (!there) throw notUnderstood();
  Removal removal(*there, countries);
  if (!countries.empty()) query.emplace_back("countries", Text::joined(removal.countries, ","));
  ChangeRequest request{"DELETE", app.path + "/intro-offers", query, std::nullopt};
  ProposedChange proposal = proposed(*there, removal, app.appTitle(), TypedValues::today(context), context.console);
  if (options.dryRun) {
    auto plan = plannedChange(client, request, context.console);
    return tellPlanned(context, options, proposal, plan.body);
  }
  options.confirm(context, proposal);
  JobChange change{request,
                   "● Kestu takes off the introductory offers of " + printable(*options.product) +
                       ", country by country, as your key's hour allows.",
                   proposal, false};
  sendJob(context, {client, app.path, options.app}, options, options.waiting, introJobs, change);
}

void addList(Command& group) {
  Command& command = group.add("list", "The introductory offers of the app's subscriptions, those of the same terms "
                                       "together.");
  auto options = std::make_shared<ListOptions>();
  declareProduct(command, options->product, "One subscription alone. All of the app's when left out.");
  command.flag({"--all"}, options->all, "List every country, not only the top markets.");
  options->OfferListOptions::declare(command);
  command.run = [options](Context& context) { runList(context, *options); };
  command.example("", "Every subscription's offers.");
  command.example("--product com.example.daylight.pro.yearly --all", "One subscription's, country by country.");
}

void addDelete(Command& group) {
  Command& command =
      group.add("delete", "Take a subscription's introductory offers off, in every country or some. Waits for your "
                          "approval.");
  command.discussion = "Those that run and those to come. Who has an offer keeps it to its end.";
  auto options = std::make_shared<DeleteOptions>();
  declareProduct(command, options->product, "The subscription.");
  declareWord(command, "--countries", "countries",
              "Only there, separated by commas: countries (se,no), eu, eur or Apple's regions (europe). Every country "
              "when left out.",
              options->countries);
  options->waiting.declare(command);
  options->app.declare(command);
  options->ChangeOptions::declare(command);
  command.run = [options](Context& context) { runDelete(context, *options); };
  command.needs({"--product"});
  command.example("--product com.example.daylight.pro.yearly --dry-run", "What would go; nothing is sent.");
  command.example("--product com.example.daylight.pro.yearly --countries se,no --wait",
                  "In two countries, followed to the end.");
}

} // namespace

void addIntroOffers(Command& command) {
  command.discussion = "What those who haven't had a subscription begin with: a free trial, or a lower price for a "
                       "time. kestu intro-offers status and undo follow the job that makes one country by country, and "
                       "take it back before its day.";
  addList(command);
  addIntroOffersCreate(command);
  addDelete(command);
  addJobStatus(command, introJobs);
  addJobUndo(command, introJobs);
  command.example("list", "Every subscription's offers.");
  command.example("create --product com.example.daylight.pro.monthly --mode free --duration 1w --dry-run",
                  "What a free week would look like in every country; nothing is sent.");
}

} // namespace kestu
