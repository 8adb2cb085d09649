#include "core/release/preview_assets.hpp"

#include "core/assets/asset_folders.hpp"
#include "core/assets/asset_measure.hpp"
#include "core/assets/asset_walk.hpp"
#include "core/assets/frames.hpp"
#include "core/release/release_check.hpp"
#include "core/support/error.hpp"

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <system_error>
#include <utility>

namespace kestu {

namespace {

/// Which of `after` were in `before` and left their order: all but the longest run that kept it. Both hold positions in
/// `before`, each once.
std::set<std::size_t> movedAmong(const std::vector<std::size_t>& after) {
  std::vector<std::size_t> length(after.size(), 1);
  std::vector<std::size_t> previous(after.size(), after.size());
  std::size_t last = 0;
  for (std::size_t i = 0; i < after.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j) {
      if (after[j] < after[i] && length[j] + 1 > length[i]) {
        length[i] = length[j] + 1;
        previous[i] = j;
      }
    }
    if (length[i] > length[last]) last = i;
  }
  std::set<std::size_t> moved(after.begin(), after.end());
  for (std::size_t i = last; i < after.size(); i = previous[i]) moved.erase(after[i]);
  return moved;
}

} // namespace

PreviewAsset shownAlone(AssetKind kind, const ShownAsset& asset, Standing standing) {
  PreviewAsset alone{kind, {}, {}, standing, {}, false, {}};
  alone.file.name = asset.fileName;
  alone.file.size = asset.size;
  alone.file.isVideo = asset.video;
  alone.file.frame = asset.frame;
  return alone;
}

std::vector<PreviewAsset> comparedAssets(const AssetSet& set, const std::vector<ShownAsset>& shown) {
  std::vector<PreviewAsset> assets;
  std::vector<bool> taken(shown.size());
  std::vector<std::size_t> kept;
  std::vector<std::optional<std::size_t>> places;
  for (const AssetFile& file : set.files) {
    PreviewAsset asset{set.kind, file, {}, Standing::added, {}, false, {}};
    std::optional<std::size_t> place;
    for (std::size_t i = 0; i < shown.size() && !place; ++i) {
      bool isIt = shown[i].md5 ? shown[i].md5 == file.md5 : file.assetId && shown[i].assetId == *file.assetId;
      if (isIt && !taken[i]) place = i;
    }
    if (place) {
      taken[*place] = true;
      kept.push_back(*place);
      asset.standing = file.frame && file.frame != shown[*place].frame ? Standing::changed : Standing::same;
    }
    places.push_back(place);
    assets.push_back(std::move(asset));
  }
  std::set<std::size_t> moved = movedAmong(kept);
  for (std::size_t i = 0; i < assets.size(); ++i) {
    if (!places[i] || !moved.contains(*places[i])) continue;
    assets[i].standing = Standing::moved;
    assets[i].before = *places[i] + 1;
  }
  for (std::size_t i = 0; i < shown.size(); ++i) {
    if (!taken[i]) assets.push_back(shownAlone(set.kind, shown[i], Standing::removed));
  }
  return assets;
}

namespace {

/// What can't be read is told by a check.
std::vector<std::string> foldersIn(const std::filesystem::path& folder) {
  std::vector<std::string> names;
  try {
    for (const Assets::Entry& entry : Assets::entries(folder)) {
      if (entry.isFolder) names.push_back(entry.name);
    }
  } catch (const std::system_error&) {
  }
  return names;
}

/// Every folder that a language has, as a display of its name that takes anything.
AssetDisplays displaysByFolder(AssetKind kind, const std::filesystem::path& root, const std::string& platform) {
  AssetDisplays displays{kind, {}};
  const auto folder = Assets::folder(kind, root);
  if (!folder) return displays;
  for (const std::string& language : foldersIn(*folder)) {
    for (const std::string& name : foldersIn(*folder / language)) {
      if (displays.named(name) || !displays.sharing(name).empty()) continue;
      AssetDisplay display;
      display.group = display.name = name;
      display.platform = platform;
      display.images.emplace_back();
      display.videos.emplace_back();
      displays.displays.push_back(std::move(display));
    }
  }
  return displays;
}

/// The sets of what lies in one folder; that of no display's by the files' sizes.
void addPlace(std::vector<AssetSet>& sets, AssetKind kind, const AssetPlace& place, const ScanOptions& options) {
  AssetMeasurer measurer(options);
  const std::size_t first = sets.size();
  for (const auto& path : place.files) {
    if (options.stop.stop_requested()) throw Stopped();
    AssetFile file;
    file.name = path.filename().string();
    file.path = path;
    file.isVideo = mediaType(file.name) == MediaType::video;
    try {
      if (!measurer.measure(file)) continue;
    } catch (const std::system_error&) {
      continue;
    }
    AssetDisplay display;
    if (place.display) {
      display = *place.display;
    } else if (file.width > 0) {
      display.name = std::to_string(file.width) + " × " + std::to_string(file.height);
    }
    std::size_t at = first;
    while (at < sets.size() && sets[at].display.name != display.name) ++at;
    if (at == sets.size()) sets.push_back({kind, place.locale, display, {}, place.folder});
    sets[at].files.push_back(std::move(file));
  }
}

void addFrames(std::vector<AssetSet>& sets, std::size_t first, AssetKind kind, const std::filesystem::path& root,
               const std::string& kindFolder) {
  const PosterFrames frames = Frames::read(kind, root).frames;
  for (std::size_t at = first; at < sets.size(); ++at) {
    for (AssetFile& file : sets[at].files) {
      auto found = frames.find((sets[at].folder + "/" + file.name).substr(kindFolder.size() + 1));
      if (file.isVideo && found != frames.end()) file.frame = found->second;
    }
  }
}

} // namespace

FolderAssets assetsByFolder(const std::filesystem::path& root, const ScanOptions& options) {
  FolderAssets found;
  for (AssetKind kind : Assets::kinds(root)) {
    DisplayChoice displays(displaysByFolder(kind, root, options.platform), options);
    const AssetWalk walk = AssetWalk::of(kind, root, displays, options.locales);
    const std::size_t first = found.sets.size();
    for (const AssetPlace& place : walk.places) addPlace(found.sets, kind, place, options);
    addFrames(found.sets, first, kind, root, walk.kindFolder);
    for (const auto& [level, texts] : {std::pair(Level::error, walk.problems), {Level::note, walk.notes}}) {
      Findings more = ReleaseCheck::assetFindings(kind, root, level, texts);
      found.findings.insert(found.findings.end(), more.begin(), more.end());
    }
  }
  return found;
}

} // namespace kestu
