#pragma once

#include "core/assets/asset_catalog.hpp"
#include "core/assets/asset_scan.hpp"

#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace kestu {

/// The displays that a scan matches against, and those that it is limited to.
class DisplayChoice {
 public:
  DisplayChoice(AssetDisplays all, const ScanOptions& options);

  const AssetDisplays& all() const { return all_; }
  const AssetDisplays& ofPlatform() const { return ofPlatform_; }
  std::size_t position(const AssetDisplay& display) const { return all_.position(display); }
  bool keeps(const AssetDisplay& display) const;

  /// Null when no display, or more than one, is called so.
  const AssetDisplay* named(const std::string& folder) const;

  /// What to say of a name that `named` finds no display for.
  std::string unknown(const std::string& name) const;

  /// The display of a file that lies in no display's folder: the platform's first that takes its size, then any other.
  /// An unmeasured video can only go to the one display that takes videos. Null when there is none.
  const AssetDisplay* fitting(const AssetFile& file) const;

  /// Whether a file of the type may be right in the display, or (null) in any of the platform's.
  bool takes(const AssetDisplay* display, MediaType type) const;

 private:
  AssetDisplays all_;
  AssetDisplays ofPlatform_;
  std::vector<std::string> groups_;
};

/// Files that go to one display, or (null) to the display of each one's size.
struct AssetPlace {
  std::string locale;
  std::string folder; ///< repository path
  const AssetDisplay* display = nullptr;
  std::vector<std::filesystem::path> files; ///< in display order
};

/// What lies in a kind's folder, in the order of a file browser; no file is opened.
struct AssetWalk {
  std::string kindFolder; ///< repository path, empty when there is none
  std::vector<AssetPlace> places;
  std::set<std::string> locales; ///< those walked
  std::set<std::string> present; ///< every media file of theirs, relative to the kind's folder
  std::vector<std::string> problems;
  std::vector<std::string> notes;

  static AssetWalk of(AssetKind kind, const std::filesystem::path& root, const DisplayChoice& displays,
                      const std::vector<std::string>& locales);
};

} // namespace kestu
