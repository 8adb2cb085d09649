#include "core/pricing/intro_offers.hpp"

#include "cli/context.hpp"
#include "cli/families.hpp"
#include "cli/offers/offers.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/pricing/region_words.hpp"
#include "core/support/moments.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <memory>

namespace kestu {

const JobGroup introJobs = {"intro-offers", "a subscription's introductory offer", "the new offers"};

namespace {

using Kind = CLIError::Kind;

struct ListOptions : TableOptions {
  AppTarget app;
  std::optional<std::string> product;
  bool all = false;
};

std::string listText(const IntroOffers& offers, const ListOptions& options, Context& context) {
  if (offers.subscriptions.empty()) return "The app has no subscriptions, and introductory offers are theirs alone.";
  const Console& console = context.console;
  std::string today = Moments::iso8601(context.clock.now()).substr(0, 10);
  std::string text = offers.text(options.all, today, console.style(), console.width());
  const auto& all = offers.subscriptions;
  auto bare = std::find_if(all.begin(), all.end(), [](const auto& each) { return each.offers.empty(); });
  if (bare == all.end()) return text;
  return text + "\n\nNext: kestu intro-offers create" + ofApp(options.app) + " --product " +
         Format::shellWord(printable(bare->product)) + " --mode free --duration 1w";
}

void runList(Context& context, const ListOptions& options) {
  Client client = context.signedIn();
  std::string path = AppOnPlatform::resolve(client, options.app, std::nullopt, context).path;
  Query query;
  if (options.product) query.emplace_back("product", *options.product);
  auto offers = client.get(path + "/intro-offers", query, IntroOffers::read);
  options.write(context.console, offers.body, offers.value.table(), listText(offers.value, options, context));
}

struct DeleteOptions : ChangeOptions {
  AppTarget app;
  std::optional<std::string> product, countries;
  JobWaitOptions waiting;
};

/// Those in the countries given, in all without any.
std::vector<IntroOffer> chosen(const IntroSubscription& there, const std::vector<std::string>& countries) {
  std::vector<IntroOffer> offers;
  for (const IntroOffer& each : there.offers) {
    if (countries.empty() || std::find(countries.begin(), countries.end(), each.price.storefront) != countries.end()) {
      offers.push_back(each);
    }
  }
  if (!offers.empty()) return offers;
  throw CLIError(Kind::notFound, printable(there.product) + " has no introductory offer" +
                                     (countries.empty() ? "" : " in " + Format::someCountries(countries, true)) +
                                     ". Nothing sent.");
}

ProposedChange removal(const IntroSubscription& there, const std::vector<IntroOffer>& offers, const std::string& app,
                       const std::string& today, const Console& console) {
  IntroOffers shown{{{there.product, there.productName, there.period, offers}}};
  ProposedChange change;
  change.title = app + ": take off these introductory offers, after your approval. Nobody gets one there any more; "
                       "those who have it keep it to its end.";
  change.lines = shown.text(false, today, console.style(), console.width());
  for (const IntroOffer& each : offers) {
    std::string from = Format::introTerms(each.terms);
    if (!each.terms.isFree()) from = each.price.amount() + " " + each.price.currency + ", " + from;
    change.items.push_back({each.price.storefront, "introductory offer", from, std::nullopt});
  }
  std::string count = Format::countries(static_cast<std::int64_t>(offers.size()));
  change.would = "Dry run: would take off the introductory offers of " + printable(there.product) + " in " + count +
                 ", after your approval.";
  change.done = "✓ Took off the introductory offers of " + printable(there.product) + " in " + count + ".";
  return change;
}

void runDelete(Context& context, const DeleteOptions& options) {
  Faults faults;
  needProduct(options.product, faults);
  if (options.waiting.wait && options.noWait) faults.add("--wait and --no-wait: one or the other.");
  std::vector<std::string> countries;
  if (options.countries) faults.collect([&] { countries = RegionWords::storefronts(*options.countries); });
  faults.settle(context.console);
  Client client = context.signedIn();
  auto app = AppOnPlatform::resolve(client, options.app, std::nullopt, context);
  Query query = {{"product", *options.product}};
  auto all = client.get(app.path + "/intro-offers", query, IntroOffers::read).value;
  const IntroSubscription* there = all.find(*options.product);
  if (!there) throw notUnderstood();
  auto offers = chosen(*there, countries);
  if (!countries.empty()) query.emplace_back("countries", Text::joined(countries, ","));
  ChangeRequest request{"DELETE", app.path + "/intro-offers", query, std::nullopt};
  std::string today = Moments::iso8601(context.clock.now()).substr(0, 10);
  ProposedChange proposal = removal(*there, offers, app.appTitle(), today, context.console);
  if (options.dryRun) return options.send(context, client, request, proposal);
  options.confirm(context, proposal);
  JobChange change{request,
                   "● Kestu takes off the introductory offers of " + printable(*options.product) +
                       ", country by country, as your key's hour allows.",
                   proposal.done, false};
  sendJob(context, {client, app.path, options.app}, options, options.waiting, introJobs, change);
}

void addList(Command& group) {
  Command& command = group.add("list", "The introductory offers of the app's subscriptions, those of the same terms "
                                       "together.");
  auto options = std::make_shared<ListOptions>();
  declareProduct(command, options->product, "One subscription alone. All of the app's when left out.");
  command.flag({"--all"}, options->all, "List every country, not only the top markets.");
  options->app.declare(command);
  options->TableOptions::declare(command);
  command.run = [options](Context& context) { runList(context, *options); };
  command.example("", "Every subscription's offers.");
  command.example("--product pro.yearly --all", "One subscription's, country by country.");
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
  command.validate = [options] { options->waiting.requireSensible(); };
  command.run = [options](Context& context) { runDelete(context, *options); };
  command.needs({"--product"});
  command.example("--product pro.yearly --dry-run", "What would go; nothing is sent.");
  command.example("--product pro.yearly --countries se,no --wait", "In two countries, followed to the end.");
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
}

} // namespace kestu
