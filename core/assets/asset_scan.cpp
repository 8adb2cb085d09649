#include "core/assets/asset_scan.hpp"

#include "core/assets/asset_measure.hpp"
#include "core/assets/asset_walk.hpp"
#include "core/assets/frames.hpp"
#include "core/assets/pulled.hpp"
#include "core/support/files.hpp"
#include "core/support/md5_several.hpp"
#include "core/support/text.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <optional>
#include <set>
#include <system_error>
#include <utility>
#include <vector>

namespace kestu {

namespace {

/// A file on its way into the scan.
struct Candidate {
  const AssetPlace* place;
  std::string path; ///< repository path
  AssetFile file;
  const AssetDisplay* display = nullptr; ///< null while, or when, it goes to none
  std::vector<std::string> problems;
};

class Scanner {
 public:
  Scanner(AssetKind kind, const std::filesystem::path& root, const AssetCatalog& catalog, const ScanOptions& options)
      : kind_(kind), root_(root), options_(options), displays_(catalog[kind], options),
        walk_(AssetWalk::of(kind, root, displays_, options.locales)) {}

  AssetScan scan() {
    scan_.problems = std::move(walk_.problems);
    scan_.notes = std::move(walk_.notes);
    if (walk_.kindFolder.empty()) return std::move(scan_);
    measureAll();
    auto pulled = Pulled::read(kind_, root_);
    append(scan_.notes, std::move(pulled.notes));
    for (Candidate& candidate : candidates_) place(candidate, pulled.assets);
    for (auto& [order, set] : sets_) scan_.sets.push_back(std::move(set));
    for (const AssetSet& set : scan_.sets) {
      checkCount(set);
      noteTwins(set);
    }
    applyFrames();
    return std::move(scan_);
  }

 private:
  using Order = std::pair<std::string, std::size_t>; ///< locale, position of the display

  static void append(std::vector<std::string>& texts, std::vector<std::string> more) {
    std::move(more.begin(), more.end(), std::back_inserter(texts));
  }

  void measureAll() {
    for (const AssetPlace& place : walk_.places) {
      for (const auto& path : place.files) {
        Candidate candidate{&place, place.folder + "/" + path.filename().string(), {}, place.display, {}};
        candidate.file.name = path.filename().string();
        candidate.file.path = path;
        candidate.file.isVideo = mediaType(candidate.file.name) == MediaType::video;
        candidates_.push_back(std::move(candidate));
      }
    }
    AssetMeasurer measurer(options_);
    std::atomic<std::size_t> taken = 0;
    auto next = [&](const std::stop_token& stop) -> std::optional<MD5Message> {
      for (std::size_t index; (index = taken++) < candidates_.size() && !stop.stop_requested();) {
        if (auto message = measure(candidates_[index], measurer)) return message;
      }
      return std::nullopt;
    };
    MD5Several::hashOnAllCores(candidates_.size(), next, options_.stop);
    if (measurer.unmeasuredVideos()) {
      scan_.notes.push_back("Videos weren't measured: libkestu-media isn't there. " + std::string(videoModuleRemedy));
    }
  }

  /// Runs on several threads, each for a candidate of its own; what is to be hashed of it.
  std::optional<MD5Message> measure(Candidate& candidate, AssetMeasurer& measurer) const {
    AssetFile& file = candidate.file;
    auto fail = [&candidate](std::string problem) {
      candidate.problems.push_back(std::move(problem));
      candidate.display = nullptr;
    };
    auto failed = [fail, &candidate](const std::system_error& error) {
      fail(Assets::unreadable(candidate.path, error.code()));
    };
    try {
      std::shared_ptr<AssetMeasurer::Opened> opened;
      if (auto problem = obstacle(candidate)) {
        fail(std::move(*problem));
      } else if (opened = measurer.measure(file); !opened) {
        fail(candidate.path + wrongType(file));
      } else if (bool wanted = isWanted(candidate); wanted && options_.hashing) {
        return measurer.toHash(std::move(opened), file,
                               {[this, &candidate] { check(candidate); },
                                [fail, &candidate] { fail(candidate.path + " changed while it was read."); }, failed});
      } else {
        if (!candidate.display || wanted) check(candidate);
        if (!wanted) candidate.display = nullptr;
      }
    } catch (const std::system_error& error) {
      failed(error);
    }
    return std::nullopt;
  }

