#include "core/assets/asset_pull.hpp"

#include "core/assets/pulled.hpp"
#include "core/console/printable.hpp"
#include "core/support/error.hpp"
#include "core/support/file_name.hpp"
#include "core/support/files.hpp"
#include "core/support/incoming_file.hpp"
#include "core/support/tasks.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <map>
#include <mutex>
#include <set>
#include <system_error>

namespace kestu {

namespace {

constexpr std::size_t filesAtOnce = 4;

struct Place {
  const KindPull* kind;
  const PullSlot* slot;
  bool replaces; ///< a file that App Store Connect doesn't show

  std::string path() const { return kind->folder + "/" + slot->path; }
};

/// The same bytes, for all the places where they go.
struct Fetch {
  std::vector<Place> places;

  const ShownAsset& asset() const { return *places.front().slot->asset; }
};

std::vector<Fetch> fetches(const PullPlan& plan) {
  std::vector<Fetch> list;
  std::map<std::string, std::size_t> known;
  for (const KindPull& kind : plan.kinds) {
    for (const DisplayPull& display : kind.displays) {
      for (const PullSlot& slot : display.slots) {
        if (slot.from) continue;
        const auto& others = display.others;
        Place place{&kind, &slot, std::find(others.begin(), others.end(), slot.path) != others.end()};
        auto [at, added] = known.emplace(slot.asset->md5.value_or("asset " + slot.asset->assetId), list.size());
        if (added) list.emplace_back();
        list[at->second].places.push_back(place);
      }
    }
  }
  return list;
}

class Puller {
 public:
  Puller(const PullPlan& plan, const std::filesystem::path& root, const Downloader& downloader,
         const std::stop_token& stop, const AssetPull::Progress& progress)
      : plan_(plan), root_(root), downloader_(downloader), stop_(stop), progress_(progress) {}

  PullReport run() {
    for (const KindPull& kind : plan_.kinds) {
      pulled_[kind.kind] = before_[kind.kind] = Pulled::read(kind.kind, root_).assets;
      removeAbandoned(kind);
      if (!kind.changes.empty()) changeFolders(kind);
    }
    for (const KindPull& kind : plan_.kinds) {
      for (const DisplayPull& display : kind.displays) arrange(kind, display);
    }
    download();
    for (const KindPull& kind : plan_.kinds) {
      for (const DisplayPull& display : kind.displays) removeOthers(kind, display);
      keepBooks(kind);
    }
    return std::move(report_);
  }

 private:
  std::filesystem::path absolute(const KindPull& kind, const std::string& path) const {
    return root_ / kind.folder / path;
  }

  /// What a program that was killed left behind.
  void removeAbandoned(const KindPull& kind) const {
    std::set<std::filesystem::path> folders = {root_ / kind.folder};
    for (const DisplayPull& display : kind.displays) {
      for (const PullSlot& slot : display.slots) folders.insert(absolute(kind, slot.path).parent_path());
    }
    for (const auto& folder : folders) IncomingFile::removeAbandoned(folder);
  }

  /// The new paths are in the books before the folders have their new names, and the old ones until they have: a kill
  /// at any moment leaves each video with its poster frame.
  void changeFolders(const KindPull& kind) {
    Assets::Renames renamed;
    for (const FolderChange& change : kind.changes) renamed.merge(change.renamed());
    const PosterFrames framesBefore = Frames::read(kind.kind, root_).frames;
    Frames::moved(kind.kind, root_, renamed, Frames::Old::kept);
    PulledAssets& pulled = pulled_[kind.kind];
    PulledAssets after = pulled;
    for (const auto& [path, asset] : pulled) after.emplace(Assets::movedPath(path, renamed), asset);
    if (after != pulled) Pulled::write(kind.kind, root_, after);
    Assets::Renames done;
    try {
      for (const FolderChange& change : kind.changes) {
        if (stop_.stop_requested()) throw Stopped();
        if (!change.isRename && change.renamed().empty()) continue;
        change.carryOut(root_ / kind.folder);
        (change.isRename ? report_.folders : report_.merged)
            .emplace_back(kind.folder + "/" + change.from, kind.folder + "/" + change.to);
        done.merge(change.renamed());
      }
    } catch (...) {
      settleFrames(kind, framesBefore, done);
      throw;
    }
    std::erase_if(after, [&](const auto& entry) { return Assets::movedPath(entry.first, renamed) != entry.first; });
    pulled = std::move(after);
    Frames::moved(kind.kind, root_, renamed, Frames::Old::forgotten);
  }

