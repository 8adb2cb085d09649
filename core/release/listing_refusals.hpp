#pragma once

#include "core/listing/listing_change.hpp"
#include "core/release/finding.hpp"
#include "core/support/error.hpp"

namespace kestu::ReleaseCheck {

/// What Apple wouldn't take of a change, as a check of the repository says it: errors alone.
Findings refusals(const ListingChange& change);

/// "Apple wouldn't take these, so nothing was sent:" and a line for each.
CLIError notSent(const Findings& refusals);

} // namespace kestu::ReleaseCheck
