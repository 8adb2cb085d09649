#pragma once

#include "cli/metadata/check_options.hpp"
#include "cli/outcome.hpp"
#include "core/listing/listing_change.hpp"
#include "core/release/finding.hpp"

#include <string>

namespace kestu {

struct ReleaseCheckOptions : CheckOptions {
  std::string version;
};

/// What was found, and what it was found in.
struct ReleaseChecked {
  Findings findings;
  AppOnPlatform app;
  RepoListing repository;
  StoreListing store;
  Outcome<AssetCatalog> catalog;
  ReleaseCheck::Checked checked{};
};

/// Fetches all that the check of a version looks at and runs it; says notes on standard error only.
ReleaseChecked checkRelease(Context& context, const Client& client, const ReleaseCheckOptions& options);

void addReleasePrepare(Command& group);
void addReleaseCheck(Command& group);
void addReleasePreview(Command& group);
void addReleaseNow(Command& group);
void addReleasePhased(Command& group);

} // namespace kestu
