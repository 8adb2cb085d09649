#pragma once

#include "cli/app_platform.hpp"
#include "cli/context.hpp"
#include "cli/metadata/layout_option.hpp"
#include "cli/options.hpp"
#include "core/listing/listing_push.hpp"

#include <optional>
#include <string>
#include <vector>

namespace kestu {

/// What pull and push work on.
struct MetadataTarget : ListingTarget {
  bool firstPlatform = true; ///< of those that the app is on
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

void addMetadataPull(Command& group);
void addMetadataPush(Command& group);
void addContentRights(Command& group);

} // namespace kestu
