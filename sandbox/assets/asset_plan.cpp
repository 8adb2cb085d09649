#include "sandbox/account/accounts.hpp"
#include "sandbox/account/apps.hpp"
#include "sandbox/assets/assets.hpp"
#include "sandbox/assets/catalog.hpp"
#include "sandbox/assets/uploads.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <utility>

namespace kestu::sandbox::Assets {

namespace {

using nlohmann::json;
using Ids = std::vector<std::string>;

struct File {
  std::string fileName;
  std::uint64_t size;
  bool video;
  std::string assetId; // the asset that it was pulled from, or empty
};

[[noreturn]] void refuse(const std::string& message) { throw Refused(400, "invalid_request", message); }

std::string checksum(const json& value) {
  auto md5 = lowered(value.get<std::string>());
  if (md5.size() != 32 || md5.find_first_not_of("0123456789abcdef") != std::string::npos) {
    refuse(fmt::format("{} is no MD5 checksum.", md5));
  }
  return md5;
}

std::map<std::string, File> filesOf(const json& body) {
  std::map<std::string, File> files;
  if (!body.contains("files")) return files;
  for (const auto& each : body.at("files")) {
    File file{each.at("fileName").get<std::string>(), each.at("size").get<std::uint64_t>(), each.value("video", false),
              each.value("assetId", std::string())};
    if (file.size == 0) refuse(fmt::format("{} is empty.", file.fileName));
    files.emplace(checksum(each.at("md5")), std::move(file));
  }
  return files;
}

// The assets that are there already, whichever language or display they came for, by checksum; one whose checksum Apple
// doesn't tell is known by the ID that it was pulled with.
std::map<std::string, std::string> held(const State& state, std::int64_t appId,
                                        const std::map<std::string, File>& files) {
  std::map<std::string, std::string> ids;
  for (const auto& [id, asset] : state.assets) {
    if (asset.complete && asset.appId == appId && !asset.checksumHidden) ids.emplace(asset.md5, id);
  }
  for (const auto& [md5, file] : files) {
    const auto found = state.assets.find(file.assetId);
    if (found == state.assets.end() || !found->second.complete || found->second.appId != appId) continue;
    ids.emplace(md5, file.assetId);
  }
  return ids;
}

void checkDisplay(const std::string& platform, const json& display) {
  const auto kind = display.at("kind").get<std::string>();
  const auto group = display.at("group").get<std::string>();
  const auto found = Catalog::find(platform, kind, group);
  if (!found) refuse(fmt::format("Apple has no display {} for {} on {}.", group, kind, platformName(platform)));
  if (display.at("assets").size() > found->max) {
    refuse(fmt::format("{} takes {} at most.", found->name, Catalog::countedAssets(kind, found->max)));
  }
}

// Checks the whole request before anything is reserved, and answers the checksums that Apple doesn't have.
Ids missing(const std::map<std::string, std::string>& heldIds, const std::string& platform, const json& body,
            const std::map<std::string, File>& files) {
  Ids wanted;
  std::set<std::string> locales, seen;
  for (const auto& language : body.at("languages")) {
    const auto locale = language.at("locale").get<std::string>();
    if (!locales.insert(locale).second) refuse(fmt::format("{} is planned twice.", locale));
    for (const auto& display : language.at("displays")) {
      checkDisplay(platform, display);
      for (const auto& each : display.at("assets")) {
        auto md5 = checksum(each);
        if (heldIds.contains(md5) || !seen.insert(md5).second) continue;
        if (!files.contains(md5)) refuse(fmt::format("No file is described for the checksum {}.", md5));
        wanted.push_back(std::move(md5));
      }
    }
  }
  return wanted;
}

const Asset& reserve(State& state, std::int64_t appId, const std::string& md5, const File& file) {
  return Uploads::reserve(state, {lowered(randomUuid()), appId, file.fileName, md5, file.size, file.video, {}, {}});
}

// An upload that was begun and never completed is made anew, so its parts are forgotten.
void forgetIncomplete(State& state, std::int64_t appId, const Ids& checksums) {
  const std::set<std::string> lost(checksums.begin(), checksums.end());
  std::erase_if(state.assets, [&](const auto& entry) {
    const Asset& asset = entry.second;
    if (asset.complete || asset.appId != appId) return false;
    if (!lost.contains(asset.md5)) return false;
    std::error_code ignored;
    std::filesystem::remove(state.filePath(asset), ignored);
    return true;
  });
}

json uploadJson(const State& state, const Asset& asset) {
  return {{"assetId", asset.assetId},
          {"md5", asset.md5},
          {"video", asset.video},
          {"parts", Uploads::partsJson(state, asset)}};
}

// How many of `after` that were there before left their order: all but the longest run that kept it.
std::size_t movedCount(const Ids& before, const Ids& after) {
  std::vector<std::vector<std::size_t>> common(before.size() + 1, std::vector<std::size_t>(after.size() + 1, 0));
  for (std::size_t i = 1; i <= before.size(); ++i) {
    for (std::size_t j = 1; j <= after.size(); ++j) {
      common[i][j] =
          before[i - 1] == after[j - 1] ? common[i - 1][j - 1] + 1 : std::max(common[i - 1][j], common[i][j - 1]);
    }
  }
  Ids kept;
  std::multiset<std::string> left(before.begin(), before.end());
  for (const auto& id : after) {
    if (const auto found = left.find(id); found != left.end()) {
      kept.push_back(id);
      left.erase(found);
    }
  }
  return kept.size() - common.back().back();
}

// How many of `ids` the other list hasn't.
std::size_t without(const Ids& ids, const Ids& others) {
  std::multiset<std::string> left(others.begin(), others.end());
  std::size_t count = 0;
  for (const auto& id : ids) {
    const auto found = left.find(id);
    if (found == left.end()) {
      ++count;
    } else {
      left.erase(found);
    }
  }
  return count;
}

std::size_t framedAnew(const State& state, const ShownDisplay* before, const Ids& after, const json& display) {
  if (!display.contains("frames")) return 0;
  std::size_t count = 0;
  for (const auto& id : after) {
    const auto& asset = state.assets.at(id);
    if (!asset.video) continue;
    const auto wanted = display.at("frames").value(asset.md5, std::string());
    std::string has;
    for (const auto& placement : before == nullptr ? std::vector<Placement>() : before->assets) {
      if (placement.assetId == id) has = placement.frame.value_or("");
    }
    if (wanted != has) ++count;
  }
  return count;
}

json displayJson(const State& state, const Version& version, const std::string& locale, const json& display,
                 const std::map<std::string, std::string>& idByChecksum) {
  const auto kind = display.at("kind").get<std::string>();
  const auto group = display.at("group").get<std::string>();
  const auto* const before = shown(version, locale, kind, group);
  Ids had, wanted;
  for (const auto& placement : before == nullptr ? std::vector<Placement>() : before->assets) {
    had.push_back(placement.assetId);
  }
  for (const auto& each : display.at("assets")) wanted.push_back(idByChecksum.at(checksum(each)));
  const auto framed = framedAnew(state, before, wanted, display);
  return {{"kind", kind},
          {"group", group},
          {"assets", wanted},
          {"unchanged", had == wanted && framed == 0},
          {"added", without(wanted, had)},
          {"removed", without(had, wanted)},
          {"moved", movedCount(had, wanted)},
          {"framed", framed}};
}

} // namespace

Answer plan(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  const auto& version = openVersion(state, app, call);
  const auto body = call.object();
  const auto files = filesOf(body);
  auto idByChecksum = held(state, app.appId, files);
  const auto toSend = missing(idByChecksum, version.platform, body, files);
  forgetIncomplete(state, app.appId, toSend);

  auto uploads = json::array();
  for (const auto& md5 : toSend) {
    const auto& asset = reserve(state, app.appId, md5, files.at(md5));
    idByChecksum[md5] = asset.assetId;
    uploads.push_back(uploadJson(state, asset));
  }
  auto languages = json::array();
  for (const auto& language : body.at("languages")) {
    const auto locale = language.at("locale").get<std::string>();
    auto displays = json::array();
    for (const auto& display : language.at("displays")) {
      displays.push_back(displayJson(state, version, locale, display, idByChecksum));
    }
    languages.push_back({{"locale", locale}, {"displays", displays}});
  }
  return Answer::json({{"languages", languages}, {"uploads", uploads}, {"sending", uploads.size()}});
}

} // namespace kestu::sandbox::Assets
