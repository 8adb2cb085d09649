#include "core/listing/layouts.hpp"

#include "core/listing/unread.hpp"

#include <algorithm>

namespace kestu::FastlaneLayout {

namespace {

const std::string folder = "fastlane/metadata";
constexpr std::string_view passwordFile = "demo_password.txt";

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

void noteLanguage(Unread& unread, const std::filesystem::path& root, const ListingEntry& entry) {
  for (const std::string& name : ListingFile::entries(root, entry.path)) {
    bool isField = std::any_of(listingFields().begin(), listingFields().end(),
                               [&](const ListingFieldFacts& field) { return field.fastlaneFile == name; });
    if (isField || isBeside(name)) continue;
    // Where a file system takes both for one, it is read.
    std::error_code other;
    const ListingFieldFacts* meant = fieldMeant(std::string_view(name).substr(0, name.rfind('.')));
    const auto folderPath = root / entry.path;
    if (meant && std::filesystem::equivalent(folderPath / name, folderPath / meant->fastlaneFile, other)) continue;
    unread.add(name, entry.locale, meant != nullptr ? std::string(meant->fastlaneFile) + " is" : "");
  }
}

void noteReview(RepoListing& listing, const std::filesystem::path& root) {
  Unread unread(folder + "/review_information");
  for (const std::string& name : ListingFile::entries(root, folder + "/review_information")) {
    bool isText = std::any_of(reviewTexts().begin(), reviewTexts().end(),
                              [&](const ReviewTextFacts& text) { return text.fastlaneFile == name; });
    if (!isText && name != passwordFile && !isBeside(name)) unread.add(name, "");
  }
  unread.tell(listing);
}

} // namespace

RepoListing read(const ListingPlace& place) {
  RepoListing listing;
  listing.layout = MetadataLayout::fastlane;
  auto text = [&](const std::string& path) {
    std::optional<std::string> value;
    place.look([&] { value = ListingFile::text(place.root, path); });
    return value;
  };
  for (const ListingFieldFacts& field : listingFields()) {
    listing.places[field.field] = {folder + "/", "/" + std::string(field.fastlaneFile)};
  }
  Unread unread(folder);
  for (const ListingEntry& entry : ListingFile::languages(place.root, folder, ListingFile::Entries::folders)) {
    noteLanguage(unread, place.root, entry);
    for (const ListingFieldFacts& field : listingFields()) {
      std::string path = entry.path + "/" + std::string(field.fastlaneFile);
      LocaleFiles::take(listing, entry, field.field, text(path), path);
    }
  }
  // Another tool's texts for another store lie beside these by custom.
  noteEntries(listing, unread, place.root, folder, ListingFile::Entries::folders,
              {"copyright.txt", "review_information", "screenshots", "android"});
  unread.tell(listing);
  noteReview(listing, place.root);
  listing.copyright = text(folder + "/copyright.txt");
  ReviewInfo review;
  for (const ReviewTextFacts& each : reviewTexts()) review.*each.field = text(reviewPath(each.fastlaneFile));
  if (review != ReviewInfo{}) listing.review = review;
  std::string passwordPath = reviewPath(passwordFile);
  listing.demoPassword = text(passwordPath);
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
