#pragma once

#include "core/assets/asset_catalog.hpp"
#include "core/assets/asset_folders.hpp"
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

  /// Whether only some displays are asked for, so that what is wrong with others doesn't matter.
  bool isLimited() const { return !groups_.empty(); }

  /// Null when no display, or more than one, is called so.
  const AssetDisplay* named(const std::string& folder) const;

  /// What to say of a name that `named` finds no display for.
  std::string unknown(const std::string& name) const;

  /// The display of a file that lies in no display's folder: of the platform's that take its size the one that its name
  /// means, or else the first; then any other.
  /// An unmeasured video can only go to the one display that takes videos. Null when there is none.
  const AssetDisplay* fitting(const AssetFile& file) const;

  /// Whether a file of the type may be right in the display, or (null) in any of the platform's.
  bool takes(const AssetDisplay* display, MediaType type) const;

 private:
  AssetDisplays all_;
  AssetDisplays ofPlatform_;
  std::vector<std::string> groups_;
};

/// Whether a language is among those asked for, none of which means all; case doesn't matter.
bool isAskedFor(const std::string& locale, const std::vector<std::string>& locales);

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
  Assets::Paths present;         ///< every media file of theirs, relative to the kind's folder
  std::vector<std::string> problems;
  std::vector<std::string> notes;

  static AssetWalk of(AssetKind kind, const std::filesystem::path& root, const DisplayChoice& displays,
                      const std::vector<std::string>& locales);
};

} // namespace kestu
