#include "core/assets/asset_pull_plan.hpp"

#include "core/assets/asset_measure.hpp"
#include "core/assets/pulled.hpp"
#include "core/console/printable.hpp"
#include "core/support/error.hpp"
#include "core/support/file_name.hpp"
#include "core/support/md5_several.hpp"
#include "core/support/text.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <system_error>

namespace kestu {

namespace {

/// A media file that a display shows now.
struct Local {
  std::string now;   ///< path under the kind's folder
  std::string after; ///< the same once the folders are changed
  bool isLoose = false;
  bool isLink = false;
  std::uint64_t size = 0;
  std::optional<std::string> md5; ///< only where the size is that of an asset
};

/// A display on its way into the plan.
struct Shelf {
  const std::string* locale;
  const ShownDisplay* shown;
  const AssetDisplay* display;
  DisplayFolders::Folder folder;
  std::vector<Local> locals;
};

CLIError failed(const std::string& message) { return {CLIError::Kind::failed, printable(message)}; }

class KindPlanner {
 public:
  KindPlanner(AssetKind kind, const std::filesystem::path& root, const AssetCatalog& catalog,
              const ScanOptions& options, bool byIDs)
      : root_(root), options_(options), displays_(catalog[kind], options),
        folder_(Assets::repositoryFolder(kind, root).value_or(std::string(facts(kind).folders.front()))),
        folders_(root, folder_, displays_, options.locales, byIDs) {
    plan_.kind = kind;
    plan_.folder = folder_;
    plan_.changes = folders_.changes();
  }

  void add(const ShownLanguage& language, PullPlan& whole) {
    if (!isAskedFor(language.locale, options_.locales)) return;
    for (const ShownDisplay& shown : language.displays) {
      if (shown.kind != plan_.kind || shown.assets.empty()) continue;
      const auto& all = displays_.ofPlatform().displays;
      auto display = std::find_if(all.begin(), all.end(), [&](const auto& each) { return each.group == shown.group; });
      if (displays_.isLimited() && (display == all.end() || !displays_.keeps(*display))) continue;
      if (display == all.end()) {
        whole.notes.push_back(fmt::format("App Store Connect shows {} for {} in {}, a display that isn't in Apple's "
                                          "list any more: left out.",
                                          counted(plan_.kind, shown.assets.size()), shown.group, language.locale));
        continue;
      }
      Shelf shelf{&language.locale, &shown, &*display, folders_.folder(language.locale, *display), {}};
      if (isNew(shelf)) shelves_.push_back(std::move(shelf));
    }
  }

  void finish(PullPlan& whole) {
    for (const FolderChange& change : plan_.changes) {
      for (const std::string& name : change.left) {
        whole.notes.push_back(fmt::format("{}/{}/{} was left where it is: {}/{} has another file of that name.",
                                          folder_, change.from, name, folder_, change.to));
      }
    }
    whole.notes.insert(whole.notes.end(), folders_.notes().begin(), folders_.notes().end());
    if (shelves_.empty() && plan_.changes.empty()) return;
    Frames::write(plan_.kind, root_, {}, {}); // throws now rather than when all is downloaded
    findLocals();
    hashLocals();
    auto pulled = Pulled::read(plan_.kind, root_);
    plan_.mendsPulled = !pulled.notes.empty();
    whole.notes.insert(whole.notes.end(), pulled.notes.begin(), pulled.notes.end());
    pulled_ = std::move(pulled.assets);
    frames_ = Frames::read(plan_.kind, root_).frames;
    for (const Shelf& shelf : shelves_) place(shelf, whole);
    forgetLostFrames();
    whole.kinds.push_back(std::move(plan_));
  }

