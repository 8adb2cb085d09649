#include "cli/offers/offer_codes.hpp"

#include "cli/families.hpp"
#include "cli/outcome.hpp"
#include "cli/unchanged.hpp"
#include "core/console/fitted_table.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <memory>
#include <variant>

namespace kestu {

namespace {

using Kind = CLIError::Kind;

void runList(Context& context, const OfferListOptions& options) {
  auto all = options.fetch(context, "/offer-codes", OfferCodes::read);
  std::string product = options.product ? " --product " + Format::shellWord(printable(*options.product)) : "";
  std::string text = "No offers with codes" + (options.product ? " of " + printable(*options.product) : "") +
                     " yet: kestu offer-codes create <name>" + ofApp(options.app) + product + " makes one.";
  if (!all.value.offers.empty()) text = Format::tableIn(all.value.table(context.console.style()), context.console);
  options.write(context.console, all.body, all.value.table(TextStyles(false)), text);
}

struct ViewOptions : GlobalOptions {
  OfferTarget target;
  bool all = false;
};

std::string nextOf(const FoundOffer& found, const AppTarget& app, Moment now) {
  if (!found.offer.active) return "";
  std::string words = offerWords(app, found.word);
  if (found.offer.newestOneTime()) return "\n\nNext: kestu offer-codes download" + words + " --to codes.txt";
  return "\n\nNext: kestu offer-codes generate" + words + " --count 500 --expires " + expiryExample(now);
}

void runView(Context& context, const ViewOptions& options) {
  FoundOffer found = FoundOffer::of(options.target, context);
  Moment now = context.clock.now();
  const Console& console = context.console;
  std::string period;
  if (found.offer.isUpFront() && !options.quiet()) {
    // Without it the prices are shown with nothing beside them.
    auto asked = outcome([&] { return periodOf(found.client, found.app.path, found.offer.product); });
    if (auto* known = std::get_if<std::string>(&asked)) period = *known;
  }
  options.emitBody(context.console, found.json,
                   found.offer.text(options.all, period, console.style(), console.width(), now) +
                       nextOf(found, options.target.app, now));
}

struct DeactivateOptions : ChangeOptions {
  OfferTarget target;
  std::optional<std::string> codes;
};

void runDeactivate(Context& context, const DeactivateOptions& options) {
  FoundOffer found = FoundOffer::of(options.target, context);
  const CodeBatch* batch = options.codes ? found.offer.batch(*options.codes) : nullptr;
  if (options.codes && !batch) {
    throw CLIError(Kind::notFound, "The" + found.about().substr(3) + " has no codes " + printable(*options.codes) +
                                       ": kestu offer-codes view" + offerWords(options.target.app, found.word) +
                                       " shows them.");
  }
  if (!found.offer.active || (batch && !batch->active)) {
    return tellUnchanged(context, options, "✓ It's off already: nothing sent.");
  }
  std::string what = batch ? batch->title() + " of " + found.about() : found.about();
  ChangeRequest request;
  request.path = found.path + (batch ? "/batches/" + percentEncoded(batch->batchId) : "") + "/deactivate";
  ProposedChange change;
  change.title = found.app.appTitle() + ": turn off " + what + " for good, after your approval. " +
                 (!batch               ? "Its codes"
                  : batch->isOneTime() ? "They"
                                       : "It") +
                 " can't be redeemed any more; who redeemed one keeps it.";
  change.items = {{batch ? batch->batchId : found.offer.name, "on", "yes", "no"}};
  change.would = "Dry run: would turn off " + what + " in " + found.app.appTitle() + " for good, after your approval.";
  change.done = "✓ Turned off " + what + ".";
  options.make(context, found.client, request, change);
}

void addList(Command& group) {
  Command& command = group.add("list", "The offers that are had by codes, and the codes that each has.");
  auto options = std::make_shared<OfferListOptions>();
  declareProduct(command, options->product, "One in-app purchase's or subscription's alone. All when left out.");
  options->OfferListOptions::declare(command);
  command.run = [options](Context& context) { runList(context, *options); };
  command.example("", "Every offer that codes give.");
  command.example("--product com.example.daylight.pro.yearly -o csv", "One product's, for a spreadsheet.");
}

void addView(Command& group) {
  Command& command = group.add("view", "One offer in full: its prices, whom it's for, and its codes with their IDs.");
  auto options = std::make_shared<ViewOptions>();
  options->target.declare(command);
  command.flag({"--all"}, options->all, "List every country's price, not only the top markets'.");
  options->target.app.declare(command);
  options->GlobalOptions::declare(command);
  command.run = [options](Context& context) { runView(context, *options); };
  command.example("Winter", "An offer in full, and its codes' IDs.");
}

void addDeactivate(Command& group) {
  Command& command = group.add("deactivate", "Turn an offer off for good, or some of its codes. Waits for your "
                                             "approval.");
  command.discussion = "It can't be turned on again. Codes that were redeemed stay good to their end.";
  auto options = std::make_shared<DeactivateOptions>();
  options->target.declare(command);
  declareWord(command, "--codes", "codes",
              "Only these codes: their ID, as kestu offer-codes view shows it, or a custom code's word.",
              options->codes);
  options->target.app.declare(command);
  options->ChangeOptions::declare(command);
  command.run = [options](Context& context) { runDeactivate(context, *options); };
  command.example("Winter --codes WINTER26", "Turns off one custom code.");
  command.example("Winter --dry-run", "What turning all of it off would do; nothing is sent.");
}

/// Whether a name can stand on a command line as it is shown.
bool isTypable(const std::string& name) { return !name.starts_with('-') && printable(name) == name; }

} // namespace

void OfferTarget::declare(Command& command) {
  command.argument({"offer", "The offer: its name or its ID.",
                    [this](const std::string& value) {
                      if (Text::trimmed(value).empty()) throw UsageError("The offer is empty.");
                      offer = Text::trimmed(value);
                    },
                    true});
}

FoundOffer FoundOffer::of(const OfferTarget& target, const Context& context) {
  Client client = context.signedIn();
  auto app = AppOnPlatform::resolve(client, target.app, std::nullopt, context);
  auto all = client.get(app.path + "/offer-codes", {}, OfferCodes::read);
  const OfferCode& offer = all.value.named(target.offer);
  auto at = static_cast<std::size_t>(&offer - all.value.offers.data());
  auto namesakes = std::count_if(all.value.offers.begin(), all.value.offers.end(),
                                 [&](const auto& each) { return each.name == offer.name; });
  std::string path = app.path + "/offer-codes/" + percentEncoded(offer.offerId);
  std::string json = JSONData::copied(JSONValue::parse(all.body).at("offers").list().at(at)).compact();
  return {std::move(client), std::move(app),  offer,
          std::move(json),   std::move(path), namesakes == 1 && isTypable(offer.name) ? offer.name : offer.offerId};
}

std::string FoundOffer::about() const {
  return "the offer " + printable(offer.name) + " of " + printable(offer.product);
}

std::string offerWords(const AppTarget& app, const std::string& offer) {
  return ofApp(app) + " " + Format::shellWord(printable(offer));
}

void addOfferCodes(Command& command) {
  command.discussion = "An offer is a price for a time, or once, that only codes give: one-time codes in batches, or a "
                       "custom code, a word that many may redeem. What reaches customers waits for your approval in "
                       "the kestu app.";
  addList(command);
  addView(command);
  addOfferCodesCreate(command);
  addOfferCodesGenerate(command);
  addDeactivate(command);
  command.example("list", "Every offer that codes give.");
  command.example("download Winter --to codes.csv", "The newest codes of one, with their links.");
}

} // namespace kestu
