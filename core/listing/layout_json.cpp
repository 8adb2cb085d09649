#include "core/listing/layouts.hpp"

#include "core/listing/unread.hpp"

namespace kestu::JSONLayout {

namespace {

const char* const appInfoFolder = "metadata/app-info";
const char* const versionFolder = "metadata/version";
const char* const versionsFolder = "metadata/versions";

/// Where the version's files are, or are to be.
std::string folderToWrite(const std::filesystem::path& root, const std::string& version) {
  for (const char* folder : {versionFolder, versionsFolder}) {
    std::string path = std::string(folder) + "/" + version;
    if (ListingFile::isFolder(root, path)) return path;
  }
  bool several = ListingFile::isFolder(root, versionsFolder) && !ListingFile::isFolder(root, versionFolder);
  return std::string(several ? versionsFolder : versionFolder) + "/" + version;
}

} // namespace

RepoListing read(const ListingPlace& place) {
  RepoListing listing;
  listing.layout = MetadataLayout::json;
  noteAround(listing, place.root, {"pricing.json"});
  LocaleFiles::read(listing, place, appInfoFolder, LocaleFiles::Fields::ofApp);
  auto folder = ListingFile::versionFolder(place, versionFolder);
  if (!folder) folder = ListingFile::versionFolder(place, versionsFolder);
  if (folder) {
    LocaleFiles::read(listing, place, *folder, LocaleFiles::Fields::ofVersion);
  } else if (place.version) {
    LocaleFiles::keepPlaces(listing, folderToWrite(place.root, *place.version), LocaleFiles::Fields::ofVersion);
  }
  return listing;
}

ListingFiles files(const std::filesystem::path& root, const ListingToWrite& listing, const PlatformsWritten& written) {
  ListingFiles result;
  LocaleFiles::files(result, root, appInfoFolder, LocaleFiles::Fields::ofApp, listing, written);
  LocaleFiles::files(result, root, folderToWrite(root, listing.version), LocaleFiles::Fields::ofVersion, listing,
                     written);
  return result;
}

} // namespace kestu::JSONLayout