  /// What keeps a file from being measured at all.
  std::optional<std::string> obstacle(const Candidate& candidate) const {
    bool isVideo = candidate.file.isVideo;
    if (!displays_.takes(candidate.display, isVideo ? MediaType::video : MediaType::image)) {
      return fmt::format("{} is {}, and {} are {}.", candidate.path, isVideo ? "a video" : "an image",
                         facts(kind_).plural, isVideo ? "images" : "videos");
    }
    if (!isLargeFilePointer(candidate.file.path)) return std::nullopt;
    return candidate.path + " is a Git LFS pointer, not the file itself: git lfs pull.";
  }

  /// Gives the candidate its display, if one fits; whether the scan keeps it.
  bool isWanted(Candidate& candidate) const {
    if (!candidate.display) candidate.display = displays_.fitting(candidate.file);
    return candidate.display && displays_.keeps(*candidate.display);
  }

  /// What git has in place of a file that is kept elsewhere.
  static bool isLargeFilePointer(const std::filesystem::path& path) {
    constexpr std::uintmax_t most = 1024;
    constexpr std::string_view begins = "version https://git-lfs";
    std::error_code unknown;
    if (std::filesystem::file_size(path, unknown) > most || unknown) return false;
    return Files::read(path, most).value_or("").starts_with(begins);
  }

  static std::string wrongType(const AssetFile& file) {
    return file.isVideo ? " isn't a video kestu can read." : " isn't a PNG or a JPEG.";
  }

  void check(Candidate& candidate) const {
    const AssetFile& file = candidate.file;
    auto found = candidate.display ? candidate.display->problems(file, true) : std::nullopt;
    if (found) {
      for (const std::string& problem : *found) candidate.problems.push_back(candidate.path + " " + problem + ".");
    } else if (file.isVideo && !file.facts) {
      candidate.problems.push_back(candidate.path + " can't go by its size, which wasn't measured: "
                                                    "move it to its display's folder.");
    } else {
      candidate.problems.push_back(wrongSize(candidate));
    }
  }

  std::string wrongSize(const Candidate& candidate) const {
    const AssetFile& file = candidate.file;
    MediaType type = file.isVideo ? MediaType::video : MediaType::image;
    std::string size = fmt::format("{} is {} × {}", candidate.path, file.width, file.height);
    if (candidate.display) {
      std::string taken = Text::orList(candidate.display->sizes(type));
      return size + ", not a size of " + candidate.display->name + (taken.empty() ? "." : " (" + taken + ").");
    }
    std::vector<std::string> sizes;
    for (const AssetDisplay& display : displays_.ofPlatform().displays) {
      for (std::string& text : display.sizes(type)) {
        if (std::find(sizes.begin(), sizes.end(), text) == sizes.end()) sizes.push_back(std::move(text));
      }
    }
    return size + ", which no display takes" + (sizes.empty() ? "." : " (" + Text::orList(sizes) + ").");
  }

  void place(Candidate& candidate, const PulledAssets& pulled) {
    const AssetPlace& place = *candidate.place;
    // What lies in no display's folder may be meant for a display that wasn't asked for.
    bool counts = place.display || candidate.display || !displays_.isLimited();
    append(counts ? scan_.problems : scan_.notes, std::move(candidate.problems));
    if (!candidate.display) return;
    if (candidate.file.md5) {
      candidate.file.assetId = Pulled::assetOf(pulled, underKind(candidate.path), *candidate.file.md5);
    } else if (auto known = pulled.find(underKind(candidate.path)); known != pulled.end()) {
      candidate.file.assetId = known->second.assetId;
    }
    AssetSet& set = sets_[{place.locale, displays_.position(*candidate.display)}];
    if (set.files.empty()) set = {kind_, place.locale, *candidate.display, {}, place.folder};
    if (!place.display) bySize_.insert(set.key());
    if (set.folder == place.folder) {
      set.files.push_back(std::move(candidate.file));
    } else if (doubled_.insert({place.folder, set.key()}).second) {
      scan_.problems.push_back(set.folder + " and " + place.folder + " are both " + set.display.name + "; keep one.");
    }
  }

  void checkCount(const AssetSet& set) {
    auto count = static_cast<std::int64_t>(set.files.size());
    if (count <= set.display.max) return;
    // The files of several displays lie in one folder when they go by their size.
    std::string whose = bySize_.contains(set.key()) ? " for " + set.display.name : "";
    scan_.problems.push_back(fmt::format("{} has {}{}; Apple takes {} at most.", set.folder,
                                         counted(kind_, set.files.size()), whose, set.display.max));
  }

