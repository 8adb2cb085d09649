#include "core/listing/listing_push.hpp"

#include "core/console/printable.hpp"
#include "core/listing/metadata.hpp"
#include "core/project/platform.hpp"
#include "core/support/text.hpp"

#include <algorithm>

namespace kestu {

std::string ListingTarget::title() const { return printable(version) + " for " + platformLabel(platform); }

namespace ListingPush {

using Kind = CLIError::Kind;

std::optional<RepoListing> read(const std::filesystem::path& root, std::optional<MetadataLayout> layout,
                                const ListingTarget& target) {
  if (!layout) layout = Metadata::detect(root);
  if (!layout) return std::nullopt;
  RepoListing listing = Metadata::read(*layout, root, target.version, target.platform);
  return listing.isEmpty() && listing.misnamed.empty() ? std::nullopt : std::optional(std::move(listing));
}

CLIError noListing(const std::filesystem::path& root) {
  return {Kind::notFound, "No listing in the repo. kestu metadata pull writes one in kestu's layout (metadata/)." +
                              Metadata::elsewhere(root)};
}

StoreListing fetch(const Client& client, const ListingTarget& target) {
  StoreListing listing = client.get(target.path, target.query(), StoreListing::read).value;
  if (listing.version) return listing;
  throw CLIError(Kind::notFound, "App Store Connect has no " + target.title() + " yet: kestu release prepare " +
                                     printable(target.version) + " makes it.");
}

ListingChange::Choice choice(const RepoListing& repo, const std::vector<std::string>& locales, bool sendPassword,
                             const Environment& environment) {
  ListingChange::Choice choice{locales, Metadata::demoPassword(repo, environment), sendPassword};
  if (choice.demoPassword || !sendPassword) return choice;
  bool fastlane = repo.layout == MetadataLayout::fastlane;
  throw CLIError(Kind::usage, "There is no demo account's password to send: set " +
                                  std::string(Metadata::demoPasswordVariable) + ", or " +
                                  (fastlane ? "fastlane/metadata/review_information/demo_password.txt."
                                            : "demoAccountPassword in metadata/review.json."));
}

ListingChange change(const RepoListing& repo, const StoreListing& store, const ListingChange::Choice& choice) {
  LocaleTexts texts = repo.resolved(store.locales());
  for (const std::string& locale : choice.locales) {
    if (texts.contains(locale)) continue;
    throw CLIError(Kind::notFound, "The repo's listing has no " + printable(locale) + ", so nothing was sent.");
  }
  return ListingChange::between(repo, store, choice);
}

std::string heldText(const ListingChange& change, const StoreListing& store, const ListingTarget& target) {
  std::string state = store.version ? "is " + store.version->stateText() : "isn't there";
  return target.title() + " " + state + " and takes only promotional text, so these stay: " + placesText(change.held) +
         ".";
}

ChangeRequest request(const ListingTarget& target, const ListingChange& change, bool dryRun) {
  ListingChange sent = change;
  if (dryRun) sent.demoPassword.reset(); // nothing that is only looked at needs it
  return {"POST", target.path, target.query(), sent.request().compact(), sent.demoPassword};
}

std::vector<ListingDifference> testNotes(const RepoListing& repo, const StoreListing& store,
                                         const std::vector<std::string>& locales) {
  std::vector<ListingDifference> differences;
  for (const auto& [locale, notes] : repo.testNotes) {
    if (!locales.empty() && std::find(locales.begin(), locales.end(), locale) == locales.end()) continue;
    auto found = store.testNotes.find(locale);
    auto before = found == store.testNotes.end() ? std::nullopt : std::optional(found->second);
    if (before != notes) differences.push_back({locale, "What to Test", before, notes});
  }
  return differences;
}

} // namespace ListingPush

} // namespace kestu
