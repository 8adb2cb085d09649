#include "sandbox/account/accounts.hpp"
#include "sandbox/account/apps.hpp"
#include "sandbox/assets/uploads.hpp"
#include "sandbox/builds/testflight.hpp"
#include "sandbox/plans.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>

namespace kestu::sandbox::TestFlights {

namespace {

using nlohmann::json;

std::string given(const json& body, const char* key) {
  auto text = body.at(key).get<std::string>();
  if (text.empty()) throw Refused(400, "invalid_request", fmt::format("The upload has no {}.", key));
  return text;
}

void needNew(const State& state, const App& app, const BuildUpload& upload) {
  for (const auto& build : state.testFlight.builds) {
    const bool same = build.appId == upload.appId && build.platform == upload.platform &&
                      build.version == upload.version && build.number == upload.build;
    if (!same || build.state == "failed" || build.state == "invalid") continue;
    throw Refused(
        409, "duplicate",
        fmt::format("Apple has {} already, and takes each build number of a version once.", title(app, build)));
  }
}

BuildUpload read(const State& state, const App& app, const json& body) {
  BuildUpload upload{lowered(randomUuid()), app.appId,    given(body, "platform"), given(body, "version"),
                     given(body, "build"),  state.clock()};
  if (std::find(app.platforms.begin(), app.platforms.end(), upload.platform) == app.platforms.end()) {
    throw Refused(404, "not_found", fmt::format("{} isn't on {}.", app.name, platformName(upload.platform)));
  }
  needNew(state, app, upload);
  return upload;
}

BuildUpload* find(State& state, std::int64_t appId, const std::string& uploadId) {
  auto& all = state.testFlight.uploads;
  const auto found = std::find_if(all.begin(), all.end(), [&](const BuildUpload& each) {
    return each.appId == appId && each.uploadId == uploadId;
  });
  return found == all.end() ? nullptr : &*found;
}

// The file that the call commits; throws Refused while a part is missing.
Asset whole(State& state, const Call& call) {
  const std::lock_guard held(state.mutex);
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  const auto& id = call.segments[5];
  if (find(state, app.appId, id) == nullptr) throw Refused(404, "not_found", "There is no such upload.");
  const auto& asset = state.assets.at(id);
  Uploads::needParts(asset);
  return asset;
}

void forget(State& state, const std::string& uploadId) {
  std::error_code ignored;
  if (const auto* const asset = state.asset(uploadId)) std::filesystem::remove(state.filePath(*asset), ignored);
  state.assets.erase(uploadId);
  std::erase_if(state.testFlight.uploads, [&](const BuildUpload& each) { return each.uploadId == uploadId; });
}

} // namespace

Answer reserve(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  advance(state);
  const auto body = call.object();
  const auto upload = read(state, app, body);
  const auto size = body.at("fileSize").get<std::uint64_t>();
  if (size == 0) throw Refused(400, "invalid_request", "The file is empty.");
  if (call.dryRun()) return Answer::json({{"uploadId", ""}, {"parts", json::array()}});
  const auto& asset =
      Uploads::reserve(state, {upload.uploadId, upload.appId, given(body, "fileName"), "", size, false, {}, {}});
  state.testFlight.uploads.push_back(upload);
  return Answer::json({{"uploadId", upload.uploadId}, {"parts", Uploads::partsJson(state, asset)}});
}

Answer commit(State& state, const Call& call) {
  const auto asset = whole(state, call);
  const auto size = std::filesystem::file_size(state.filePath(asset));
  if (size != asset.size) {
    throw Refused(409, "size",
                  fmt::format("{} has {} bytes, and {} were announced.", asset.fileName, size, asset.size));
  }
  const auto md5 = md5OfFile(state.filePath(asset));
  const std::lock_guard held(state.mutex);
  const auto* const upload = find(state, asset.appId, asset.assetId);
  if (upload == nullptr) throw Refused(404, "not_found", "There is no such upload.");
  TestBuild build{upload->appId,   upload->uploadId, upload->platform,
                  upload->version, upload->build,    state.clock(),
                  "processing",    state.clock(),    true};
  build.error = std::exchange(state.testFlight.nextError, "");
  build.md5 = md5;
  forget(state, asset.assetId);
  state.testFlight.builds.insert(state.testFlight.builds.begin(), std::move(build));
  return Answer::nothing();
}

Answer unfinished(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  auto uploads = json::array();
  for (const auto& upload : state.testFlight.uploads) {
    if (upload.appId != app.appId) continue;
    json value{{"uploadId", upload.uploadId},
               {"platform", upload.platform},
               {"build", upload.build},
               {"createdAt", isoText(upload.createdAt)}};
    if (!upload.version.empty()) value["version"] = upload.version;
    uploads.push_back(std::move(value));
  }
  return Answer::json({{"uploads", uploads}});
}

Answer remove(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  const auto* const upload = find(state, app.appId, call.segments[5]);
  if (upload == nullptr) throw Refused(404, "not_found", "There is no such upload.");
  const auto build =
      fmt::format("{} {} ({}) for {}", app.name, upload->version, upload->build, platformName(upload->platform));
  auto apply = [&state, appId = app.appId, id = upload->uploadId]() -> std::string {
    if (find(state, appId, id) == nullptr) return "changed";
    forget(state, id);
    return "";
  };
  return Plans::change(state, call, build, {"Remove its unfinished upload"}, apply);
}

} // namespace kestu::sandbox::TestFlights