  /// What will be where is in the books before the first of it is there: a kill at any moment leaves no file that they
  /// don't know.
  void announce(const KindPull& kind) {
    if (!writesBooks(kind) || !announced_.insert(kind.kind).second) return;
    PulledAssets& pulled = pulled_[kind.kind];
    PulledAssets after = pulled;
    for (const DisplayPull& display : kind.displays) {
      for (const PullSlot& slot : display.slots) {
        if (auto md5 = slot.md5 ? slot.md5 : slot.asset->md5) after[slot.path] = {slot.asset->assetId, *md5};
      }
    }
    if (after == pulled) return;
    pulled = std::move(after);
    Pulled::write(kind.kind, root_, pulled);
  }

  /// With nothing else written, an entry is only needed where there is one that says something else.
  static bool writesBooks(const KindPull& kind) { return kind.mendsPulled || !kind.unchanged(); }

  /// Renaming ended early: the frames are those of before, at the paths that their videos have got to.
  void settleFrames(const KindPull& kind, const PosterFrames& before, const Assets::Renames& done) const {
    PosterFrames now;
    for (const auto& [path, frame] : before) {
      if (Assets::movedPath(path, done) == path) now[path] = frame;
    }
    for (const auto& [path, frame] : before) now.emplace(Assets::movedPath(path, done), frame);
    Assets::Paths known;
    for (const auto& [path, frame] : Frames::read(kind.kind, root_).frames) known.insert(path);
    Frames::write(kind.kind, root_, now, known);
  }

  /// Gives files that are there their names, whatever order that takes.
  void arrange(const KindPull& kind, const DisplayPull& display) {
    if (display.unchanged()) return;
    std::map<std::string, std::string> moves; // to, from
    for (const PullSlot& slot : display.slots) {
      if (slot.from && slot.from != slot.path) moves[slot.path] = *slot.from;
      std::filesystem::create_directories(absolute(kind, slot.path).parent_path());
    }
    auto isOther = [&](const std::string& path) {
      return std::find(display.others.begin(), display.others.end(), path) != display.others.end();
    };
    if (!moves.empty()) announce(kind);
    for (const auto& [to, from] : moves) report_.moved.emplace_back(kind.folder + "/" + from, kind.folder + "/" + to);
    std::map<std::string, std::filesystem::path> pending; // to, from
    for (const auto& [to, from] : moves) pending[to] = absolute(kind, from);
    while (!pending.empty()) {
      auto free = std::find_if(pending.begin(), pending.end(), [&](const auto& move) {
        std::filesystem::path target = absolute(kind, move.first);
        return std::none_of(pending.begin(), pending.end(),
                            [&](const auto& other) { return FileName::alike(other.second.native(), target.native()); });
      });
      if (free == pending.end()) {
        // They go round in a circle, or one is to change in case alone: one makes room.
        auto& from = pending.begin()->second;
        std::filesystem::path aside = asideOf(from);
        std::filesystem::rename(from, aside);
        from = aside;
        continue;
      }
      move(free->second, absolute(kind, free->first), isOther(free->first));
      pending.erase(free);
    }
  }

  /// A name that shows: should this be the end, the file is still one of the display's.
  static std::filesystem::path asideOf(const std::filesystem::path& file) {
    for (int number = 1;; ++number) {
      auto name = file.stem().string() + " moving " + std::to_string(number) + file.extension().string();
      std::filesystem::path aside = file.parent_path() / name;
      if (!std::filesystem::exists(std::filesystem::symlink_status(aside))) return aside;
    }
  }

  void move(const std::filesystem::path& from, const std::filesystem::path& to, bool replacing) const {
    if (replacing) {
      std::filesystem::rename(from, to);
    } else if (!Files::moveWithoutReplacing(from, to)) {
      throw appeared(to);
    }
  }

  CLIError appeared(const std::filesystem::path& file) const {
    return {CLIError::Kind::failed, printable(file.lexically_relative(root_).generic_string()) +
                                        " appeared while this ran, and was left as it is. Run it again."};
  }

  void download() {
    std::vector<Fetch> list = fetches(plan_);
    fewAtOnce(list.size(), filesAtOnce, stop_,
              [&](std::size_t index, const std::stop_token& stop) { fetch(list[index], stop); });
    for (const Fetch& each : list) {
      for (const Place& place : each.places) report_.written.push_back(place.path());
      report_.bytes += static_cast<std::uint64_t>(each.asset().size);
    }
    std::sort(report_.written.begin(), report_.written.end(), Text::naturalLess);
  }

