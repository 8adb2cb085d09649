#pragma once

#include "core/listing/listing_file.hpp"
#include "core/listing/repo_listing.hpp"

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kestu {

/// Gathers what a layout doesn't read in one folder, to tell it in a line.
class Unread {
 public:
  explicit Unread(std::string folder) : folder_(std::move(folder)) {}

  /// What it is ("titel", "whats_new.txt"), the file or language that it stands in, empty for the folder itself, and
  /// what to do about it ("release_notes.txt is"), empty when nothing is known.
  void add(const std::string& what, const std::string& in, std::string hint = {});

  /// Adds the line to the listing's notes, none when nothing was added.
  void tell(RepoListing& listing) const;

 private:
  std::string folder_;
  std::map<std::pair<std::string, std::string>, std::vector<std::string>> found_; ///< by what and hint
};

/// The field that a misspelt key or file name likely means: "whats_new" and "What's New" are what's new.
const ListingFieldFacts* fieldMeant(std::string_view written);

/// Whether an entry stands beside a listing by custom: hidden files, and pages to read.
bool isBeside(std::string_view name);

/// Takes the folder's entries that were likely meant as languages and aren't written as one into the listing's misnamed
/// ones, and the others that aren't read into `unread`. `known` are those that have another meaning there.
void noteEntries(RepoListing& listing, Unread& unread, const std::filesystem::path& root, const std::string& folder,
                 ListingFile::Entries kind, const std::vector<std::string_view>& known);

/// Tells what lies in metadata/ itself as if it were read: text and JSON files but the `known` ones, and languages'
/// folders.
void noteAround(RepoListing& listing, const std::filesystem::path& root, const std::vector<std::string_view>& known);

} // namespace kestu
