#pragma once

#include "core/assets/asset_catalog.hpp"
#include "core/assets/asset_file.hpp"
#include "core/assets/asset_folders.hpp"
#include "core/assets/asset_kind.hpp"
#include "core/assets/video_probe.hpp"

#include <compare>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <stop_token>
#include <string>
#include <vector>

namespace kestu {

/// One display of one language.
struct AssetKey {
  std::string locale;
  AssetKind kind = AssetKind::screenshots;
  std::string group;

  auto operator<=>(const AssetKey&) const = default;
};

/// What a display of a language is to show.
struct AssetSet {
  AssetKind kind = AssetKind::screenshots;
  std::string locale;
  AssetDisplay display;
  std::vector<AssetFile> files; ///< in display order
  std::string folder;           ///< the repository path of the folder that holds them

  AssetKey key() const { return {locale, kind, display.group}; }
};

/// Problems and notes are whole texts that begin with a repository path; file names stand in them as they are.
struct AssetScan {
  std::vector<AssetSet> sets;        ///< by locale, then in catalog order; none without files
  std::vector<std::string> problems; ///< what keeps the assets from being sent
  std::vector<std::string> notes;    ///< what is worth saying and blocks nothing
  /// Where there are assets that aren't read, and what to do; only looked for where nothing else is found.
  std::vector<std::string> elsewhere{};
};

struct ScanOptions {
  std::string platform{};             ///< the displays of any platform when empty
  std::vector<std::string> locales{}; ///< all when empty; case doesn't matter
  std::vector<std::string> groups{};  ///< displays' IDs, all when empty
  bool hashing = false;               ///< fill in `md5`
  VideoProbeFunction probe{};         ///< videos are not measured without one
  std::stop_token stop{};
  /// Told the bytes hashed so far, from any thread, one call at a time.
  std::function<void(std::uint64_t bytesHashed)> progress{};
};

namespace Assets {

/// Reads the files of one kind and checks them. Writes nothing; goes on past every problem. Throws Stopped when
/// stopped.
AssetScan sets(AssetKind kind, const std::filesystem::path& root, const AssetCatalog& catalog,
               const ScanOptions& options);

} // namespace Assets

} // namespace kestu

template <>
struct std::hash<kestu::AssetKey> {
  std::size_t operator()(const kestu::AssetKey& key) const noexcept;
};
