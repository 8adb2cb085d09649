#include "sandbox/account/accounts.hpp"
#include "sandbox/kit/kit.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace kestu::sandbox::Kit {

namespace {

using nlohmann::json;

WhatsNewPage* find(State& state, std::int64_t appId, const std::string& version, const std::string& platform) {
  auto& all = state.kit.pages[appId];
  const auto found = std::find_if(all.begin(), all.end(), [&](const WhatsNewPage& page) {
    return page.version == version && page.platform == platform;
  });
  return found == all.end() ? nullptr : &*found;
}

WhatsNewPage& named(State& state, const App& app, const Call& call) {
  if (auto* const page = find(state, app.appId, call.segments[5], call.param("platform"))) return *page;
  missing(fmt::format("{} has no What's New page of {}.", app.name, call.segments[5]));
}

std::string title(const App& app, const WhatsNewPage& page) {
  return fmt::format("{}, What's New in {}{}", app.name, page.version,
                     page.platform.empty() ? "" : " for " + platformName(page.platform));
}

const Asset* held(const State& state, std::int64_t appId, const std::string& md5, bool whole) {
  for (const auto& [id, asset] : state.assets) {
    if (asset.appId == appId && asset.md5 == md5 && (asset.complete || !whole)) return &asset;
  }
  return nullptr;
}

const Asset& reserve(State& state, std::int64_t appId, const json& image) {
  Asset asset{lowered(randomUuid()),
              appId,
              image.at("name").get<std::string>(),
              image.at("md5").get<std::string>(),
              image.at("size").get<std::uint64_t>(),
              false,
              randomHex(20),
              {}};
  for (std::uint64_t offset = 0; offset < asset.size; offset += state.settings.partSize) {
    Part part{offset, std::min(state.settings.partSize, asset.size - offset), {}};
    part.headers = {{"Content-Type", "application/octet-stream"},
                    {"X-Upload-Part", std::to_string(asset.parts.size() + 1)}};
    asset.parts.push_back(std::move(part));
  }
  return state.assets.emplace(asset.assetId, asset).first->second;
}

json uploadJson(const State& state, const Asset& asset) {
  auto parts = json::array();
  for (const auto& part : asset.parts) {
    const auto url =
        fmt::format("{}/upload/{}/{}?signature={}", state.origin, asset.assetId, parts.size() + 1, asset.signature);
    parts.push_back(
        {{"method", "PUT"}, {"url", url}, {"offset", part.offset}, {"length", part.length}, {"headers", part.headers}});
  }
  return {{"md5", asset.md5}, {"parts", parts}};
}

// What isn't there yet, reserved; nothing for a dry run.
json uploadsOf(State& state, std::int64_t appId, const json& images, bool dryRun) {
  auto uploads = json::array();
  std::set<std::string> seen;
  for (const auto& image : images) {
    const auto md5 = image.at("md5").get<std::string>();
    if (image.at("size").get<std::uint64_t>() == 0) refuse("An image is empty.");
    if (!seen.insert(md5).second || dryRun || held(state, appId, md5, true)) continue;
    std::erase_if(state.assets, [&](const auto& entry) {
      return entry.second.appId == appId && entry.second.md5 == md5; // begun and never completed
    });
    uploads.push_back(uploadJson(state, reserve(state, appId, image)));
  }
  return uploads;
}

Answer publication(State& state, const Call& call, const char* from, const char* to, const char* line) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  const auto page = named(state, app, call);
  if (page.state != from) conflict(fmt::format("{} is {} already.", title(app, page), page.state));
  return change(state, call, true, title(app, page), {line}, [&state, page, to, appId = app.appId]() -> std::string {
    auto* const there = find(state, appId, page.version, page.platform);
    if (there == nullptr || there->state != page.state) return "changed";
    there->state = to;
    return "";
  });
}

} // namespace

Answer whatsNew(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  auto list = json::array();
  for (const auto& page : state.kit.pages[app.appId]) {
    list.push_back({{"version", page.version}, {"state", page.state}});
    if (!page.platform.empty()) list.back()["platform"] = page.platform;
    for (const auto& [locale, text] : page.titles) list.back()["languages"].push_back(locale);
    if (page.updatedAt) list.back()["updatedAt"] = isoText(*page.updatedAt);
  }
  return Answer::json({{"pages", list}});
}

Answer uploadPage(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  const auto body = call.object();
  WhatsNewPage page{call.segments[5], call.param("platform")};
  const auto* const before = find(state, app.appId, page.version, page.platform);
  if (before != nullptr) page.state = before->state;
  std::vector<std::string> lines;
  for (const auto& [locale, text] : body.at("languages").items()) {
    page.titles[locale] = text.at("title").get<std::string>();
    if (page.titles[locale].empty()) refuse(fmt::format("The page has no title in {}.", locale));
    lines.push_back(fmt::format("{}: {}, {} characters", locale, page.titles[locale],
                                text.at("body").get_ref<const std::string&>().size()));
  }
  if (page.titles.empty()) refuse("The page is in no language.");
  for (const auto& image : body.at("images")) page.images.insert(image.at("md5").get<std::string>());
  page.updatedAt = state.clock();
  const auto uploads = uploadsOf(state, app.appId, body.at("images"), call.dryRun());
  return change(state, call, page.state == "published", title(app, page), std::move(lines),
                [&state, page, appId = app.appId]() -> std::string {
                  if (auto* const there = find(state, appId, page.version, page.platform)) {
                    const auto lacks = [&](const auto& md5) { return held(state, appId, md5, true) == nullptr; };
                    if (page.state == "published" && std::any_of(page.images.begin(), page.images.end(), lacks))
                      return "images";
                    *there = page;
                  } else {
                    state.kit.pages[appId].insert(state.kit.pages[appId].begin(), page);
                  }
                  return "";
                },
                {{"uploads", uploads}});
}

Answer commitPage(State& state, const Call& call) {
  std::vector<std::pair<std::string, std::string>> files; // asset and path
  {
    const std::lock_guard held(state.mutex);
    const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
    for (const auto& [id, asset] : state.assets) {
      if (asset.appId != app.appId || asset.complete) continue;
      const auto arrived = [](const Part& part) { return part.there; };
      if (!std::all_of(asset.parts.begin(), asset.parts.end(), arrived)) {
        conflict(fmt::format("{} hasn't come whole.", asset.fileName));
      }
      files.emplace_back(id, state.filePath(asset));
    }
  }
  for (const auto& [id, path] : files) {
    const auto md5 = md5OfFile(path);
    const std::lock_guard held(state.mutex);
    auto* const asset = state.asset(id);
    if (asset == nullptr) continue;
    if (asset->md5 != md5) conflict(fmt::format("{} came with another checksum.", asset->fileName));
    asset->complete = true;
  }
  return Answer::nothing();
}

Answer publishPage(State& state, const Call& call) {
  return publication(state, call, "draft", "published", "Show it to those who update");
}

Answer unpublishPage(State& state, const Call& call) {
  return publication(state, call, "published", "draft", "Show it to nobody any more");
}

Answer deletePage(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  const auto page = named(state, app, call);
  return change(state, call, page.state == "published", title(app, page), {"Delete it"},
                [&state, page, appId = app.appId]() -> std::string {
                  const auto gone = std::erase_if(state.kit.pages[appId], [&](const WhatsNewPage& each) {
                    return each.version == page.version && each.platform == page.platform;
                  });
                  return gone == 0 ? "changed" : "";
                });
}

} // namespace kestu::sandbox::Kit
