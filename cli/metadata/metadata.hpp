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
  std::vector<std::string> platforms{}; ///< that the app is on, in order
  std::string appTitle;                 ///< "Daylight (com.example.daylight) 1.2 for iOS", printable
};

/// The options that name it.
struct MetadataChoice {
  std::optional<std::string> version;
  std::optional<std::string> platform;
  std::vector<std::string> locales;
  AppTarget app;
  LayoutOption layout;
  bool diff = false;

  void declare(Command& command);
  void declareDiff(Command& command);

  /// What differs, as wide as the terminal where it is shown at one, else in full; with --diff word by word.
  std::string linesOf(const Context& context, const std::vector<ListingDifference>& differences, Stream where) const;

  /// "kestu release prepare 1.2 --platform macos", for the same app.
  std::string commandFor(const std::string& words, const MetadataTarget& target) const;

  /// The version left out is the only one that can be edited; none or several are a UsageError.
  MetadataTarget resolve(const Client& client, const Context& context, const std::string& command) const;
};

void declarePlatform(Command& command, std::optional<std::string>& platform);

void addMetadataPull(Command& group);
void addMetadataPush(Command& group);
void addContentRights(Command& group);

} // namespace kestu