  void noteTwins(const AssetSet& set) {
    std::map<std::string, std::vector<std::string>> alike; // by checksum
    for (const AssetFile& file : set.files) {
      if (file.md5) alike[*file.md5].push_back(file.name);
    }
    for (const AssetFile& file : set.files) {
      if (!file.md5) continue;
      std::vector<std::string> names = std::exchange(alike[*file.md5], {});
      if (names.size() < 2) continue;
      const std::string last = std::exchange(names.back(), "");
      names.pop_back();
      scan_.notes.push_back(fmt::format("{}/{} and {} are the same {}.", set.folder, Text::joined(names, ", "), last,
                                        file.isVideo ? "video" : "picture"));
    }
  }

  void applyFrames() {
    auto reading = Frames::read(kind_, root_);
    append(scan_.problems, std::move(reading.problems));
    for (const auto& [path, problem] : reading.malformed) {
      if (isOfWalk(path)) scan_.problems.push_back(problem);
    }
    std::string file = walk_.kindFolder + "/" + std::string(Frames::fileName);
    for (const auto& [path, frame] : reading.frames) {
      if (!isOfWalk(path)) continue;
      bool isThere = walk_.present.contains(path);
      bool isImage = mediaType(path.substr(path.rfind('/') + 1)) == MediaType::image;
      if (isThere && !isImage) continue;
      scan_.problems.push_back(fmt::format("{} gives {} a poster frame, and {}.", file, path,
                                           isThere ? "it's an image" : "there's no such video"));
    }
    for (AssetSet& set : scan_.sets) {
      for (AssetFile& each : set.files) {
        auto found = reading.frames.find(underKind(set.folder + "/" + each.name));
        if (each.isVideo && found != reading.frames.end()) each.frame = found->second;
      }
    }
    checkOneFrameAVideo();
  }

  /// A language that the scan leaves out may well have the video, and another display's is no matter.
  bool isOfWalk(const std::string& path) const {
    std::size_t locale = path.find('/');
    if (!options_.locales.empty() && !walk_.locales.contains(path.substr(0, locale))) return false;
    if (!displays_.isLimited()) return true;
    std::size_t end = locale == std::string::npos ? locale : path.find('/', locale + 1);
    if (end == std::string::npos) return false;
    const AssetDisplay* display = displays_.named(path.substr(locale + 1, end - locale - 1));
    return display && displays_.keeps(*display);
  }

  void checkOneFrameAVideo() {
    struct Video {
      std::vector<std::string> paths;
      std::set<std::string> frames;
    };
    std::map<std::pair<std::string, std::string>, Video> videos; // by locale and checksum
    for (const AssetSet& set : scan_.sets) {
      for (const AssetFile& file : set.files) {
        if (!file.frame || !file.md5) continue;
        Video& video = videos[{set.locale, *file.md5}];
        video.paths.push_back(set.folder + "/" + file.name);
        video.frames.insert(*file.frame);
      }
    }
    for (auto& [key, video] : videos) {
      if (video.frames.size() < 2) continue;
      std::string last = std::move(video.paths.back());
      video.paths.pop_back();
      scan_.problems.push_back(Text::joined(video.paths, ", ") + " and " + last +
                               " are the same video with different poster frames in " + key.first +
                               "; a video has one.");
    }
  }

  std::string underKind(const std::string& path) const { return path.substr(walk_.kindFolder.size() + 1); }

  AssetKind kind_;
  const std::filesystem::path& root_;
  const ScanOptions& options_;
  DisplayChoice displays_;
  AssetWalk walk_;
  std::vector<Candidate> candidates_;
  std::map<Order, AssetSet> sets_;
  std::set<AssetKey> bySize_;                          ///< sets of files from no display's folder
  std::set<std::pair<std::string, AssetKey>> doubled_; ///< folders already told to be of a display that has one
  AssetScan scan_;
};

} // namespace

AssetScan Assets::sets(AssetKind kind, const std::filesystem::path& root, const AssetCatalog& catalog,
                       const ScanOptions& options) {
  return Scanner(kind, root, catalog, options).scan();
}

} // namespace kestu

std::size_t std::hash<kestu::AssetKey>::operator()(const kestu::AssetKey& key) const noexcept {
  std::size_t seed = std::hash<std::string>()(key.locale);
  for (std::size_t part : {static_cast<std::size_t>(key.kind), std::hash<std::string>()(key.group)}) {
    seed ^= part + 0x9E3779B9U + (seed << 6U) + (seed >> 2U);
  }
  return seed;
}
