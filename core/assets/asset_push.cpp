#include "core/assets/asset_push.hpp"

#include "core/support/error.hpp"
#include "core/support/tasks.hpp"

#include <nlohmann/json.hpp>

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

/// Groups the sets by language, in their order, each made into JSON by `make`.
nlohmann::json byLanguage(const std::vector<AssetSet>& sets,
                          const std::function<nlohmann::json(const AssetSet&)>& make) {
  nlohmann::json languages = nlohmann::json::array();
  std::map<std::string, std::size_t> positions;
  for (const AssetSet& set : sets) {
    auto [position, added] = positions.emplace(set.locale, languages.size());
    if (added) languages.push_back({{"locale", set.locale}, {"displays", nlohmann::json::array()}});
    languages[position->second]["displays"].push_back(make(set));
  }
  return languages;
}

nlohmann::json framesOf(const std::vector<AssetSet>& sets) {
  nlohmann::json frames = nlohmann::json::object();
  for (const AssetSet& set : sets) {
    for (const AssetFile& file : set.files) {
      if (file.frame) frames[pathInKind(set, file)] = *file.frame;
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

nlohmann::json planned(const std::vector<AssetSet>& sets) {
  nlohmann::json files = nlohmann::json::array();
  std::set<std::string> known;
  auto languages = byLanguage(sets, [&](const AssetSet& set) {
    nlohmann::json assets = nlohmann::json::array();
    nlohmann::json frames = nlohmann::json::object();
    for (const AssetFile& file : set.files) {
      std::string md5 = file.md5.value_or("");
      assets.push_back(md5);
      if (file.frame) frames[md5] = *file.frame;
      // A reservation at Apple needs each file's name and size.
      if (known.insert(md5).second) {
        files.push_back({{"md5", md5}, {"fileName", file.name}, {"size", file.size}, {"video", file.isVideo}});
        // Where Apple tells no checksum, what was pulled is known by its asset.
        if (file.assetId) files.back()["assetId"] = *file.assetId;
      }
    }
    nlohmann::json display = {{"kind", facts(set.kind).key}, {"group", set.display.group}, {"assets", assets}};
    if (!frames.empty()) display["frames"] = frames;
    return display;
  });
  return {{"languages", languages}, {"files", files}};
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

nlohmann::json placed(const AssetsPlan& plan, const std::vector<AssetSet>& sets) {
  auto languages = byLanguage(sets, [&](const AssetSet& set) {
    const PlannedDisplay& display = displayOf(plan, set);
    nlohmann::json files = nlohmann::json::array();
    for (std::size_t i = 0; i < set.files.size(); ++i) {
      files.push_back({{"assetId", display.assets[i]}, {"path", pathInKind(set, set.files[i])}});
    }
    return nlohmann::json{{"kind", facts(set.kind).key}, {"group", set.display.group}, {"files", files}};
  });
  nlohmann::json request = {{"languages", languages}};
  if (auto frames = framesOf(sets); !frames.empty()) request["frames"] = frames;
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
