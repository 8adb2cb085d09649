#include "cli/metadata/check_options.hpp"
#include "cli/metadata/metadata.hpp"
#include "core/console/printable.hpp"
#include "core/listing/metadata.hpp"
#include "core/project/project.hpp"
#include "core/release/listing_refusals.hpp"
#include "core/support/text.hpp"

namespace kestu {

namespace {

namespace fs = std::filesystem;

struct PushOptions : ChangeOptions {
  MetadataChoice choice;
  bool demoPassword = false;
  bool noCheck = false;
};

std::string counted(std::size_t count) { return count == 1 ? "1 value" : std::to_string(count) + " values"; }

void send(Context& context, const Client& client, const PushOptions& options, const MetadataTarget& target,
          const ListingChange& change) {
  std::string count = counted(change.differences.size());
  std::string lines = differencesText(change.differences, context.console.width(), context.console.style());
  ChangeRequest request = ListingPush::request(target, change, options.dryRun);
  if (options.dryRun) {
    options.say(context.console, lines);
    options.send(context, client, request,
                 "Dry run: " + target.title() + " would take " + count + " from the repo, after your approval.");
    return;
  }
  if (options.yes) options.say(context.console, lines);
  options.confirm(context, target.title() + ", " + count + " from the repo, after your approval:\n" + lines, true);
  options.send(context, client, request, "✓ " + target.title() + " has the repo's listing, " + count + " changed.");
}

void runPush(Context& context, const PushOptions& options) {
  fs::path root = Project::root(context.folder);
  if (!options.choice.layout.chosen(root)) throw ListingPush::noListing(root);
  Client client = context.signedIn();
  MetadataTarget target = options.choice.resolve(client, context, "kestu metadata push");
  auto listing = ListingPush::read(root, options.choice.layout.layout, target);
  if (!listing) throw ListingPush::noListing(root);
  auto choice = ListingPush::choice(*listing, options.choice.locales, options.demoPassword, context.environment);
  tellNotes(context, *listing);
  warnOfTrackedPassword(context, *listing);
  StoreListing store = ListingPush::fetch(client, target);
  ListingChange change = ListingPush::change(*listing, store, choice);
  if (!change.held.empty()) context.console.error(ListingPush::heldText(change, store, target));
  if (auto refusals = ReleaseCheck::refusals(change); !refusals.empty() && !options.noCheck) {
    throw ReleaseCheck::notSent(refusals);
  }
  if (!change.isEmpty()) return send(context, client, options, target, change);
  std::string done = change.held.empty() ? " says what the repo does already: nothing sent."
                                         : " takes nothing else that differs: nothing sent.";
  options.emit(context.console, JSONData::object({{"unchanged", true}}), "✓ " + target.title() + done);
}

} // namespace

void addMetadataPush(Command& group) {
  Command& command = group.add("push", "Send the repo's App Store listing to a version, every language at once.");
  command.discussion =
      "Sends only what differs, as one change; what the repo leaves out stays as App Store Connect has it. A version "
      "that's with App Review or out takes only promotional text. The demo account's password, which Apple never gives "
      "back to compare, goes along when something else that App Review is told differs.";
  auto options = std::make_shared<PushOptions>();
  options->choice.declare(command);
  command.flag({"--demo-password"}, options->demoPassword,
               "Send the demo account's password also when nothing else that App Review is told differs. It's taken "
               "from KESTU_REVIEW_DEMO_PASSWORD, or else from the repo.");
  command.flag({"--no-check"}, options->noCheck, "Send also what kestu metadata validate calls an error.");
  command.validate = [options] {
    if (options->demoPassword && !options->choice.locales.empty()) {
      throw UsageError("--locale sends languages' text alone, so --demo-password has no place beside it.");
    }
  };
  options->ChangeOptions::declare(command);
  command.run = [options](Context& context) { runPush(context, *options); };
}

} // namespace kestu