  void fetch(const Fetch& fetch, const std::stop_token& stop) {
    const ShownAsset& asset = fetch.asset();
    const Place& first = fetch.places.front();
    std::string path = first.path();
    Download download{asset.url, path, static_cast<std::uint64_t>(asset.size), asset.md5};
    std::string md5;
    auto ready = [&](const std::string& sum) {
      md5 = sum;
      for (const Place& place : fetch.places) note(place, sum);
    };
    auto came = [&](std::int64_t bytes) { progress_(path, bytes, 0); };
    downloader_.fetch(download, root_ / path, first.replaces, ready, came, stop);
    for (std::size_t i = 1; i < fetch.places.size(); ++i) copy(root_ / path, fetch.places[i], stop);
    progress_(path, 0, static_cast<int>(fetch.places.size()));
  }

  void copy(const std::filesystem::path& from, const Place& place, const std::stop_token& stop) const {
    FileReader reader(from);
    std::filesystem::path target = root_ / place.path();
    IncomingFile incoming(target);
    std::vector<char> buffer(1U << 20U);
    while (std::size_t count = reader.read(buffer.data(), buffer.size())) {
      if (stop.stop_requested()) throw Stopped();
      incoming.write({buffer.data(), count});
    }
    if (place.replaces) {
      incoming.replaceTarget();
    } else if (!incoming.becomeTarget()) {
      throw appeared(target);
    }
  }

  /// What only pulled.json can tell to be Apple's must be in it before it is in the folder: a kill in between would
  /// make it a file that nobody knows.
  void note(const Place& place, const std::string& md5) {
    std::lock_guard lock(mutex_);
    announce(*place.kind);
    PulledAssets& pulled = pulled_[place.kind->kind];
    pulled[place.slot->path] = {place.slot->asset->assetId, md5};
    if (!place.slot->asset->md5) Pulled::write(place.kind->kind, root_, pulled);
  }

  void removeOthers(const KindPull& kind, const DisplayPull& display) {
    if (!display.others.empty()) announce(kind);
    for (const std::string& other : display.others) {
      auto isTaken = [&](const PullSlot& slot) { return slot.path == other; };
      if (std::none_of(display.slots.begin(), display.slots.end(), isTaken)) {
        std::filesystem::remove(absolute(kind, other));
      }
      report_.removed.push_back(kind.folder + "/" + other);
    }
  }

  void keepBooks(const KindPull& kind) {
    PulledAssets& pulled = pulled_[kind.kind];
    std::set<std::string> left, taken;
    for (const DisplayPull& display : kind.displays) {
      for (const PullSlot& slot : display.slots) {
        if (slot.from) left.insert(*slot.from);
        taken.insert(slot.path);
      }
    }
    for (const std::string& path : left) {
      if (!taken.contains(path)) pulled.erase(path);
    }
    for (const DisplayPull& display : kind.displays) {
      for (const PullSlot& slot : display.slots) noteKept(slot, writesBooks(kind), pulled);
    }
    if (kind.mendsPulled || pulled != before_[kind.kind]) {
      std::erase_if(pulled, [&](const auto& entry) { return !std::filesystem::exists(absolute(kind, entry.first)); });
      Pulled::write(kind.kind, root_, pulled);
      report_.bookkeeping.push_back(kind.folder + "/" + std::string(Pulled::fileName));
    }
    if (Frames::write(kind.kind, root_, kind.frames, kind.replacing)) {
      report_.bookkeeping.push_back(kind.folder + "/" + std::string(Frames::fileName));
    }
  }

  static void noteKept(const PullSlot& slot, bool writes, PulledAssets& pulled) {
    if (slot.from && slot.md5 && (writes || pulled.contains(slot.path))) {
      pulled[slot.path] = {slot.asset->assetId, *slot.md5};
    }
  }

  const PullPlan& plan_;
  const std::filesystem::path& root_;
  const Downloader& downloader_;
  const std::stop_token& stop_;
  const AssetPull::Progress& progress_;
  std::mutex mutex_; // guards pulled_ and announced_ while files are downloaded
  std::map<AssetKind, PulledAssets> pulled_, before_;
  std::set<AssetKind> announced_;
  PullReport report_;
};

} // namespace

std::pair<int, std::uint64_t> AssetPull::downloads(const PullPlan& plan) {
  std::pair<int, std::uint64_t> sum{0, 0};
  for (const Fetch& fetch : fetches(plan)) {
    sum.first += static_cast<int>(fetch.places.size());
    sum.second += static_cast<std::uint64_t>(fetch.asset().size);
  }
  return sum;
}

PullReport AssetPull::carryOut(const PullPlan& plan, const std::filesystem::path& root, const Downloader& downloader,
                               const std::stop_token& stop, const Progress& progress) {
  try {
    return Puller(plan, root, downloader, stop, progress).run();
  } catch (const std::system_error& error) {
    throw CLIError(CLIError::Kind::failed, "Couldn't write in the repo (" + printable(Assets::textOf(error, root)) +
                                               "). What came whole is kept; run it again to go on.");
  }
}

} // namespace kestu
