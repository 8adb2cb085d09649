#pragma once

#include "core/changes/change_flow.hpp"
#include "core/listing/listing_change.hpp"
#include "core/service/client.hpp"
#include "core/support/environment.hpp"
#include "core/support/error.hpp"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace kestu {

/// The version that a listing is of.
struct ListingTarget {
  std::string path;     ///< "/v1/apps/1234567890/listing"
  std::string platform; ///< "ios"
  std::string version;  ///< "1.2"

  Query query() const { return {{"version", version}, {"platform", platform}}; }
  std::string title() const; ///< "1.2 for iOS", printable
};

/// Sending the repository's listing, in the steps that a command walks from top to bottom:
///
///   auto repo = ListingPush::read(root, layout, target);         // none: there is no listing to send
///   auto store = ListingPush::fetch(client, target);
///   auto choice = ListingPush::choice(*repo, {}, false, environment);
///   auto change = ListingPush::change(*repo, store, choice);     // what differs, and what is held back
///   ReleaseCheck::refusals(*repo, change, {})                    // what Apple wouldn't take of it
///   if (!change.isEmpty()) … ListingPush::request(target, change, dryRun) through the change flow
///   ListingPush::testNotes(*repo, store, {})                     // What to Test, which goes to the build
///
/// Nothing is written to the console, and nothing but `fetch` calls the service.
namespace ListingPush {

/// The listing for the target's version and platform, in the layout named or else the one that the repository has.
/// None when it has none, or when that says nothing and no language is misnamed in it. A malformed file is a CLIError.
std::optional<RepoListing> read(const std::filesystem::path& root, std::optional<MetadataLayout> layout,
                                const ListingTarget& target);

/// What a command that needs a listing fails with where there is none.
CLIError noListing(const std::filesystem::path& root);

/// App Store Connect's listing of the version; a CLIError (notFound) when it has no such version.
StoreListing fetch(const Client& client, const ListingTarget& target);

/// What is to be compared: these languages' text alone, everything when there are none. The demo account's password
/// comes from the environment, else from the repository; with `sendPassword` a missing one is a CLIError (usage).
ListingChange::Choice choice(const RepoListing& repo, const std::vector<std::string>& locales, bool sendPassword,
                             const Environment& environment);

/// What differs, to be sent (`differences`) and beyond what the version still takes (`held`). A language chosen that
/// the repository doesn't have is a CLIError (notFound).
ListingChange change(const RepoListing& repo, const StoreListing& store, const ListingChange::Choice& choice);

/// A sentence on `held` for people; printable.
std::string heldText(const ListingChange& change, const StoreListing& store, const ListingTarget& target);

/// The change as it is sent; a dry run goes without the demo account's password.
ChangeRequest request(const ListingTarget& target, const ListingChange& change, bool dryRun);

/// What to Test where the repository's differs from the build's, a difference a language: not a part of `change`, since
/// it belongs to the version's build and goes with a call of its own.
std::vector<ListingDifference> testNotes(const RepoListing& repo, const StoreListing& store,
                                         const std::vector<std::string>& locales);

} // namespace ListingPush

} // namespace kestu
