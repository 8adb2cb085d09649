#include "core/listing/metadata.hpp"

#include "core/console/printable.hpp"
#include "core/listing/layouts.hpp"
#include "core/project/project_search.hpp"
#include "core/support/error.hpp"
#include "core/support/text.hpp"

#include <algorithm>

namespace kestu::Metadata {

namespace {

void requireVersion(const std::optional<std::string>& version) {
  if (!version || versionShape(*version)) return;
  throw CLIError(CLIError::Kind::usage, printable(*version) + " can't be a version: it's a number, as 1.2.");
}

/// A secret that CI doesn't know comes as empty text.
std::optional<std::string> passwordGiven(const Environment& environment) {
  auto given = environment.get(demoPasswordVariable);
  return given && !given->empty() ? given : std::nullopt;
}

/// Files that can't be read are mended, and what they say otherwise stays.
bool saysSomething(MetadataLayout layout, const std::filesystem::path& root, const std::string& version,
                   const std::string& platform) {
  try {
    return !read(layout, root, version, platform).isEmpty();
  } catch (const CLIError&) {
    return true;
  }
}

bool saysReview(MetadataLayout layout, const std::filesystem::path& root, const std::string& version) {
  try {
    return read(layout, root, version, std::nullopt).review.has_value();
  } catch (const CLIError&) {
    return false;
  }
}

} // namespace

bool versionShape(std::string_view text) {
  bool plain = text.find('/') == std::string_view::npos && text.find('\0') == std::string_view::npos;
  return plain && !text.empty() && text != "." && text != "..";
}

std::optional<MetadataLayout> detect(const std::filesystem::path& root) {
  auto has = [&](const char* folder) { return ListingFile::isFolder(root, folder); };
  if (has("metadata/listing") || has("metadata/releases")) return MetadataLayout::kestu;
  if (has("metadata/app-info") || has("metadata/version") || has("metadata/versions")) return MetadataLayout::json;
  if (has("fastlane/metadata")) return MetadataLayout::fastlane;
  return std::nullopt;
}

std::string elsewhere(const std::filesystem::path& root) {
  std::string text;
  for (const std::string& line : Project::elsewhere(Project::Contents::listing, root)) text += "\n" + printable(line);
  return text;
}

std::optional<std::string> newLayoutText(MetadataLayout layout, const std::filesystem::path& root) {
  try {
    // fastlane's folder may hold another store's listing alone, or one platform's in a folder of its own.
    auto detected = detect(root);
    if (detected && !read(*detected, root, std::nullopt, std::nullopt).isEmpty()) return std::nullopt;
  } catch (const CLIError&) {
    return std::nullopt; // a broken file is one
  }
  std::string folder = layout == MetadataLayout::fastlane ? "fastlane/metadata/" : "metadata/";
  return "No listing in the repo yet, so this writes " + std::string(facts(layout).name) + " (" + folder +
         "): --layout names another." + elsewhere(root);
}

RepoListing read(MetadataLayout layout, const std::filesystem::path& root, const std::optional<std::string>& version,
                 const std::optional<std::string>& platform) {
  requireVersion(version);
  std::vector<std::string> faults;
  ListingPlace place{root, version, platform, &faults};
  RepoListing listing = layout == MetadataLayout::kestu  ? KestuLayout::read(place)
                        : layout == MetadataLayout::json ? JSONLayout::read(place)
                                                         : FastlaneLayout::read(place);
  if (!faults.empty()) throw CLIError(CLIError::Kind::failed, Text::joined(faults, "\n"));
  return listing;
}

ListingFiles files(MetadataLayout layout, const std::filesystem::path& root, const ListingToWrite& listing) {
  requireVersion(listing.version);
  PlatformsWritten written{listing.platform, listing.platforms, {}};
  for (const std::string& platform : listing.platforms) {
    bool other = platform != listing.platform;
    if (other && saysSomething(layout, root, listing.version, platform)) written.kept.push_back(platform);
  }
  ListingToWrite wanted = listing;
  // What App Review is told stands there for every platform, so it stays as the first one wrote it.
  if (!written.kept.empty() && saysReview(layout, root, listing.version)) wanted.appReviewInfo = false;
  if (layout == MetadataLayout::fastlane) return FastlaneLayout::files(root, wanted);
  return layout == MetadataLayout::json ? JSONLayout::files(root, wanted, written)
                                        : KestuLayout::files(root, wanted, written);
}

std::optional<std::string> demoPassword(const RepoListing& listing, const Environment& environment) {
  auto given = passwordGiven(environment);
  return given ? given : listing.demoPassword;
}

std::optional<std::string> trackedPasswordFile(const RepoListing& listing, const Environment& environment,
                                               const std::filesystem::path& root, Git& git) {
  const auto& file = listing.demoPasswordFile;
  if (!file || passwordGiven(environment) || !git.isTracked(*file, root)) return std::nullopt;
  return file;
}

std::string trackedPasswordWarning(const std::string& file) {
  return printable(file) + " holds the demo account's password and git tracks it, so it's in the repo's history: " +
         std::string(demoPasswordVariable) + " where kestu runs keeps it out.";
}

} // namespace kestu::Metadata
