#include "cli/metadata/check_options.hpp"
#include "cli/metadata/metadata.hpp"
#include "cli/unchanged.hpp"
#include "core/console/printable.hpp"
#include "core/listing/metadata.hpp"
#include "core/project/project.hpp"
#include "core/release/listing_refusals.hpp"
#include "core/support/text.hpp"

#include <algorithm>

namespace kestu {

namespace {

namespace fs = std::filesystem;

struct PushOptions : ChangeOptions {
  MetadataChoice choice;
  bool demoPassword = false;
  bool noCheck = false;
};

std::string counted(std::size_t count) { return count == 1 ? "1 value" : std::to_string(count) + " values"; }

ProposedChange proposed(Context& context, const PushOptions& options, const MetadataTarget& target,
                        const ListingChange& change) {
  std::string count = counted(change.differences.size());
  ProposedChange proposed;
  proposed.title = target.appTitle + ", " + count + " from the repo, after your approval:";
  bool asks = !options.yes && !options.dryRun;
  proposed.lines =
      options.choice.linesOf(context, change.differences, asks || options.quiet() ? Stream::err : Stream::out);
  proposed.items = changeItems(change.differences);
  proposed.would = "Dry run: " + target.appTitle + " would take " + count + " from the repo, after your approval.";
  proposed.done = "✓ " + target.title() + " has the repo's listing, " + count +
                  " changed.\nNext: " + options.choice.commandFor("release check", target);
  return proposed;
}

/// What isn't a part of the listing's change, and what sends it.
std::string testNotesText(const std::vector<ListingDifference>& notes, const PushOptions& options,
                          const MetadataTarget& target) {
  std::vector<std::string> locales;
  for (const ListingDifference& each : notes) locales.push_back(printable(each.place));
  constexpr std::size_t most = 6;
  std::string more = locales.size() > most ? " and " + std::to_string(locales.size() - most) + " more" : "";
  locales.resize(std::min(locales.size(), most));
  return "What to Test differs too, in " + Text::joined(locales, ", ") + more +
         ", and goes to the build: " + options.choice.commandFor("release prepare", target) + " sends it.";
}

void tellUnchanged(Context& context, const PushOptions& options, const MetadataTarget& target,
                   const ListingChange& change, const std::vector<ListingDifference>& notes) {
  std::string done = !change.held.empty() ? " takes nothing else that differs: nothing sent."
                     : !notes.empty()     ? " says all the rest that the repo does: nothing sent."
                                          : " says what the repo does already: nothing sent.";
  tellUnchanged(context, options, "✓ " + target.title() + done);
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
  if (auto misnamed = ReleaseCheck::refusals(*listing, {}, options.choice.locales);
      !misnamed.empty() && !options.choice.locales.empty() && !options.noCheck) {
    throw ReleaseCheck::notSent(misnamed); // a language chosen is likely not found for its name
  }
  ListingChange change = ListingPush::change(*listing, store, choice);
  if (!change.held.empty()) context.console.error(ListingPush::heldText(change, store, target));
  if (auto refusals = ReleaseCheck::refusals(*listing, change, options.choice.locales);
      !refusals.empty() && !options.noCheck) {
    throw ReleaseCheck::notSent(refusals);
  }
  for (const std::string& left : ReleaseCheck::leftOut(*listing, options.choice.locales)) {
    context.console.error(printable(left));
  }
  for (const std::string& doubt : ReleaseCheck::doubts(change, keywordCount(context))) {
    context.console.error(printable(doubt));
  }
  auto notes = ListingPush::testNotes(*listing, store, options.choice.locales);
  if (!notes.empty()) context.console.error(testNotesText(notes, options, target));
  if (change.isEmpty()) return tellUnchanged(context, options, target, change, notes);
  options.make(context, client, ListingPush::request(target, change, options.dryRun),
               proposed(context, options, target, change));
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
  options->choice.declareDiff(command);
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
  command.example("--dry-run --diff", "What would change, word by word; nothing is sent.");
  command.example("1.2", "Shows what changes, asks, and sends it.");
  command.example("1.2 --locale de-DE,ja --yes", "Two languages, without a question.");
}

} // namespace kestu
