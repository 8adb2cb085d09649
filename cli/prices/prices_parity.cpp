#include "cli/app_platform.hpp"
#include "cli/context.hpp"
#include "cli/prices/prices.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/pricing/parity_text.hpp"
#include "core/pricing/pricing_file.hpp"
#include "core/project/project.hpp"
#include "core/support/json_data.hpp"

#include <memory>

namespace kestu {

namespace {

using Kind = CLIError::Kind;

struct ParityCommandOptions : GlobalOptions {
  AppTarget app;
  std::optional<std::string> product;
  ParityOptions parity;
  LandingOptions landing;
  bool write = false;
  bool check = false;
};

std::string setCommand(const ParityAnswer& answer, const ParityCommandOptions& options) {
  return "kestu prices set" + ofApp(options.app) + " --product " + Format::shellWord(answer.productText());
}

void writeFile(Context& context, const ParityCommandOptions& options, PricingFile& file, const ParityAnswer& answer) {
  if (!answer.product) throw CLIError(Kind::unavailable, "kestu didn't say which subscription the prices are of.");
  ParityWritten written = file.setParity(*answer.product, answer.percentages(), answer.covered(),
                                         answer.record(options.parity.ask.only), options.landing.landing);
  if (file.has(*answer.product)) file.write();
  std::string text = ParityText::written(answer, written, setCommand(answer, options));
  context.console.line(text);
}

void checkPrices(Context& context, const ParityCommandOptions& options, const ParityAsk& ask,
                 const ParityAnswer& answer) {
  auto off = answer.offTarget();
  if (off.empty()) return context.console.line(ParityText::withinTargets(answer));
  throw CLIError(Kind::failed,
                 ParityText::offTargets(answer, off, setCommand(answer, options) + " --parity" + ask.options()));
}

void runParity(Context& context, const ParityCommandOptions& options) {
  Faults faults;
  faults.add(options.parity.wrong.all);
  faults.add(options.landing.wrong.all);
  faults.settle(context.console);
  auto root = Project::root(context.folder);
  PricingFile file =
      PricingFile::read(root, options.write ? "so Parity's prices weren't written to it" : std::string());
  if (options.product) file.product(*options.product);
  Client client = context.signedIn();
  ParityAsk ask = options.parity.ask;
  ask.landing = options.landing.landing;
  std::string path = AppOnPlatform::resolve(client, options.app, std::nullopt, context).path;
  auto answer = context.console.during([&] { return fetchParity(client, path, ask, options.product, root); });
  answer.value.requireUsable(ask);
  if (options.quiet()) {
    context.console.json(JSONData::copied(JSONValue::parse(answer.body)).pretty());
    if (!options.write && !options.check) return;
    return context.console.error("! --json shows the suggestion alone: nothing was " +
                                 std::string(options.write ? "written" : "checked") + ".");
  }
  if (options.write) writeFile(context, options, file, answer.value);
  if (options.check) checkPrices(context, options, ask, answer.value);
  if (options.write || options.check) return;
  Console& console = context.console;
  console.line(ParityText::lines(answer.value, console.style(), console.width()));
  if (answer.value.percentages().empty()) return;
  console.line("\nNext: kestu prices parity" + ofApp(options.app) + " --product " +
               Format::shellWord(answer.value.productText()) + ask.options() + " --write");
}

} // namespace

void addPricesParity(Command& group) {
  Command& command =
      group.add("parity", "Purchasing Power Pricing (PPP): a subscription's prices by what each market can pay, "
                          "against the Kestu Global Price Index of what each country really pays for subscriptions.");
  command.discussion =
      "Purchasing Power Pricing, also called PPP or regional pricing. Each storefront's price is a share of Apple's "
      "match of the US price (the price App Store Connect calculates automatically there from it, its equalized "
      "price): the index there (the Kestu Global Price Index, what each country really pays for subscriptions: the "
      "median of Spotify, Netflix, Creator Studio, Duolingo, Strava, Todoist and App Store peers, else estimated from "
      "World Bank figures; or one of them alone with --index), followed as far as --strength, held between --floor and "
      "--cap, kept at Apple's match within --tolerance, and put in the nearest of five zones (A 115%, B Apple's match, "
      "C 80%, D 65%, E 50%) unless --exact. A raise comes only where more of the subscription's trials pay than at "
      "home. It shows each storefront that would move, from its price now to its target with how sure the index is "
      "there, and what Kestu sees in your trials and prices. --write keeps it in the repo's metadata/pricing.json as "
      "each storefront's percentage off Apple's match, which kestu prices set --product sends; --check fails (exit 1) "
      "while a price is further off its target than the tolerance, for CI. --round and --nice land each target on "
      "Apple's prices as kestu prices set will (the pricing file's \"rounding\" under them).";
  auto options = std::make_shared<ParityCommandOptions>();
  declareProduct(command, options->product, "The subscription to price. The one that Kestu picks when left out.");
  options->parity.declare(command);
  options->landing.declare(command);
  command.flag({"--write"}, options->write,
               "Write the suggestion into the repo's metadata/pricing.json: each storefront it moves off Apple's "
               "match, Parity's earlier entries replaced, your own kept where Parity leaves the storefront at Apple's "
               "match.");
  command.flag({"--check"}, options->check,
               "Fail (exit 1) while any storefront's price is further off its target than the tolerance, listing "
               "them. For CI.");
  options->app.declare(command);
  options->GlobalOptions::declare(command);
  command.run = [options](Context& context) { runParity(context, *options); };
  command.example("--product com.example.daylight.pro.yearly", "What would move, and where to.");
  command.example("--product com.example.daylight.pro.yearly --strength 80% --nice --write",
                  "Kept in metadata/pricing.json, on nice prices.");
  command.example("--product com.example.daylight.pro.yearly --check",
                  "In CI: status 1 while a price is off its target.");
}

} // namespace kestu
