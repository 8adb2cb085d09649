#include "core/assets/asset_push.hpp"

#include "core/support/error.hpp"
#include "core/support/json_data.hpp"
#include "core/support/tasks.hpp"

#include <algorithm>
#include <map>
#include <set>

namespace kestu {

namespace {

constexpr int partsAtOnce = 4;

AssetKind readKind(const JSONValue& value) {
  auto kind = assetKindOfKey(value.text());
  if (!kind) throw JSONError(value.path() + " is no kind of asset");
  return *kind;
}

/// A file's path below its kind's folder, with forward slashes: "en-US/iPhone 6.9/01.png".
std::string pathInKind(const AssetSet& set, const AssetFile& file) {
  for (std::string_view folder : facts(set.kind).folders) {
    std::string prefix = std::string(folder) + "/";
    if (set.folder.starts_with(prefix)) return set.folder.substr(prefix.size()) + "/" + file.name;
  }
  return set.locale + "/" + file.name;
}

/// {"languages": …}: the sets by language, in their order, each made into JSON by `make`.
JSONData byLanguage(const std::vector<AssetSet>& sets, const std::function<JSONData(const AssetSet&)>& make) {
  std::vector<std::pair<std::string, JSONData>> languages;
  for (const AssetSet& set : sets) {
    auto same = [&](const auto& language) { return language.first == set.locale; };
    auto language = std::find_if(languages.begin(), languages.end(), same);
    if (language == languages.end()) language = languages.insert(language, {set.locale, JSONData::array()});
    language->second.add(make(set));
  }
  JSONData list = JSONData::array();
  for (auto& [locale, displays] : languages) {
    list.add(JSONData::object({{"locale", locale}, {"displays", std::move(displays)}}));
  }
  return JSONData::object({{"languages", std::move(list)}});
}

JSONData framesOf(const std::vector<AssetSet>& sets) {
  JSONData frames = JSONData::object();
  for (const AssetSet& set : sets) {
    for (const AssetFile& file : set.files) {
      if (file.frame) frames.set(pathInKind(set, file), *file.frame);
    }
  }
  return frames;
}

} // namespace

PlannedDisplay PlannedDisplay::read(const JSONValue& value) {
  return {readKind(value.at("kind")),
          value.at("group").text(),
          value.at("assets").texts(),
          value.whenTrue("unchanged"),
          value.find("added", &JSONValue::integer),
          value.find("removed", &JSONValue::integer),
          value.find("moved", &JSONValue::integer),
          value.find("framed", &JSONValue::integer)};
}

PlannedLanguage PlannedLanguage::read(const JSONValue& value) {
  return {value.at("locale").text(), value.listAt("displays", PlannedDisplay::read)};
}

bool PlannedLanguage::unchanged() const {
  return std::all_of(displays.begin(), displays.end(), [](const PlannedDisplay& display) { return display.unchanged; });
}

AssetUpload AssetUpload::read(const JSONValue& value) {
  return {value.at("assetId").text(), value.at("md5").text(), value.whenTrue("video"),
          value.listAt("parts", UploadPart::read)};
}

AssetsPlan AssetsPlan::read(const JSONValue& value) {
  return {value.listAt("languages", PlannedLanguage::read), value.listAt("uploads", AssetUpload::read),
          value.find("sending", &JSONValue::integer)};
}

bool AssetsPlan::unchanged() const {
  return std::all_of(languages.begin(), languages.end(),
                     [](const PlannedLanguage& language) { return language.unchanged(); });
}

namespace AssetPush {

JSONData planned(const std::vector<AssetSet>& sets) {
  JSONData files = JSONData::array();
  std::set<std::string> known;
  JSONData request = byLanguage(sets, [&](const AssetSet& set) {
    JSONData assets = JSONData::array();
    JSONData frames = JSONData::object();
    for (const AssetFile& file : set.files) {
      std::string md5 = file.md5.value_or("");
      assets.add(md5);
      if (file.frame) frames.set(md5, *file.frame);
      if (!known.insert(md5).second) continue;
      // A reservation at Apple needs each file's name and size; where Apple tells no checksum, what was pulled is known
      // by its asset.
      files.add(JSONData::object({{"md5", md5}, {"fileName", file.name}, {"size", file.size}, {"video", file.isVideo}})
                    .setGiven("assetId", file.assetId));
    }
    JSONData display =
        JSONData::object({{"kind", facts(set.kind).key}, {"group", set.display.group}, {"assets", std::move(assets)}});
    if (!frames.isEmpty()) display.set("frames", std::move(frames));
    return display;
  });
  return request.set("files", std::move(files));
}

const PlannedDisplay& displayOf(const AssetsPlan& plan, const AssetSet& set) {
  for (const PlannedLanguage& language : plan.languages) {
    if (language.locale != set.locale) continue;
    for (const PlannedDisplay& display : language.displays) {
      if (display.kind == set.kind && display.group == set.display.group && display.assets.size() == set.files.size()) {
        return display;
      }
    }
  }
  throw JSONError("the plan lacks " + set.locale + " " + set.display.group);
}

JSONData placed(const AssetsPlan& plan, const std::vector<AssetSet>& sets) {
  JSONData request = byLanguage(sets, [&](const AssetSet& set) {
    const PlannedDisplay& display = displayOf(plan, set);
    JSONData files = JSONData::array();
    for (std::size_t i = 0; i < set.files.size(); ++i) {
      files.add(JSONData::object({{"assetId", display.assets[i]}, {"path", pathInKind(set, set.files[i])}}));
    }
    return JSONData::object({{"kind", facts(set.kind).key}, {"group", set.display.group}, {"files", std::move(files)}});
  });
  if (JSONData frames = framesOf(sets); !frames.isEmpty()) request.set("frames", std::move(frames));
  return request;
}

std::vector<AssetTransfer> transfers(const AssetsPlan& plan, const std::vector<AssetSet>& sets) {
  std::map<std::string, const AssetFile*> byChecksum;
  for (const AssetSet& set : sets) {
    for (const AssetFile& file : set.files) byChecksum.emplace(file.md5.value_or(""), &file);
  }
  std::vector<AssetTransfer> result;
  for (const AssetUpload& upload : plan.uploads) {
    auto file = byChecksum.find(upload.md5);
    if (file == byChecksum.end()) {
      throw CLIError(CLIError::Kind::failed,
                     "kestu asked for a file the repo doesn't have. Update the CLI, or try again.");
    }
    result.push_back({&upload, file->second});
  }
  return result;
}

void send(const std::vector<AssetTransfer>& transfers, const PartUploader& uploader, const std::stop_token& stop,
          const std::function<void(const AssetFile& file, std::int64_t bytes)>& moved,
          const std::function<void(const AssetTransfer& transfer)>& finished) {
  auto sendOne = [&](const AssetTransfer& transfer, int atOnce, const std::stop_token& ending) {
    uploader.send(transfer.file->path, transfer.upload->parts, atOnce, ending, {},
                  [&](std::int64_t bytes) { moved(*transfer.file, bytes); });
    finished(transfer);
  };
  // Never more than four parts in flight: small files go four at once, larger ones after each other.
  std::vector<AssetTransfer> small, large;
  for (const AssetTransfer& transfer : transfers)
    (transfer.upload->parts.size() > 1 ? large : small).push_back(transfer);
  fewAtOnce(small.size(), partsAtOnce, stop,
            [&](std::size_t index, const std::stop_token& ending) { sendOne(small[index], 1, ending); });
  for (const AssetTransfer& transfer : large) sendOne(transfer, partsAtOnce, stop);
}

} // namespace AssetPush

} // namespace kestu
