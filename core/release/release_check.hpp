#pragma once

#include "core/assets/asset_scan.hpp"
#include "core/builds/managed_build.hpp"
#include "core/kit/flag_scan.hpp"
#include "core/kit/flags.hpp"
#include "core/kit/whats_new.hpp"
#include "core/listing/repo_listing.hpp"
#include "core/listing/store_version.hpp"
#include "core/project/git.hpp"
#include "core/release/finding.hpp"
#include "core/support/error.hpp"

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What App Review would trip on. Each check takes values and gives its findings in the order in which they are shown.
namespace kestu::ReleaseCheck {

/// What the texts are for, which tells the fields that are looked at and those that must be there.
enum class Purpose {
  update,       ///< a version that follows one on the App Store
  firstVersion, ///< takes no what's new yet
  out,          ///< is on the App Store: takes promotional text alone
  repository,   ///< nothing has to be there, since App Store Connect may have the rest
};

/// How the limit of keywords is counted.
enum class KeywordCount { bytes, characters };

/// By locale, the repository path that each value came from.
using FieldFiles = std::map<std::string, std::map<ListingField, std::string>>;

/// Each language's resolved texts. `primary` may be empty where it isn't known: then nothing is compared with it. The
/// repository tells where each can be mended.
Findings texts(const LocaleTexts& texts, const std::string& primary, Purpose purpose, std::string_view platform,
               KeywordCount count = KeywordCount::bytes, const RepoListing& repository = {});

/// The names of the repository's languages: those that can't be one, and those that aren't among Apple's.
Findings languages(const RepoListing& listing);

/// What is wasted in one language's keywords.
Findings keywords(const LocaleText& text, const std::string& locale);

/// Translations whose file changed last before the primary language's. A path without a date is passed over.
Findings stale(const FieldFiles& files, const std::map<std::string, Moment>& lastChanged, const std::string& primary);

/// What git knows of the files' dates, compared by `stale`; where it knows nothing, a note says why.
Findings translations(const FieldFiles& files, const Git::Changes& changes, const std::string& primary);

/// The paths whose dates make a translation stale. Git is asked for them once more, each by itself: asked for all paths
/// at once, it may name a commit of a branch that a merge then passed over.
std::vector<std::string> suspects(const FieldFiles& files, const Git::Changes& changes, const std::string& primary);

/// Every path among the files, once.
std::vector<std::string> paths(const FieldFiles& files);

/// The version as App Store Connect has it (or not), and the facts of its build where they are known.
Findings version(const std::optional<StoreVersion>& stored, const std::string& number, std::string_view platform,
                 const std::optional<ManagedBuild>& build, Moment now);

/// App Store Connect's answer and the repository's.
Findings contentRights(std::optional<ContentRights> answered, std::optional<ContentRights> repository);

Findings review(const ReviewInfo& review, bool hasDemoPassword);

/// The length of its notes.
Findings reviewNotes(const ReviewInfo& review);

/// The repository's assets against Apple's specs. `options` say the platform, the probe and when to stop.
Findings assets(const std::filesystem::path& root, const AssetCatalog& catalog, const ScanOptions& options);

/// A scan's problems or notes, which begin with a repository path.
Findings assetFindings(AssetKind kind, const std::filesystem::path& root, Level level,
                       const std::vector<std::string>& texts);

/// That they weren't checked, when there are any, and why the catalog can't be had.
Findings assets(const std::filesystem::path& root, const CLIError& noCatalog, Level level);

/// An asset problem's language, told by its repository path; none when it stands elsewhere.
std::optional<std::string> assetLocale(std::string_view problem, std::string_view kindFolder);

/// KestuKit's pages, and the repository path of the version's own where it has one.
Findings whatsNew(const std::vector<WhatsNewPage>& pages, const std::string& version, const std::string& platform,
                  const std::optional<std::string>& repositoryPage);

/// A read of each flag that the service lacks.
Findings flags(const std::vector<FlagRead>& missing);

/// The median wait for App Review, and what it rests on.
struct ReviewTime {
  double hours = 0;
  std::int64_t reviews = 0;
  std::int64_t days = 0;

  static ReviewTime read(const JSONValue& value);
};

/// By platform.
using ReviewTimes = std::map<std::string, ReviewTime>;

Findings reviewTime(const ReviewTimes& times, const std::string& platform);

/// The finding in place of a check that could not run: "The What's New page wasn't checked: …".
Finding unchecked(std::string rule, std::string_view what, const CLIError& reason);

/// Whether any is an error, or with `strict` a warning.
bool fails(const Findings& findings, bool strict);

/// "2 errors, with 1 warning"; empty without either.
std::string summary(const Findings& findings);

/// "a", "a and b", "a, b and c"; with `isOr` " or " in place of " and ".
std::string list(const std::vector<std::string>& words, bool isOr = false);

} // namespace kestu::ReleaseCheck
