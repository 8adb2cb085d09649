#pragma once

#include "core/changes/change_item.hpp"
#include "core/console/text_style.hpp"
#include "core/listing/repo_listing.hpp"
#include "core/listing/store_version.hpp"
#include "core/support/json.hpp"
#include "core/support/json_data.hpp"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace kestu {

/// The listing as App Store Connect has it, for one version of one platform.
struct StoreListing {
  std::string primaryLocale;
  std::optional<std::string> copyright{};
  std::optional<ContentRights> contentRights{};
  std::optional<StoreVersion> version{}; ///< none when App Store Connect has none of that number
  LocaleTexts texts{};
  std::optional<ReviewInfo> review{};
  std::map<std::string, std::string> testNotes{};

  /// Values are trimmed as those of files are. A locale that can't name a file is a JSONError.
  static StoreListing read(const JSONValue& value);

  std::vector<std::string> locales() const;
};

/// One value that the repository has and App Store Connect hasn't.
struct ListingDifference {
  std::string place; ///< a locale, "App" or "App Review"
  std::string label; ///< "promotional text"
  std::optional<std::string> before{};
  std::string after;
  bool hidden = false; ///< a secret, or somebody's phone or e-mail: its values are shown nowhere
};

/// What makes App Store Connect say what the repository says: values that differ, and nothing that the repository
/// leaves out.
struct ListingChange {
  LocaleTexts texts{};
  std::optional<std::string> copyright{};
  std::optional<ContentRights> contentRights{};
  ReviewInfo review{};
  std::optional<std::string> demoPassword{}; ///< goes with the review's change; Apple never gives it back to compare

  std::vector<ListingDifference> differences{}; ///< of all the above in order, but the password's value
  std::vector<ListingDifference> held{};        ///< what differs too, and the version can't take any more

  bool isEmpty() const { return differences.empty(); }
  JSONData request() const;

  struct Choice {
    std::vector<std::string> locales{}; ///< these languages' text alone; everything when empty
    std::optional<std::string> demoPassword{};
    bool sendPassword = false; ///< also when nothing else of what App Review is told differs
  };

  /// A version that can't be edited takes promotional text alone.
  static ListingChange between(const RepoListing& repo, const StoreListing& store, const Choice& choice);
};

/// "en-US  name  old → new" a line, shortened to so many columns around where the texts part; in full without a width.
std::string differencesText(const std::vector<ListingDifference>& differences, std::optional<int> width,
                            const TextStyles& style);

/// Each text whole, or from a little before its changes to a little behind them, with what goes and what comes in
/// colours, or without styles as [-goes-]{+comes+}; within so many columns where there is a width.
std::string wordDifferencesText(const std::vector<ListingDifference>& differences, std::optional<int> width,
                                const TextStyles& style);

/// The same as data.
std::vector<ChangeItem> changeItems(const std::vector<ListingDifference>& differences);

/// "en-US name, App copyright", and how many more there are from the seventh on; printable.
std::string placesText(const std::vector<ListingDifference>& differences);

} // namespace kestu