 private:
  /// Two languages' folders may be one; what they show must then be the same.
  bool isNew(const Shelf& shelf) const {
    for (const Shelf& other : shelves_) {
      if (other.folder.path != shelf.folder.path) continue;
      auto same = [](const ShownAsset& a, const ShownAsset& b) {
        return a.assetId == b.assetId || (a.md5 && a.md5 == b.md5);
      };
      if (std::equal(other.shown->assets.begin(), other.shown->assets.end(), shelf.shown->assets.begin(),
                     shelf.shown->assets.end(), same)) {
        return false;
      }
      throw failed(fmt::format("{} and {} share {}/{}, and App Store Connect shows different {} in them.",
                               *other.locale, *shelf.locale, folder_, shelf.folder.path, facts(plan_.kind).plural));
    }
    return true;
  }

  void findLocals() {
    for (Shelf& shelf : shelves_) {
      std::vector<std::string> names;
      for (const auto& [name, now] : shelf.folder.entries) {
        std::error_code unreadable;
        bool isFolder = std::filesystem::is_directory(absolute(now), unreadable);
        if (mediaType(name) && !isFolder) names.push_back(name);
      }
      std::sort(names.begin(), names.end(), Text::naturalLess);
      for (const std::string& name : names) {
        shelf.locals.push_back(local(shelf.folder.entries.at(name), shelf.folder.path + "/" + name, false));
      }
    }
    std::vector<std::string> locales;
    for (const Shelf& shelf : shelves_) locales.push_back(folders_.localeFolder(*shelf.locale));
    if (locales.empty()) return;
    for (const AssetPlace& place : AssetWalk::of(plan_.kind, root_, displays_, locales).places) {
      if (!place.display) addLoose(place);
    }
  }

  /// Files straight in a language's folder belong to the display of their size.
  void addLoose(const AssetPlace& place) {
    AssetMeasurer measurer(options_);
    for (const auto& path : place.files) {
      AssetFile file;
      file.name = path.filename().string();
      file.path = path;
      file.isVideo = mediaType(file.name) == MediaType::video;
      const AssetDisplay* display = nullptr;
      try {
        if (measurer.measure(file)) display = displays_.fitting(file);
      } catch (const std::system_error&) {
        continue; // what can't be read is no display's
      }
      for (Shelf& shelf : shelves_) {
        if (!display || shelf.display->group != display->group) continue;
        if (folder_ + "/" + folders_.localeFolder(*shelf.locale) != place.folder) continue;
        std::string under = folders_.localeFolder(*shelf.locale) + "/" + file.name;
        shelf.locals.push_back(local(under, under, true));
      }
    }
  }

  Local local(const std::string& now, const std::string& after, bool isLoose) const {
    std::error_code unreadable;
    Local made{now, after, isLoose, std::filesystem::is_symlink(absolute(now), unreadable), 0, {}};
    auto size = std::filesystem::file_size(absolute(now), unreadable);
    if (!unreadable) made.size = size;
    return made;
  }

  void hashLocals() {
    std::vector<Local*> wanted;
    for (Shelf& shelf : shelves_) {
      for (Local& each : shelf.locals) {
        auto sameSize = [&](const ShownAsset& asset) { return static_cast<std::uint64_t>(asset.size) == each.size; };
        const auto& assets = shelf.shown->assets;
        if (std::any_of(assets.begin(), assets.end(), sameSize)) wanted.push_back(&each);
      }
    }
    std::vector<std::filesystem::path> files;
    for (const Local* each : wanted) files.push_back(absolute(each->now));
    // One that can't be read counts as a file that App Store Connect doesn't show.
    auto digests = MD5Several::ofFiles(files, options_.stop);
    for (std::size_t i = 0; i < wanted.size(); ++i) wanted[i]->md5 = std::move(digests[i]);
  }

  bool isAsset(const Local& file, const ShownAsset& asset) const {
    if (!file.md5 || file.size != static_cast<std::uint64_t>(asset.size)) return false;
    if (asset.md5) return file.md5 == asset.md5;
    return Pulled::assetOf(pulled_, file.now, *file.md5) == asset.assetId ||
           std::any_of(pulled_.begin(), pulled_.end(), [&](const auto& entry) {
             return entry.second == PulledAsset{asset.assetId, *file.md5};
           });
  }

