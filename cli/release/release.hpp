#pragma once

#include "cli/metadata/check_options.hpp"
#include "core/release/finding.hpp"

#include <string>

namespace kestu {

struct ReleaseCheckOptions : CheckOptions {
  std::string version;
};

struct ReleaseChecked {
  Findings findings;
  bool listed = false; ///< App Store Connect has the version
  MetadataLayout layout = MetadataLayout::kestu;
};

/// Fetches all that the check of a version looks at and runs it; says notes on standard error only.
ReleaseChecked checkRelease(Context& context, const Client& client, const ReleaseCheckOptions& options);

void addReleasePrepare(Command& group);
void addReleaseCheck(Command& group);
void addReleaseNow(Command& group);
void addReleasePhased(Command& group);

} // namespace kestu
