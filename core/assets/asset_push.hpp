#pragma once

#include "core/assets/asset_scan.hpp"
#include "core/service/part_uploader.hpp"

#include <cstdint>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace kestu {

class JSONData;

/// What a display is to show: the asset IDs in order, those already at Apple and those newly reserved.
struct PlannedDisplay {
  AssetKind kind;
  std::string group;
  std::vector<std::string> assets;
  bool unchanged = false;
  std::optional<std::int64_t> added, removed, moved, framed;

  static PlannedDisplay read(const JSONValue& value);
};

struct PlannedLanguage {
  std::string locale;
  std::vector<PlannedDisplay> displays;

  static PlannedLanguage read(const JSONValue& value);
  bool unchanged() const;
};

/// A file that App Store Connect does not have yet.
struct AssetUpload {
  std::string assetId;
  std::string md5;
  bool video = false;
  std::vector<UploadPart> parts;

  static AssetUpload read(const JSONValue& value);
};

/// The service's answer to what the repository would show.
struct AssetsPlan {
  std::vector<PlannedLanguage> languages;
  std::vector<AssetUpload> uploads;
  std::optional<std::int64_t> sending;

  static AssetsPlan read(const JSONValue& value);
  bool unchanged() const;
};

/// A reservation and the local file that it is for.
struct AssetTransfer {
  const AssetUpload* upload;
  const AssetFile* file;
};

namespace AssetPush {

/// The plan's request: each display's checksums in order and its videos' poster frames by checksum, and each file once
/// with its name, its size and, where it was pulled, its asset.
JSONData planned(const std::vector<AssetSet>& sets);

/// The planned display of a set; throws JSONError when the plan lacks it or gives it another number of assets.
const PlannedDisplay& displayOf(const AssetsPlan& plan, const AssetSet& set);

/// The commit's request: each display's asset IDs with their files, and the videos' poster frames.
JSONData placed(const AssetsPlan& plan, const std::vector<AssetSet>& sets);

/// The local file of every upload, by checksum. A CLIError when the service asks for another file.
std::vector<AssetTransfer> transfers(const AssetsPlan& plan, const std::vector<AssetSet>& sets);

/// Sends all parts of all files, four at once. `moved` is told the bytes handed to the network since the last call,
/// below zero when a part is sent again; `finished` of each file whose parts have all arrived. Both are called from any
/// thread.
void send(const std::vector<AssetTransfer>& transfers, const PartUploader& uploader, const std::stop_token& stop,
          const std::function<void(const AssetFile& file, std::int64_t bytes)>& moved,
          const std::function<void(const AssetTransfer& transfer)>& finished);

} // namespace AssetPush

} // namespace kestu