  void place(const Shelf& shelf, PullPlan& whole) {
    DisplayPull pull{*shelf.locale, *shelf.display, {}, {}};
    const auto& assets = shelf.shown->assets;
    bool isSplit = std::any_of(shelf.locals.begin(), shelf.locals.end(),
                               [&](const Local& each) { return each.isLoose != shelf.locals.front().isLoose; });
    bool isExact =
        !isSplit && std::equal(shelf.locals.begin(), shelf.locals.end(), assets.begin(), assets.end(),
                               [&](const Local& file, const ShownAsset& asset) { return isAsset(file, asset); });
    std::vector<bool> used(shelf.locals.size(), isExact);
    for (std::size_t i = 0; i < assets.size(); ++i) {
      PullSlot slot{&assets[i], "", {}, {}};
      const Local* file = isExact ? &shelf.locals[i] : nullptr;
      slot.path = file ? file->after : numbered(shelf, i);
      if (!file) file = bestFile(shelf, assets[i], slot.path, used);
      if (file) {
        slot.from = file->after;
        slot.md5 = file->md5;
        compareFrames(*file, assets[i], whole);
      }
      pull.slots.push_back(std::move(slot));
    }
    for (std::size_t i = 0; i < shelf.locals.size(); ++i) {
      plan_.replacing.insert(shelf.locals[i].after);
      if (used[i]) continue;
      const Local& file = shelf.locals[i];
      pull.others.push_back(file.after);
      // A second copy of an asset, as a kill between two names leaves it, is no loss.
      bool isCopy = !file.isLink && std::any_of(assets.begin(), assets.end(),
                                                [&](const ShownAsset& asset) { return isAsset(file, asset); });
      if (!isCopy) whole.conflicts.push_back(folder_ + "/" + file.now);
      keepName(pull.slots, file.after);
    }
    for (const PullSlot& slot : pull.slots) addFrame(slot);
    plan_.displays.push_back(std::move(pull));
  }

  /// A file that comes where a Mac has another one, "01.png" for "01.PNG", takes its place under the name it has.
  static void keepName(std::vector<PullSlot>& slots, const std::string& other) {
    auto isOther = [&](const PullSlot& slot) { return slot.path == other; };
    if (std::any_of(slots.begin(), slots.end(), isOther)) return;
    auto alike = [&](const PullSlot& slot) { return slot.from != slot.path && FileName::alike(slot.path, other); };
    auto slot = std::find_if(slots.begin(), slots.end(), alike);
    if (slot != slots.end()) slot->path = other;
  }

  std::string numbered(const Shelf& shelf, std::size_t index) const {
    std::size_t digits = std::max<std::size_t>(2, std::to_string(shelf.shown->assets.size()).size());
    std::string name = fmt::format("{:0{}}{}", index + 1, digits, shelf.shown->assets[index].extension());
    auto entry = shelf.folder.entries.find(name);
    std::error_code none;
    if (entry != shelf.folder.entries.end() && std::filesystem::is_directory(absolute(entry->second), none)) {
      throw failed(folder_ + "/" + entry->second + " is a folder, where a file goes.");
    }
    return shelf.folder.path + "/" + name;
  }

  /// An unused file that is the asset, best of all one that needs no other name.
  const Local* bestFile(const Shelf& shelf, const ShownAsset& asset, const std::string& path,
                        std::vector<bool>& used) const {
    std::optional<std::size_t> best;
    for (std::size_t i = 0; i < shelf.locals.size(); ++i) {
      const Local& file = shelf.locals[i];
      // A relative link would lead elsewhere from another folder.
      if (used[i] || (file.isLoose && file.isLink) || !isAsset(file, asset)) continue;
      if (!best || file.after == path) best = i;
    }
    if (!best) return nullptr;
    used[*best] = true;
    return &shelf.locals[*best];
  }

