#include "core/listing/layouts.hpp"

#include "core/support/moments.hpp"

#include <algorithm>
#include <array>

namespace kestu {

namespace {

using nlohmann::json;

constexpr std::string_view passwordKey = "demoAccountPassword";
constexpr std::string_view requiredKey = "demoAccountRequired";

bool isReviewKey(std::string_view key) {
  const auto& texts = reviewTexts();
  return key == passwordKey || key == requiredKey ||
         std::any_of(texts.begin(), texts.end(), [&](const ReviewTextFacts& text) { return text.key == key; });
}

void requireReview(const ListingObject& object) {
  for (const auto& [key, value] : object.raw().items()) {
    if (isReviewKey(key)) continue;
    throw ListingFile::malformed(object.path(),
                                 "isn't what kestu reads: contactFirstName, contactLastName, contactPhone, "
                                 "contactEmail, demoAccountName, demoAccountPassword, demoAccountRequired and notes.");
  }
  for (const auto& [key, value] : object.raw().items()) {
    const char* wrong = key == passwordKey && !value.is_string()                        ? " isn't text."
                        : key == requiredKey && !value.is_boolean() && !value.is_null() ? " isn't true, false or null."
                        : key != requiredKey && !value.is_string() && !value.is_null()  ? " isn't text or null."
                                                                                        : nullptr;
    if (wrong != nullptr) throw ListingFile::malformed(object.path() + ":", key + wrong);
  }
}

std::optional<bool> requiredIn(const ListingObject& object) {
  auto found = object.raw().find(requiredKey);
  if (found == object.raw().end() || !found->is_boolean()) return std::nullopt;
  return found->get<bool>();
}

ReviewInfo infoIn(const ListingObject& object) {
  ReviewInfo info;
  for (const ReviewTextFacts& text : reviewTexts()) info.*text.field = object.text(text.key);
  info.demoAccountRequired = requiredIn(object);
  return info;
}

/// The object that decides a value: the release's own where it has one.
ListingObject& deciding(ListingObject& app, ListingObject& release, bool inRelease) {
  return inRelease ? release : app;
}

} // namespace

namespace ReviewFile {

void read(RepoListing& listing, const std::filesystem::path& root, const std::string& path) {
  ListingObject object = ListingObject::plain(root, path);
  requireReview(object);
  if (ReviewInfo info = infoIn(object); info != ReviewInfo{}) {
    listing.review = listing.review.value_or(ReviewInfo{}).merging(info);
  }
  if (auto password = object.text(passwordKey)) {
    listing.demoPassword = password;
    listing.demoPasswordFile = path;
  }
}

void files(ListingFiles& result, const std::filesystem::path& root, const std::string& appPath,
           const std::string& releasePath, const ReviewInfo& review) {
  ListingObject app = ListingObject::toChange(root, appPath);
  ListingObject release = ListingObject::toChange(root, releasePath);
  for (const ReviewTextFacts& text : reviewTexts()) {
    ListingObject& object = deciding(app, release, release.text(text.key).has_value());
    object.put(text.key, review.*text.field, "", true);
  }
  ListingObject& object = deciding(app, release, requiredIn(release).has_value());
  if (requiredIn(object) != review.demoAccountRequired) {
    review.demoAccountRequired ? object.put(requiredKey, json(*review.demoAccountRequired)) : object.drop(requiredKey);
  }
  for (const ListingObject* each : {&app, &release}) {
    if (!each->isEmpty() || each->isThere()) result[each->path()] = each->serialized();
  }
}

} // namespace ReviewFile

namespace ReleaseFile {

namespace {

constexpr std::array<std::string_view, 4> keys = {"releaseType", "earliestReleaseDate", "phased", "build"};

} // namespace

std::optional<ReleaseSettings> read(const std::filesystem::path& root, const std::string& path) {
  ListingObject object = ListingObject::plain(root, path);
  if (object.isEmpty()) return std::nullopt;
  auto wrong = [&] {
    return ListingFile::malformed(
        path, "isn't what kestu reads: releaseType, earliestReleaseDate (as 2026-11-02T09:00:00Z), phased and build.");
  };
  ReleaseSettings settings;
  for (const auto& [key, value] : object.raw().items()) {
    bool known = std::find(keys.begin(), keys.end(), key) != keys.end();
    bool typed = value.is_null() || (key == "phased" ? value.is_boolean() : value.is_string());
    if (!known || !typed) throw wrong();
  }
  settings.releaseType = object.text("releaseType");
  settings.build = object.text("build");
  if (auto phased = object.raw().find("phased"); phased != object.raw().end() && phased->is_boolean()) {
    settings.phased = phased->get<bool>();
  }
  if (auto date = object.text("earliestReleaseDate")) {
    settings.earliestReleaseDate = Moments::parse(*date);
    if (!settings.earliestReleaseDate) throw wrong();
  }
  return settings == ReleaseSettings{} ? std::nullopt : std::optional(settings);
}

std::string text(const std::filesystem::path& root, const std::string& path, const ReleaseSettings& settings) {
  ListingObject object = ListingObject::toChange(root, path);
  auto date = settings.earliestReleaseDate;
  object.put("releaseType", settings.releaseType, "", true);
  object.put("earliestReleaseDate", date ? std::optional(Moments::iso8601(*date)) : std::nullopt, "", true);
  object.put("build", settings.build, "", true);
  settings.phased ? object.put("phased", json(*settings.phased)) : object.drop("phased");
  return object.serialized();
}

} // namespace ReleaseFile

} // namespace kestu
