#pragma once

#include "core/assets/asset_scan.hpp"
#include "core/assets/display_folders.hpp"
#include "core/assets/frames.hpp"
#include "core/assets/shown_assets.hpp"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace kestu {

/// A place in a display's order. Paths are under the kind's folder, as they are once the folders are changed.
struct PullSlot {
  const ShownAsset* asset;         ///< of the ShownAssets that the plan was made from
  std::string path;                ///< where the asset goes, or stays
  std::optional<std::string> from; ///< the file that has its bytes already; none when they are to be downloaded
  std::optional<std::string> md5;  ///< of that file
};

/// What happens to a display's folder.
struct DisplayPull {
  std::string locale;
  AssetDisplay display;
  std::vector<PullSlot> slots;
  std::vector<std::string> others; ///< its media files that App Store Connect doesn't show

  bool unchanged() const;
};

struct KindPull {
  AssetKind kind = AssetKind::screenshots;
  std::string folder; ///< repository path
  std::vector<FolderChange> changes;
  std::vector<DisplayPull> displays;
  PosterFrames frames;      ///< of the pulled videos
  Assets::Paths replacing;  ///< paths whose poster frames the file forgets first
  bool mendsPulled = false; ///< its pulled.json can't be used, and is written anew

  /// Whether no folder or file of it is to be renamed, moved, downloaded or removed.
  bool unchanged() const;
};

/// What a pull did or would do; paths are the repository's.
struct PullReport {
  std::vector<std::pair<std::string, std::string>> folders; ///< display folders renamed: from, to
  std::vector<std::pair<std::string, std::string>> merged;  ///< display folders emptied into another: from, to
  std::vector<std::pair<std::string, std::string>> moved;   ///< files: from, to
  std::vector<std::string> written;                         ///< files that came, in the plan's order
  std::vector<std::string> removed;
  std::uint64_t bytes = 0;              ///< downloaded
  std::vector<std::string> bookkeeping; ///< pulled.json and frames.json files that changed

  bool nothing() const {
    return folders.empty() && merged.empty() && moved.empty() && written.empty() && removed.empty() &&
           bookkeeping.empty();
  }
};

/// What a pull would do, found out without writing anything.
struct PullPlan {
  std::vector<KindPull> kinds;
  std::vector<std::string> conflicts; ///< repository paths of what would be written over or removed
  std::vector<std::string> notes;     ///< whole sentences

  /// Whether nothing is to be renamed, moved, downloaded or removed.
  bool unchanged() const;

  /// What carrying it out would report, without the bytes and the bookkeeping.
  PullReport report() const;
};

namespace AssetPull {

/// A file stays where it is when its display shows exactly what App Store Connect does, whatever the files are called;
/// else the display's assets become 01.png, 02.png… in its folder, from the files that have the bytes already and from
/// downloads. A file is an asset when its checksum says so, or for an asset without one when pulled.json does.
/// `options` gives the platform, the video probe and the stop token. Throws CLIError when a folder or frames.json can't
/// be read.
PullPlan plan(const ShownAssets& shown, const std::vector<AssetKind>& kinds, const std::filesystem::path& root,
              const AssetCatalog& catalog, const ScanOptions& options, bool byIDs);

} // namespace AssetPull

} // namespace kestu