  void compareFrames(const Local& file, const ShownAsset& asset, PullPlan& whole) const {
    auto mine = frames_.find(file.now);
    if (plan_.kind == AssetKind::screenshots || mine == frames_.end() || asset.frame == mine->second) return;
    std::string path = folder_ + "/" + std::string(Frames::fileName);
    auto& list = whole.conflicts;
    if (std::find(list.begin(), list.end(), path) == list.end()) list.push_back(path);
  }

  void addFrame(const PullSlot& slot) {
    plan_.replacing.insert(slot.path);
    if (slot.asset->video && slot.asset->frame) plan_.frames[slot.path] = *slot.asset->frame;
  }

  /// Frames of paths that a pull which was killed renamed, and whose new paths have them by now.
  void forgetLostFrames() {
    for (const auto& [path, frame] : frames_) {
      std::size_t name = path.rfind('/');
      std::size_t locale = path.find('/');
      std::error_code unknown;
      if (locale == name || name == std::string::npos || std::filesystem::exists(absolute(path), unknown)) continue;
      const AssetDisplay* display = displays_.named(path.substr(locale + 1, name - locale - 1));
      if (!display || path.find('/', locale + 1) != name) continue;
      bool isAsked = !displays_.isLimited() || displays_.keeps(*display);
      if (!isAsked || !isAskedFor(path.substr(0, locale), options_.locales)) continue;
      std::string now = folders_.folder(path.substr(0, locale), *display).path + path.substr(name);
      if (now != path && frames_.contains(now)) plan_.replacing.insert(path);
    }
  }

  std::filesystem::path absolute(const std::string& path) const { return root_ / folder_ / path; }

  const std::filesystem::path& root_;
  const ScanOptions& options_;
  DisplayChoice displays_;
  std::string folder_;
  DisplayFolders folders_;
  std::vector<Shelf> shelves_;
  PulledAssets pulled_;
  PosterFrames frames_;
  KindPull plan_;
};

} // namespace

bool DisplayPull::unchanged() const {
  return others.empty() &&
         std::all_of(slots.begin(), slots.end(), [](const PullSlot& slot) { return slot.from == slot.path; });
}

bool KindPull::unchanged() const {
  return changes.empty() &&
         std::all_of(displays.begin(), displays.end(), [](const DisplayPull& display) { return display.unchanged(); });
}

PullReport PullPlan::report() const {
  PullReport report;
  for (const KindPull& kind : kinds) {
    auto in = [&](const std::string& path) { return kind.folder + "/" + path; };
    for (const FolderChange& change : kind.changes) {
      if (!change.isRename && change.renamed().empty()) continue;
      (change.isRename ? report.folders : report.merged).emplace_back(in(change.from), in(change.to));
    }
    for (const DisplayPull& display : kind.displays) {
      for (const PullSlot& slot : display.slots) {
        if (!slot.from) report.written.push_back(in(slot.path));
        if (slot.from && slot.from != slot.path) report.moved.emplace_back(in(*slot.from), in(slot.path));
      }
      for (const std::string& other : display.others) report.removed.push_back(in(other));
    }
  }
  std::sort(report.written.begin(), report.written.end(), Text::naturalLess);
  return report;
}

bool PullPlan::unchanged() const {
  return std::all_of(kinds.begin(), kinds.end(), [](const KindPull& kind) { return kind.unchanged(); });
}

PullPlan AssetPull::plan(const ShownAssets& shown, const std::vector<AssetKind>& kinds,
                         const std::filesystem::path& root, const AssetCatalog& catalog, const ScanOptions& options,
                         bool byIDs) {
  PullPlan whole;
  try {
    for (AssetKind kind : kinds) {
      KindPlanner planner(kind, root, catalog, options, byIDs);
      for (const ShownLanguage& language : shown.languages) planner.add(language, whole);
      planner.finish(whole);
    }
  } catch (const std::system_error& error) {
    throw failed("Couldn't read the repo's assets (" + Assets::textOf(error, root) + "), so nothing was written.");
  }
  return whole;
}

} // namespace kestu
