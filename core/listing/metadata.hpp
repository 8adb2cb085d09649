#pragma once

#include "core/changes/change_item.hpp"
#include "core/listing/repo_listing.hpp"
#include "core/project/git.hpp"
#include "core/support/environment.hpp"
#include "core/support/json_data.hpp"

#include <array>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestu {

/// What a pull writes.
struct ListingToWrite {
  std::string version;
  std::string platform;
  std::vector<std::string> platforms{}; ///< the app's, in order, whose other values stay as they are
  LocaleTexts texts{};
  std::optional<std::string> copyright{};
  std::optional<ContentRights> contentRights{};
  ReviewInfo review{};
  std::optional<ReleaseSettings> release{};
  std::map<std::string, std::string> testNotes{};
  bool appReviewInfo = false; ///< whether what App Review is told is written
  bool appValues = true;      ///< whether the copyright and Content Rights are written
};

/// Contents by repository path.
using ListingFiles = std::map<std::string, std::string>;

/// The listing's files in a repository. Paths in messages are relative to its root; a malformed file is a CLIError
/// that begins with its path, a missing one gives nothing.
namespace Metadata {

inline constexpr std::string_view demoPasswordVariable = "KESTU_REVIEW_DEMO_PASSWORD";

/// Whether the text can name a version's folder. A version is named on the command line, so it may be anything.
bool versionShape(std::string_view text);

std::optional<MetadataLayout> detect(const std::filesystem::path& root);

/// Lines about listings that lie where they aren't read, each after a line feed; empty when there are none. Printable.
std::string elsewhere(const std::filesystem::path& root);

/// What a pull says before it writes the first listing of a repository: in which layout; none where there is one.
std::optional<std::string> newLayoutText(MetadataLayout layout, const std::filesystem::path& root);

/// The version selects the release's folder, the highest that there is when none is named; the platform those values
/// that are its own.
RepoListing read(MetadataLayout layout, const std::filesystem::path& root, const std::optional<std::string>& version,
                 const std::optional<std::string>& platform);

/// The files as they are to be: those in the repository with their values replaced, other platforms' values and keys
/// that this program doesn't know kept. A file that could not be read before begins anew.
ListingFiles files(MetadataLayout layout, const std::filesystem::path& root, const ListingToWrite& listing);

/// Whether a file says something that would be lost: JSON objects are compared key by key, other files by their text.
bool saysOtherwise(const std::string& existing, const std::string& wanted);

/// Whether both say the same: JSON by value, other files by their text without blanks around it.
bool saysTheSame(const std::string& existing, const std::string& wanted);

/// What a file that is written says otherwise than before, by its path: a JSON object's values by key
/// ("macos.keywords"), any other file as one text.
std::vector<ChangeItem> differences(const std::string& path, const std::optional<std::string>& before,
                                    const std::string& after);

std::string serialized(const JSONData& object);

/// The environment's, else the listing's; empty text counts as none. Never to be shown.
std::optional<std::string> demoPassword(const RepoListing& listing, const Environment& environment);

/// The file that the demo account's password is taken from, when git tracks it. Throws Stopped.
std::optional<std::string> trackedPasswordFile(const RepoListing& listing, const Environment& environment,
                                               const std::filesystem::path& root, Git& git);
std::string trackedPasswordWarning(const std::string& file);

} // namespace Metadata

} // namespace kestu
