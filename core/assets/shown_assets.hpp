#pragma once

#include "core/assets/asset_kind.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kestu {

class JSONValue;

/// An asset that App Store Connect shows. Its texts come from outside: nothing of them names a file as it stands.
struct ShownAsset {
  std::string assetId;
  std::string fileName;
  std::optional<std::string> md5; ///< none where Apple doesn't tell
  std::int64_t size = 0;          ///< bytes
  bool video = false;
  std::string url;
  std::optional<std::string> frame; ///< poster frame, HH:MM:SS:FF

  /// Throws JSONError, for a checksum or a poster frame that is none, too.
  static ShownAsset read(const JSONValue& value);

  /// ".png"; the extension of its file's name where that fits what it is.
  std::string extension() const;
};

struct ShownDisplay {
  AssetKind kind = AssetKind::screenshots;
  std::string group;
  std::vector<ShownAsset> assets; ///< in display order

  static ShownDisplay read(const JSONValue& value);
};

struct ShownLanguage {
  std::string locale; ///< a language code, so fit to name a folder
  std::vector<ShownDisplay> displays;

  static ShownLanguage read(const JSONValue& value);
};

/// What App Store Connect shows of a version.
struct ShownAssets {
  std::vector<ShownLanguage> languages;

  static ShownAssets read(const JSONValue& value);
};

} // namespace kestu
