#include "core/listing/layouts.hpp"

namespace kestu::FastlaneLayout {

namespace {

const std::string folder = "fastlane/metadata";

std::string reviewPath(std::string_view file) { return folder + "/review_information/" + std::string(file); }

/// A file to be written: where there is nothing to say, only one that says something now.
void put(ListingFiles& result, const std::filesystem::path& root, const std::string& path,
         const std::optional<std::string>& value) {
  if (value) {
    result[path] = *value + "\n";
    return;
  }
  std::error_code ignored;
  if (std::filesystem::exists(root / path, ignored)) result[path] = "";
}

/// None when there is no file, or one that isn't text.
std::optional<std::string> readable(const std::filesystem::path& root, const std::string& path) {
  try {
    return ListingFile::text(root, path);
  } catch (const CLIError&) {
    return std::nullopt;
  }
}

} // namespace

RepoListing read(const ListingPlace& place) {
  RepoListing listing;
  listing.layout = MetadataLayout::fastlane;
  for (const ListingEntry& entry : ListingFile::languages(place.root, folder, ListingFile::Entries::folders)) {
    if (entry.locale != "default") listing.texts.try_emplace(entry.locale);
    for (const ListingFieldFacts& field : listingFields()) {
      std::string path = entry.path + "/" + std::string(field.fastlaneFile);
      LocaleFiles::take(listing, entry, field.field, ListingFile::text(place.root, path), path);
    }
  }
  listing.copyright = ListingFile::text(place.root, folder + "/copyright.txt");
  ReviewInfo review;
  for (const ReviewTextFacts& text : reviewTexts()) {
    review.*text.field = ListingFile::text(place.root, reviewPath(text.fastlaneFile));
  }
  if (review != ReviewInfo{}) listing.review = review;
  std::string passwordPath = reviewPath("demo_password.txt");
  listing.demoPassword = ListingFile::text(place.root, passwordPath);
  if (listing.demoPassword) listing.demoPasswordFile = passwordPath;
  return listing;
}

ListingFiles files(const std::filesystem::path& root, const ListingToWrite& listing) {
  ListingFiles result;
  for (const auto& [locale, text] : listing.texts) {
    for (const ListingFieldFacts& field : listingFields()) {
      std::string file = "/" + std::string(field.fastlaneFile);
      std::string path = folder + "/" + locale + file;
      const auto& value = text[field.field];
      bool given = value && !readable(root, path) && readable(root, folder + "/default" + file) == value;
      if (!given) put(result, root, path, value);
    }
  }
  if (listing.appValues) put(result, root, folder + "/copyright.txt", listing.copyright);
  if (!listing.appReviewInfo) return result;
  for (const ReviewTextFacts& text : reviewTexts()) {
    put(result, root, reviewPath(text.fastlaneFile), listing.review.*text.field);
  }
  return result;
}

} // namespace kestu::FastlaneLayout
