#pragma once

#include "core/listing/listing_file.hpp"
#include "core/listing/metadata.hpp"

/// The three layouts, each read and written by a file of its own.
namespace kestu {

namespace KestuLayout {
RepoListing read(const ListingPlace& place);
ListingFiles files(const std::filesystem::path& root, const ListingToWrite& listing, const PlatformsWritten& written);
} // namespace KestuLayout

namespace JSONLayout {
RepoListing read(const ListingPlace& place);
ListingFiles files(const std::filesystem::path& root, const ListingToWrite& listing, const PlatformsWritten& written);
} // namespace JSONLayout

namespace FastlaneLayout {
RepoListing read(const ListingPlace& place);
ListingFiles files(const std::filesystem::path& root, const ListingToWrite& listing);
} // namespace FastlaneLayout

/// The review.json and release.json of kestu's layout.
namespace ReviewFile {
/// Lays what the file says over what the listing has.
void read(RepoListing& listing, const std::filesystem::path& root, const std::string& path);

/// The files as they are to be: a release's own keeps the fields that it has, all others go to the app's.
void files(ListingFiles& result, const std::filesystem::path& root, const std::string& appPath,
           const std::string& releasePath, const ReviewInfo& review);
} // namespace ReviewFile

namespace ReleaseFile {
std::optional<ReleaseSettings> read(const std::filesystem::path& root, const std::string& path);
std::string text(const std::filesystem::path& root, const std::string& path, const ReleaseSettings& settings);
} // namespace ReleaseFile

/// What the JSON files of two layouts share.
namespace LocaleFiles {

enum class Fields { ofApp, ofVersion, listed, released };
bool holds(Fields fields, ListingField field);

/// Adds the values of each language's file in the folder, "default" into the defaults.
void read(RepoListing& listing, const ListingPlace& place, const std::string& folder, Fields fields);

/// Notes that the fields' values belong in the folder.
void keepPlaces(RepoListing& listing, const std::string& folder, Fields fields);

/// The folder's file of each language that has something to say there.
void files(ListingFiles& result, const std::filesystem::path& root, const std::string& folder, Fields fields,
           const ListingToWrite& listing, const PlatformsWritten& written);

/// Takes one value, and notes where it came from.
void take(RepoListing& listing, const ListingEntry& entry, ListingField field, std::optional<std::string> value,
          const std::string& path);

} // namespace LocaleFiles

} // namespace kestu
