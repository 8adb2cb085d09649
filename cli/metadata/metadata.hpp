#pragma once

#include "cli/app_platform.hpp"
#include "cli/context.hpp"
#include "cli/metadata/layout_option.hpp"
#include "cli/options.hpp"
#include "core/listing/listing_change.hpp"

#include <optional>
#include <string>
#include <vector>

namespace kestu {

/// What pull and push work on.
struct MetadataTarget {
  std::string path; ///< "/v1/apps/1234567890/listing"
  std::string platform;
  std::string version;
  bool firstPlatform = true; ///< of those that the app is on

  Query query() const { return {{"version", version}, {"platform", platform}}; }
  std::string title() const; ///< "1.2 for iOS"
};

/// The options that name it.
struct MetadataChoice {
  std::optional<std::string> version;
  std::optional<std::string> platform;
  std::vector<std::string> locales;
  AppTarget app;
  LayoutOption layout;

  void declare(Command& command);

  /// The version left out is the only one that can be edited; none or several are a UsageError.
  MetadataTarget resolve(const Client& client, const Context& context, const std::string& command) const;
};

void declarePlatform(Command& command, std::optional<std::string>& platform);

/// App Store Connect's listing of the version; a CLIError when it has no such version.
StoreListing fetchListing(const Client& client, const MetadataTarget& target);

CLIError noListing();

/// "a, b, c", and how many more there are from the seventh on.
std::string shortList(std::vector<std::string> texts);

void addMetadataPull(Command& group);
void addMetadataPush(Command& group);
void addContentRights(Command& group);

} // namespace kestu
