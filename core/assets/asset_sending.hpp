#pragma once

#include "core/assets/asset_catalog.hpp"
#include "core/assets/asset_push.hpp"
#include "core/assets/asset_scan.hpp"
#include "core/assets/shown_assets.hpp"
#include "core/changes/change_flow.hpp"
#include "core/changes/change_item.hpp"
#include "core/console/text_style.hpp"
#include "core/service/client.hpp"
#include "core/support/json_data.hpp"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

/// The road of a repository's assets to a version, in the order of its steps: `catalogs`, `scan`, `requireSendable`,
/// `AssetSending::plan`, and once the change is confirmed `upload` and the change of `commit`. No step prints anything
/// but `upload`, which shows how far it is.
namespace kestu {

/// Which of the repository's assets are meant.
struct AssetSelection {
  std::vector<AssetKind> kinds;
  std::vector<std::string> locales{};  ///< all when empty
  std::vector<std::string> displays{}; ///< by name or ID, all when empty

  std::string plural() const; ///< "screenshots", or "assets" for several kinds
  std::string limits() const; ///< " for de-DE on iPhone 6.9", empty without any; printable
};

/// The version that is to show them.
struct AssetDestination {
  std::string app; ///< path of the app's calls: "/v1/apps/1234567890"
  std::string platform;
  std::string version;

  Query query() const { return {{"version", version}, {"platform", platform}}; }
};

namespace AssetPush {

/// The IDs of the displays that the selection names; the options' platform says of several with one name which is
/// meant. Throws CLIError (usage) for a name that no display of its kinds has, or more than one.
std::vector<std::string> groups(const AssetSelection& selection, const AssetCatalog& catalog,
                                const ScanOptions& options);

/// The displays of all the platforms, asked for at once, so that a folder of another one's display is known for what it
/// is. Throws CLIError and Stopped.
AssetCatalog catalogs(const Client& client, const std::string& app, const std::vector<std::string>& platforms);

/// What the repository has of the selection, all kinds in one; `options` says how to measure, and for which platform:
/// languages, displays and hashing are set here. Throws CLIError (usage) for a display that there is none of, and
/// Stopped; every fault of a file is a problem of the scan.
AssetScan scan(const AssetSelection& selection, const std::filesystem::path& root, const AssetCatalog& catalog,
               ScanOptions options);

/// Throws the CLIError that names all that keeps the scan from being sent: its problems (failed), or that it is empty
/// (notFound). A command for which no assets are fine looks at `sets` first. `columns` are a terminal's, for
/// which files with the same fault share a line; 0 for a pipe.
void requireSendable(const AssetScan& scan, const AssetSelection& selection, int columns = 0);

} // namespace AssetPush

/// Files and their bytes.
struct AssetTotals {
  int files = 0;
  std::uint64_t bytes = 0;

  std::string toUpload() const; ///< "2 files (3.1 MB) to upload", "nothing to upload"
  std::string uploaded() const; ///< "2 files (3.1 MB) uploaded", "nothing uploaded"
};

/// A scan's sets with the service's answer to them. It moves and doesn't copy: its transfers point into it.
class AssetSending {
 public:
  /// Asks the service what would change and which files Apple lacks; reserves nothing when `dryRun` is set. `sets` are
  /// not empty, their files hashed. `plural` is what a message calls them. Throws CLIError for an answer that doesn't
  /// fit the sets, and for uploads that aren't of their files or don't cover them once and whole: nothing was sent
  /// then.
  static AssetSending plan(const Client& client, AssetDestination destination, std::vector<AssetSet> sets,
                           const std::string& plural, bool dryRun);

  AssetSending(AssetSending&&) = default;
  AssetSending& operator=(AssetSending&&) = default;
  AssetSending(const AssetSending&) = delete;
  AssetSending& operator=(const AssetSending&) = delete;
  ~AssetSending() = default;

  /// Whether the version shows all of it already: there is nothing to upload and nothing to commit.
  bool unchanged() const { return plan_.unchanged(); }

  const std::vector<AssetSet>& sets() const { return sets_; }
  const AssetsPlan& planned() const { return plan_; }

  /// What is uploaded.
  AssetTotals totals() const;

  /// A line for each display that changes: its language, its name, its files and what is added, removed and moved.
  std::string lines(const TextStyles& style) const;

  /// What each display that changes shows now and is to show, as lines of file names and checksums, and the poster
  /// frames of its videos that change; `shown` is what App Store Connect has of the version.
  std::vector<ChangeItem> changes(const ShownAssets& shown) const;

  /// The service's answer without the addresses that files are sent to, which are for nobody's eyes.
  JSONData answer() const;

  /// Sends what Apple lacks, four parts at once, and tells the service what arrived: now and then, in the end, and also
  /// when it fails or is stopped, so that running it again goes on from there; a stop says so on standard error. Does
  /// nothing where there is nothing to send. Throws CLIError and Stopped; the version shows what it showed.
  void upload(const Client& client) const;

  /// The change that makes the version show the sets; all of its files have to have arrived. Nothing is sent by this.
  ChangeRequest commit() const;

 private:
  AssetSending(AssetDestination destination, std::vector<AssetSet> sets, AssetsPlan plan, JSONData body);

  AssetDestination destination_;
  std::vector<AssetSet> sets_;
  AssetsPlan plan_;
  JSONData body_;
  std::vector<AssetTransfer> transfers_;
};

} // namespace kestu
