#pragma once

#include "core/listing/listing_change.hpp"
#include "core/release/finding.hpp"
#include "core/release/release_check.hpp"
#include "core/support/error.hpp"

#include <string>
#include <vector>

namespace kestu::ReleaseCheck {

/// What Apple wouldn't take of a change, as a check of the repository says it: errors alone, and keywords counted in
/// characters, which App Store Connect has been seen to take.
Findings refusals(const ListingChange& change);

/// The same after the languages that can't be one, be they in the change or left out of it for their names; with
/// `locales`, of those alone that were meant by them.
Findings refusals(const RepoListing& repo, const ListingChange& change, const std::vector<std::string>& locales);

/// "metadata/listing/german.json can't be a language: it's written de-DE. Nothing in it is sent." for each of those.
std::vector<std::string> leftOut(const RepoListing& repo, const std::vector<std::string>& locales);

/// "fy isn't one of Apple's languages, so Apple may not take it." for each language of the change that isn't, and what
/// only counting keywords as `count` says makes too long.
std::vector<std::string> doubts(const ListingChange& change, KeywordCount count);

/// "Apple wouldn't take these, so nothing was sent:" and a line for each.
CLIError notSent(const Findings& refusals);

} // namespace kestu::ReleaseCheck
