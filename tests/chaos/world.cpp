#include "tests/chaos/world.hpp"

#include "core/support/files.hpp"
#include "core/support/md5.hpp"
#include "sandbox/builds/testflight.hpp"
#include "sandbox/plans.hpp"
#include "sandbox/prices/prices.hpp"

#include <algorithm>
#include <chrono>
#include <map>
#include <system_error>

namespace kestu::chaos {

using nlohmann::json;
namespace fs = std::filesystem;

namespace {

json displaysOf(sandbox::State& state, const sandbox::Version& version) {
  json displays = json::object();
  for (const auto& language : version.languages) {
    for (const auto& display : language.displays) {
      auto& list = displays[language.locale + " " + display.kind + " " + display.group] = json::array();
      for (const auto& placement : display.assets) {
        const auto* const asset = state.asset(placement.assetId);
        const std::string shown =
            asset == nullptr || !asset->complete ? "an incomplete asset" : MD5::hex(fs::path(state.filePath(*asset)));
        list.push_back(shown + " " + placement.frame.value_or(""));
      }
    }
  }
  return displays;
}

json versionOf(sandbox::State& state, const sandbox::Version& version) {
  std::string build;
  for (const auto& each : state.testFlight.builds) {
    if (each.buildId == version.buildId) build = each.number;
  }
  const auto& listing = state.listings.versions[version.versionId];
  json value = {{"number", version.version},
                {"state", version.state},
                {"build", build},
                {"releaseType", version.releaseType},
                {"phased", version.phased},
                {"displays", displaysOf(state, version)},
                {"texts", listing.texts},
                {"copyright", listing.copyright.value_or("")},
                {"review", listing.review}};
  if (version.earliestReleaseDate) value["earliest"] = version.earliestReleaseDate->time_since_epoch().count();
  return value;
}

json dump(sandbox::State& state) {
  json value;
  std::map<std::string, int> count;
  for (auto version = state.versions.rbegin(); version != state.versions.rend(); ++version) {
    if (version->appId != 1234567890) continue;
    const std::string place = version->platform + " " + std::to_string(count[version->platform]++); // oldest first
    value["versions"][place] = versionOf(state, *version);
  }
  for (const auto& [appId, info] : state.listings.apps) value["texts"][std::to_string(appId)] = info.texts;
  std::map<std::string, int> assets; // how often Apple has the same bytes
  for (const auto& [id, asset] : state.assets) assets[asset.md5] += asset.complete ? 1 : 0;
  for (const auto& [md5, times] : assets) {
    if (times > 0) value["assets"][md5] = times;
  }
  for (const auto& build : state.testFlight.builds) {
    if (build.appId != 1234567890) continue;
    const std::string title = build.platform + " " + build.version + " (" + build.number + ")";
    value["builds"][title].push_back({{"state", build.state}, {"md5", build.md5}});
    value["notes"][title] = build.notes; // sent language by language
  }
  for (const auto& product : state.prices.products) {
    value["prices"][std::to_string(product.appId) + product.productId] = {{"base", product.base}, {"own", product.own}};
  }
  return value;
}

} // namespace

World::World()
    : server({.approve = sandbox::Approve::all,
              .partSize = 400,
              .now = [this] { return std::chrono::system_clock::now() + std::chrono::hours(hoursAhead); }}),
      token(server.tokenFor()) {
  for (const auto& each : {repo() / ".git", home(), temporary()}) fs::create_directories(each);
  write("kestu.json", R"({"appId": 1234567890, "bundleId": "com.example.daylight"})");
}

Tree World::tree(const fs::path& root) {
  Tree files;
  for (const auto& entry : fs::recursive_directory_iterator(root)) {
    if (entry.is_regular_file()) files[entry.path().lexically_relative(root).string()] = MD5::hex(entry.path());
  }
  return files;
}

void World::show(const std::string& version, const std::string& locale, const std::string& group,
                 const std::string& name, const std::string& bytes, bool checksumHidden) {
  server.withState([&](sandbox::State& state) {
    sandbox::Asset asset{MD5::hex(std::string_view(locale + group + name)),
                         1234567890,
                         name,
                         MD5::hex(std::string_view(bytes)),
                         bytes.size(),
                         name.ends_with(".mov"),
                         "",
                         {}};
    asset.complete = true;
    asset.checksumHidden = checksumHidden;
    folder.write("served", bytes);
    fs::rename(folder.path() / "served", state.filePath(asset));
    sandbox::Placement placement{asset.assetId};
    if (asset.video) placement.frame = "00:00:05:00";
    const std::string kind = asset.video ? "previews" : "screenshots";
    auto& shown = state.version(1234567890, "ios", version)->languages;
    auto language = std::find_if(shown.begin(), shown.end(), [&](const auto& each) { return each.locale == locale; });
    if (language == shown.end()) language = shown.insert(shown.end(), sandbox::ShownLanguage{locale, {}});
    auto& displays = language->displays;
    auto display = std::find_if(displays.begin(), displays.end(),
                                [&](const auto& each) { return each.kind == kind && each.group == group; });
    if (display == displays.end()) display = displays.insert(displays.end(), sandbox::ShownDisplay{kind, group, {}});
    display->assets.push_back(placement);
    state.assets.emplace(asset.assetId, std::move(asset));
  });
}

json World::told() {
  ++hoursAhead;
  json value;
  server.withState([&](sandbox::State& state) {
    sandbox::Prices::advance(state);
    sandbox::TestFlights::advance(state);
    value = dump(state);
  });
  return value;
}

void World::approveWaiting() {
  server.withState([](sandbox::State& state) {
    for (auto& plan : state.plans) sandbox::Plans::decide(state, plan, true);
  });
}

std::size_t World::unfinishedUploads() {
  std::size_t count = 0;
  server.withState([&](sandbox::State& state) { count = state.testFlight.uploads.size(); });
  return count;
}

std::size_t World::plans(std::string_view inState) {
  std::size_t count = 0;
  server.withState([&](sandbox::State& state) {
    for (const auto& plan : state.plans) count += inState.empty() || plan.state == inState ? 1 : 0;
  });
  return count;
}

std::string World::filesWith(const std::string& text) const {
  std::string found;
  for (const auto& entry : fs::recursive_directory_iterator(folder.path())) {
    if (!entry.is_regular_file()) continue;
    const auto bytes = Files::read(entry.path(), 1'000'000);
    if (bytes && bytes->find(text) != std::string::npos) found += entry.path().filename().string() + " ";
  }
  return found;
}

void World::expireAddresses() {
  server.withState([](sandbox::State& state) {
    for (auto& [id, asset] : state.assets) asset.signature = "expired";
  });
}

} // namespace kestu::chaos
