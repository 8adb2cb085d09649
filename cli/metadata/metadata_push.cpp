#include "cli/metadata/check_options.hpp"
#include "cli/metadata/metadata.hpp"
#include "core/console/printable.hpp"
#include "core/listing/metadata.hpp"
#include "core/project/project.hpp"
#include "core/support/text.hpp"

#include <nlohmann/json.hpp>

namespace kestu {

namespace {

namespace fs = std::filesystem;
using Kind = CLIError::Kind;

struct PushOptions : ChangeOptions {
  MetadataChoice choice;
  bool demoPassword = false;
};

ListingChange::Choice choiceOf(const Context& context, const PushOptions& options, const RepoListing& listing) {
  ListingChange::Choice choice;
  choice.locales = options.choice.locales;
  choice.demoPassword = Metadata::demoPassword(listing, context.environment);
  choice.sendPassword = options.demoPassword;
  if (options.demoPassword && !choice.demoPassword) {
    bool fastlane = listing.layout == MetadataLayout::fastlane;
    throw CLIError(Kind::usage, "There is no demo account's password to send: set " +
                                    std::string(Metadata::demoPasswordVariable) + ", or " +
                                    (fastlane ? "fastlane/metadata/review_information/demo_password.txt."
                                              : "demoAccountPassword in metadata/review.json."));
  }
  return choice;
}

void requireLocales(const RepoListing& listing, const StoreListing& store, const std::vector<std::string>& locales) {
  LocaleTexts texts = listing.resolved(store.locales());
  for (const std::string& locale : locales) {
    if (texts.contains(locale)) continue;
    throw CLIError(Kind::notFound, "The repo's listing has no " + printable(locale) + ", so nothing was sent.");
  }
}

std::string counted(std::size_t count) { return count == 1 ? "1 value" : std::to_string(count) + " values"; }

/// What a version that can't be edited keeps as it is.
std::string heldText(const ListingChange& change, const StoreVersion& version, const MetadataTarget& target) {
  std::vector<std::string> held;
  for (const ListingDifference& each : change.held) held.push_back(printable(each.place) + " " + each.label);
  return target.title() + " is " + version.stateText() +
         " and takes only promotional text, so these stay: " + shortList(held) + ".";
}

void send(Context& context, const Client& client, const PushOptions& options, const MetadataTarget& target,
          const ListingChange& change) {
  std::string count = counted(change.differences.size());
  std::string lines = differencesText(change.differences, context.console.width(), context.console.style());
  if (options.dryRun) {
    ListingChange shown = change;
    shown.demoPassword.reset(); // nothing that is only looked at needs it
    ChangeRequest request{"POST", target.path, target.query(), Client::encoded(shown.request())};
    options.say(context.console, lines);
    options.send(context, client, request,
                 "Dry run: " + target.title() + " would take " + count + " from the repo, after your approval.");
    return;
  }
  ChangeRequest request{"POST", target.path, target.query(), Client::encoded(change.request())};
  if (options.yes) options.say(context.console, lines);
  options.confirm(context, target.title() + ", " + count + " from the repo, after your approval:\n" + lines, true);
  options.send(context, client, request, "✓ " + target.title() + " has the repo's listing, " + count + " changed.");
}

void runPush(Context& context, const PushOptions& options) {
  fs::path root = Project::root(context.folder);
  if (!options.choice.layout.chosen(root)) throw noListing();
  Client client = context.signedIn();
  MetadataTarget target = options.choice.resolve(client, context, "kestu metadata push");
  auto listing = options.choice.layout.read(root, target.version, target.platform);
  if (!listing || listing->isEmpty()) throw noListing();
  ListingChange::Choice choice = choiceOf(context, options, *listing);
  tellNotes(context, *listing);
  warnOfTrackedPassword(context, *listing);
  StoreListing store = fetchListing(client, target);
  requireLocales(*listing, store, options.choice.locales);
  ListingChange change = ListingChange::between(*listing, store, choice);
  if (!change.held.empty()) context.console.error(heldText(change, *store.version, target));
  if (!change.isEmpty()) return send(context, client, options, target, change);
  std::string done = change.held.empty() ? " says what the repo does already: nothing sent."
                                         : " takes nothing else that differs: nothing sent.";
  options.emit(context.console, {{"unchanged", true}}, "✓ " + target.title() + done);
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
  command.validate = [options] {
    if (options->demoPassword && !options->choice.locales.empty()) {
      throw UsageError("--locale sends languages' text alone, so --demo-password has no place beside it.");
    }
  };
  options->ChangeOptions::declare(command);
  command.run = [options](Context& context) { runPush(context, *options); };
}

} // namespace kestu
