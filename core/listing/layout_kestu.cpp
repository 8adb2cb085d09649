#include "core/listing/layouts.hpp"

#include "core/listing/unread.hpp"
#include "core/project/platform.hpp"

namespace kestu::KestuLayout {

namespace {

constexpr std::string_view rightsKey = "contentRightsDeclaration";
const char* const appPath = "metadata/app.json";
const char* const listingFolder = "metadata/listing";
const char* const releasesFolder = "metadata/releases";
const char* const reviewPath = "metadata/review.json";

bool isRights(const JSONData& value) {
  if (value.isNull()) return true;
  if (value.text() == nullptr) return false;
  auto text = ListingFile::value(*value.text());
  return !text || contentRightsOfApple(*text);
}

void requireRights(const JSONData& object) {
  const JSONData* found = object.find(rightsKey);
  if (found == nullptr || isRights(*found)) return;
  throw ListingFile::malformed(std::string(appPath) + ":",
                               "contentRightsDeclaration is DOES_NOT_USE_THIRD_PARTY_CONTENT or "
                               "USES_THIRD_PARTY_CONTENT.");
}

void readApp(RepoListing& listing, const ListingPlace& place) {
  ListingObject app = ListingObject::read(place.root, appPath, {"copyright"});
  requireRights(app.raw());
  for (std::string_view platform : platforms) {
    if (const JSONData* own = app.raw().find(platform)) requireRights(*own);
  }
  listing.copyright = app.text("copyright", place.platform);
  if (auto rights = app.text(rightsKey, place.platform)) listing.contentRights = contentRightsOfApple(*rights);
}

void readRelease(RepoListing& listing, const ListingPlace& place, const std::string& folder) {
  LocaleFiles::read(listing, place, folder, LocaleFiles::Fields::released);
  place.look([&] { listing.release = ReleaseFile::read(place.root, folder + "/release.json"); });
  place.look([&] { ReviewFile::read(listing, place.root, folder + "/review.json"); });
  if (ListingFile::isFolder(place.root, folder + "/whatsnew")) listing.whatsNewPage = folder + "/whatsnew";
}

void putApp(ListingFiles& result, const std::filesystem::path& root, const ListingToWrite& listing,
            const PlatformsWritten& written) {
  ListingObject app = ListingObject::toChange(root, appPath);
  app.put("copyright", listing.copyright, written);
  std::optional<std::string> rights;
  if (listing.contentRights) rights = appleValue(*listing.contentRights);
  app.putShared(rightsKey, rights, listing.platform);
  if (!app.isEmpty() || app.isThere()) result[app.path()] = app.serialized();
}

} // namespace

RepoListing read(const ListingPlace& place) {
  RepoListing listing;
  listing.layout = MetadataLayout::kestu;
  noteAround(listing, place.root, {"app.json", "review.json", "pricing.json"});
  place.look([&] { readApp(listing, place); });
  LocaleFiles::read(listing, place, listingFolder, LocaleFiles::Fields::listed);
  place.look([&] { ReviewFile::read(listing, place.root, reviewPath); });
  if (auto folder = ListingFile::versionFolder(place, releasesFolder)) {
    readRelease(listing, place, *folder);
  } else if (place.version) {
    LocaleFiles::keepPlaces(listing, std::string(releasesFolder) + "/" + *place.version, LocaleFiles::Fields::released);
  }
  return listing;
}

ListingFiles files(const std::filesystem::path& root, const ListingToWrite& listing, const PlatformsWritten& written) {
  ListingFiles result;
  std::string folder = std::string(releasesFolder) + "/" + listing.version;
  if (listing.appValues) putApp(result, root, listing, written);
  LocaleFiles::files(result, root, listingFolder, LocaleFiles::Fields::listed, listing, written);
  LocaleFiles::files(result, root, folder, LocaleFiles::Fields::released, listing, written);
  if (listing.appReviewInfo) ReviewFile::files(result, root, reviewPath, folder + "/review.json", listing.review);
  if (listing.release) {
    std::string path = folder + "/release.json";
    result[path] = ReleaseFile::text(root, path, *listing.release);
  }
  return result;
}

} // namespace kestu::KestuLayout
