#pragma once

#include "core/assets/asset_kind.hpp"
#include "core/support/file_name.hpp"

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestu {

/// Which of App Store Connect's assets a file is, for as long as its bytes are the same.
struct PulledAsset {
  std::string assetId;
  std::string md5;

  bool operator==(const PulledAsset&) const = default;
};

/// By the files' paths under their kind's folder ("en-US/iPhone 6.9/01.png").
using PulledAssets = std::map<std::string, PulledAsset, FileName::Less>;

/// A kind's pulled.json: {"en-US/iPhone 6.9/01.png": {"assetId": "…", "md5": "…"}}.
namespace Pulled {

inline constexpr std::string_view fileName = "pulled.json";

struct Reading {
  PulledAssets assets;
  std::vector<std::string> notes; ///< why there are none, when the file can't be used
};

/// Without a usable file there are no assets, which costs no more than sending a file's facts again.
Reading read(AssetKind kind, const std::filesystem::path& root);

/// The asset that a file is: by its path, or where that isn't known with these bytes, by the bytes alone.
std::optional<std::string> assetOf(const PulledAssets& assets, const std::string& path, const std::string& md5);

/// Writes the whole file; removes it when there are no assets. Throws std::system_error.
void write(AssetKind kind, const std::filesystem::path& root, const PulledAssets& assets);

} // namespace Pulled

} // namespace kestu
