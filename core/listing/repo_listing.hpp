#pragma once

#include "core/listing/listing_field.hpp"
#include "core/support/clock.hpp"

#include <array>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestu {

/// How a repository keeps its listing.
enum class MetadataLayout { kestu, fastlane, json };

struct MetadataLayoutFacts {
  MetadataLayout layout;
  std::string_view word;   ///< on the command line
  std::string_view name;   ///< in messages: "kestu's layout"
  std::string_view folder; ///< repository path
};

const MetadataLayoutFacts& facts(MetadataLayout layout);
std::optional<MetadataLayout> metadataLayoutOfWord(std::string_view word);

/// What App Review is told. The demo account's password is never a part of it.
struct ReviewInfo {
  std::optional<std::string> contactFirstName{}, contactLastName{}, contactPhone{}, contactEmail{};
  std::optional<std::string> demoAccountName{};
  std::optional<bool> demoAccountRequired{};
  std::optional<std::string> notes{};

  /// This one, with each field that the other gives replaced by it.
  ReviewInfo merging(const ReviewInfo& over) const;

  bool operator==(const ReviewInfo&) const = default;
};

struct ReviewTextFacts {
  std::optional<std::string> ReviewInfo::*field;
  std::string_view key;   ///< in JSON files and in the service's answers
  std::string_view label; ///< in messages
  std::string_view fastlaneFile;
  bool isPersonal = false; ///< not to stand in a log
};

/// The texts of it, all but whether a demo account is required, in the order in which they are listed.
const std::array<ReviewTextFacts, 6>& reviewTexts();

struct ReleaseSettings {
  std::optional<std::string> releaseType{};
  std::optional<Moment> earliestReleaseDate{};
  std::optional<bool> phased{};
  std::optional<std::string> build{};

  bool operator==(const ReleaseSettings&) const = default;
};

enum class ContentRights { usesThirdPartyContent, doesNotUseThirdPartyContent };

/// Of App Store Connect's value, "USES_THIRD_PARTY_CONTENT"; none for any other text.
std::optional<ContentRights> contentRightsOfApple(std::string_view value);
std::string_view appleValue(ContentRights rights);
/// "usesthirdpartycontent", "doesnotusethirdpartycontent".
std::string_view rawValue(ContentRights rights);

struct MisnamedLanguage {
  std::string name; ///< "german"
  std::string path; ///< repository path of its file or folder
};

/// Where the value of a language belongs, be there such a file or not.
struct LanguagePath {
  std::string before, after; ///< of the language's code

  std::string of(const std::string& locale) const { return before + locale + after; }
};

/// The listing as a repository has it.
struct RepoListing {
  MetadataLayout layout = MetadataLayout::kestu;
  LocaleTexts texts{};
  std::optional<LocaleText> defaults{}; ///< fill in what a language leaves out
  std::optional<std::string> copyright{};
  std::optional<ContentRights> contentRights{};
  std::optional<ReviewInfo> review{};
  std::optional<std::string> demoPassword{};
  std::optional<std::string> demoPasswordFile{}; ///< repository path of the file that held it
  std::optional<ReleaseSettings> release{};
  std::map<std::string, std::string> testNotes{}; ///< What to Test by locale
  std::optional<std::string> whatsNewPage{};      ///< repository path of the release's folder of that name
  std::map<std::string, std::map<ListingField, std::string>> files{}; ///< repository path that each value came from
  std::map<ListingField, LanguagePath> places{}; ///< repository path of each; none where no version tells it
  std::vector<std::string> notes{};              ///< what lies among its files and isn't read, whole sentences
  std::vector<MisnamedLanguage> misnamed{};      ///< files and folders meant as languages, and not read

  bool isEmpty() const;

  /// The texts with the defaults filled in, also for those of `locales` that the repository has no text of.
  LocaleTexts resolved(const std::vector<std::string>& locales) const;
};

} // namespace kestu
