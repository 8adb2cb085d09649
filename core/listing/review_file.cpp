#include "core/listing/layouts.hpp"

#include "core/support/moments.hpp"

#include <algorithm>
#include <array>

namespace kestu {

namespace {

constexpr std::string_view passwordKey = "demoAccountPassword";
constexpr std::string_view requiredKey = "demoAccountRequired";

bool isReviewKey(std::string_view key) {
  const auto& texts = reviewTexts();
  return key == passwordKey || key == requiredKey ||
         std::any_of(texts.begin(), texts.end(), [&](const ReviewTextFacts& text) { return text.key == key; });
}

void requireReview(const ListingObject& object) {
  for (const auto& [key, value] : object.raw().members()) {
    if (isReviewKey(key)) continue;
    throw ListingFile::malformed(object.path(),
                                 "isn't what kestu reads: contactFirstName, contactLastName, contactPhone, "
                                 "contactEmail, demoAccountName, demoAccountPassword, demoAccountRequired and notes.");
  }
  for (const auto& [key, value] : object.raw().members()) {
    bool isText = value.text() != nullptr;
    const char* wrong = key == passwordKey && !isText                             ? " isn't text."
                        : key == requiredKey && !value.truth() && !value.isNull() ? " isn't true, false or null."
                        : key != requiredKey && !isText && !value.isNull()        ? " isn't text or null."
                                                                                  : nullptr;
    if (wrong != nullptr) throw ListingFile::malformed(object.path() + ":", key + wrong);
  }
}

std::optional<bool> requiredIn(const ListingObject& object) {
  const JSONData* found = object.raw().find(requiredKey);
  return found != nullptr ? found->truth() : std::nullopt;
}

ReviewInfo infoIn(const ListingObject& object) {
  ReviewInfo info;
  for (const ReviewTextFacts& text : reviewTexts()) info.*text.field = object.text(text.key);
  info.demoAccountRequired = requiredIn(object);
  return info;
}

ListingObject toChange(const std::filesystem::path& root, const std::string& path) {
  ListingObject object = ListingObject::toChange(root, path);
  const JSONData before = object.raw();
  for (const auto& [key, value] : before.members()) {
    if (!isReviewKey(key) || (key == passwordKey && value.text() == nullptr)) object.drop(key);
  }
  return object;
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
  ListingObject app = toChange(root, appPath);
  ListingObject release = toChange(root, releasePath);
  for (const ReviewTextFacts& text : reviewTexts()) {
    ListingObject& object = deciding(app, release, release.text(text.key).has_value());
    object.putShared(text.key, review.*text.field);
  }
  ListingObject& object = deciding(app, release, requiredIn(release).has_value());
  if (requiredIn(object) != review.demoAccountRequired) {
    review.demoAccountRequired ? object.put(requiredKey, JSONData(*review.demoAccountRequired))
                               : object.drop(requiredKey);
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
  for (const auto& [key, value] : object.raw().members()) {
    bool known = std::find(keys.begin(), keys.end(), key) != keys.end();
    bool typed = value.isNull() || (key == "phased" ? value.truth().has_value() : value.text() != nullptr);
    if (!known || !typed) throw wrong();
  }
  settings.releaseType = object.text("releaseType");
  settings.build = object.text("build");
  if (const JSONData* phased = object.raw().find("phased")) settings.phased = phased->truth();
  if (auto date = object.text("earliestReleaseDate")) {
    settings.earliestReleaseDate = Moments::parse(*date);
    if (!settings.earliestReleaseDate) throw wrong();
  }
  return settings == ReleaseSettings{} ? std::nullopt : std::optional(settings);
}

std::string text(const std::filesystem::path& root, const std::string& path, const ReleaseSettings& settings) {
  ListingObject object = ListingObject::toChange(root, path);
  auto date = settings.earliestReleaseDate;
  object.putShared("releaseType", settings.releaseType);
  object.putShared("earliestReleaseDate", date ? std::optional(Moments::iso8601(*date)) : std::nullopt);
  object.putShared("build", settings.build);
  settings.phased ? object.put("phased", JSONData(*settings.phased)) : object.drop("phased");
  return object.serialized();
}

} // namespace ReleaseFile

} // namespace kestu
