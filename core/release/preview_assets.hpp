#pragma once

#include "core/assets/shown_assets.hpp"
#include "core/release/release_preview.hpp"

#include <filesystem>
#include <vector>

namespace kestu {

/// An asset of App Store Connect's that the repository doesn't have.
PreviewAsset shownAlone(AssetKind kind, const ShownAsset& asset, Standing standing);

/// The repository's files of a display against those shown, by checksum, or where Apple doesn't tell it by what was
/// pulled; then those shown that it doesn't have.
std::vector<PreviewAsset> comparedAssets(const AssetSet& set, const std::vector<ShownAsset>& shown);

/// A repository's assets without Apple's displays to match them against: by the names of their folders, and those in no
/// folder of a display by their size; and what is wrong with the folders. Throws Stopped.
struct FolderAssets {
  std::vector<AssetSet> sets;
  Findings findings;
};
FolderAssets assetsByFolder(const std::filesystem::path& root, const ScanOptions& options);

} // namespace kestu
