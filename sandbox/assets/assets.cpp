#include "sandbox/assets/assets.hpp"

#include "sandbox/account/accounts.hpp"
#include "sandbox/account/apps.hpp"
#include "sandbox/assets/catalog.hpp"
#include "sandbox/assets/uploads.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>

namespace kestu::sandbox::Assets {

namespace {

using nlohmann::json;

std::string contentType(const std::string& fileName) {
  const auto extension = lowered(std::filesystem::path(fileName).extension().string());
  if (extension == ".png") return "image/png";
  if (extension == ".jpg" || extension == ".jpeg") return "image/jpeg";
  if (extension == ".mov") return "video/quicktime";
  if (extension == ".mp4" || extension == ".m4v") return "video/mp4";
  return "application/octet-stream";
}

json assetJson(const State& state, const Asset& asset, const Placement& placement) {
  json value{{"assetId", asset.assetId},
             {"fileName", asset.fileName},
             {"size", asset.size},
             {"video", asset.video},
             {"url", state.origin + "/files/" + asset.assetId}};
  if (!asset.checksumHidden) value["md5"] = asset.md5;
  if (placement.frame) value["frame"] = *placement.frame;
  return value;
}

struct ToHash {
  std::string assetId, fileName, md5, path;
};

// What is left to check of the named uploads; throws Refused when one is unknown or lacks a part.
std::vector<ToHash> partsThere(State& state, std::int64_t appId, const json& assetIds) {
  std::vector<ToHash> files;
  for (const auto& id : assetIds) {
    const auto* const asset = state.asset(id.get<std::string>());
    if (asset == nullptr || asset->appId != appId) {
      throw Refused(409, "unknown_asset", fmt::format("Apple has no asset {} reserved.", id.get<std::string>()));
    }
    if (asset->complete) continue;
    Uploads::needParts(*asset);
    files.push_back({asset->assetId, asset->fileName, asset->md5, state.filePath(*asset)});
  }
  return files;
}

} // namespace

Answer catalog(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  return Answer::json(Catalog::displays(Apps::platform(app, call)));
}

Answer listing(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  const auto& version = Apps::version(state, app, call);
  auto languages = json::array();
  for (const auto& language : version.languages) {
    auto displays = json::array();
    for (const auto& display : language.displays) {
      auto assets = json::array();
      for (const auto& placement : display.assets) {
        assets.push_back(assetJson(state, state.assets.at(placement.assetId), placement));
      }
      displays.push_back({{"kind", display.kind}, {"group", display.group}, {"assets", assets}});
    }
    languages.push_back({{"locale", language.locale}, {"displays", displays}});
  }
  return Answer::json({{"languages", languages}});
}

Answer uploaded(State& state, const Call& call) {
  std::vector<ToHash> files;
  {
    const std::lock_guard held(state.mutex);
    const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
    openVersion(state, app, call);
    files = partsThere(state, app.appId, call.object().at("assetIds"));
  }
  for (const auto& file : files) {
    const auto md5 = md5OfFile(file.path);
    if (md5 == file.md5) continue;
    throw Refused(409, "checksum",
                  fmt::format("{} came with the checksum {}, and {} was announced.", file.fileName, md5, file.md5));
  }
  const std::lock_guard held(state.mutex);
  for (const auto& file : files) {
    if (auto* const asset = state.asset(file.assetId)) asset->complete = true;
  }
  return Answer::nothing();
}

Answer file(State& state, const Call& call) {
  const auto* const asset = state.asset(call.segments[1]);
  if (asset == nullptr || !asset->complete) throw Refused(404, "not_found", "There is no such file.");
  Answer answer;
  answer.contentType = contentType(asset->fileName);
  answer.file = state.filePath(*asset);
  answer.fileSize = asset->size;
  return answer;
}

Version& openVersion(State& state, const App& app, const Call& call) {
  constexpr std::array<std::string_view, 6> open{"prepareforsubmission", "readyforreview",    "rejected",
                                                 "metadatarejected",     "developerrejected", "invalidbinary"};
  constexpr std::array<std::string_view, 2> inReview{"waitingforreview", "inreview"};
  auto& version = Apps::version(state, app, call);
  if (std::find(open.begin(), open.end(), version.state) != open.end()) return version;
  const bool reviewed = std::find(inReview.begin(), inReview.end(), version.state) != inReview.end();
  throw Refused(409, "version_closed",
                fmt::format("{} {}, so its assets can't be changed.", Apps::title(app, version),
                            reviewed ? "is with App Review" : "is out"));
}

const ShownDisplay* shown(const Version& version, const std::string& locale, const std::string& kind,
                          const std::string& group) {
  for (const auto& language : version.languages) {
    if (language.locale != locale) continue;
    for (const auto& display : language.displays) {
      if (display.kind == kind && display.group == group) return &display;
    }
  }
  return nullptr;
}

} // namespace kestu::sandbox::Assets
