#include "sandbox/account/accounts.hpp"
#include "sandbox/account/apps.hpp"
#include "sandbox/assets/assets.hpp"
#include "sandbox/assets/catalog.hpp"
#include "sandbox/plans.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace kestu::sandbox::Assets {

namespace {

using nlohmann::json;

[[noreturn]] void refuse(const std::string& message) { throw Refused(400, "invalid_request", message); }

bool isFrame(const std::string& text) {
  if (text.size() != 11) return false;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const bool colon = at % 3 == 2;
    if (colon ? text[at] != ':' : text[at] < '0' || text[at] > '9') return false;
  }
  return text[3] < '6' && text[6] < '6';
}

Placement placed(State& state, const App& app, const json& file, const json& frames, bool dryRun) {
  const auto id = file.at("assetId").get<std::string>();
  const auto path = file.at("path").get<std::string>();
  const auto* const asset = state.asset(id);
  if (asset == nullptr || asset->appId != app.appId) {
    throw Refused(409, "unknown_asset", fmt::format("Apple has no asset {} for {}.", id, path));
  }
  if (!asset->complete && !dryRun) throw Refused(409, "incomplete", fmt::format("{} isn't uploaded yet.", path));
  Placement placement{id};
  if (asset->video && frames.contains(path)) {
    placement.frame = frames.at(path).get<std::string>();
    if (!isFrame(*placement.frame)) refuse(fmt::format("{} is no poster frame.", *placement.frame));
  }
  return placement;
}

std::vector<ShownLanguage> read(State& state, const App& app, const std::string& platform, const Call& call) {
  const auto body = call.object();
  const auto given = body.value("frames", json());
  const auto frames = given.is_null() ? json::object() : given;
  if (!frames.is_object()) refuse("The poster frames aren't an object.");
  std::vector<ShownLanguage> languages;
  for (const auto& language : body.at("languages")) {
    ShownLanguage read{language.at("locale").get<std::string>(), {}};
    for (const auto& display : language.at("displays")) {
      ShownDisplay shows{display.at("kind").get<std::string>(), display.at("group").get<std::string>(), {}};
      const auto found = Catalog::find(platform, shows.kind, shows.group);
      if (!found) refuse(fmt::format("Apple has no display {} for {}.", shows.group, shows.kind));
      for (const auto& file : display.at("files")) {
        shows.assets.push_back(placed(state, app, file, frames, call.dryRun()));
      }
      if (shows.assets.size() > found->max) {
        refuse(fmt::format("{} takes {} at most.", found->name, Catalog::countedAssets(shows.kind, found->max)));
      }
      read.displays.push_back(std::move(shows));
    }
    languages.push_back(std::move(read));
  }
  return languages;
}

struct Summary {
  std::vector<std::string> lines;
  PlanDetails details;
};

Summary summary(const Version& version, const std::vector<ShownLanguage>& languages) {
  Summary summary;
  for (const auto& language : languages) {
    for (const auto& display : language.displays) {
      const auto* const before = shown(version, language.locale, display.kind, display.group);
      const auto there = before == nullptr ? std::vector<Placement>() : before->assets;
      if (there == display.assets) continue;
      const auto found = Catalog::find(version.platform, display.kind, display.group);
      const auto name = found ? found->name : display.group;
      const auto count = Catalog::countedAssets(display.kind, display.assets.size());
      summary.lines.push_back(fmt::format("{} for {} in {}", count, name, language.locale));
      summary.details.pictures.push_back(
          {fmt::format("{} · {} · {}", language.locale, name, count), there, display.assets});
    }
  }
  if (summary.lines.empty()) summary.lines.emplace_back("Nothing that isn't there already");
  return summary;
}

template <typename List, typename Same>
auto& foundOrAdded(List& list, typename List::value_type made, Same same) {
  const auto found = std::find_if(list.begin(), list.end(), same);
  if (found != list.end()) return *found;
  list.push_back(std::move(made));
  return list.back();
}

void show(Version& version, const std::vector<ShownLanguage>& languages) {
  for (const auto& language : languages) {
    auto& kept = foundOrAdded(version.languages, {language.locale, {}},
                              [&](const ShownLanguage& each) { return each.locale == language.locale; });
    for (const auto& display : language.displays) {
      auto& there = foundOrAdded(kept.displays, {display.kind, display.group, {}}, [&](const ShownDisplay& each) {
        return each.kind == display.kind && each.group == display.group;
      });
      there.assets = display.assets;
    }
    std::erase_if(kept.displays, [](const ShownDisplay& each) { return each.assets.empty(); });
  }
  std::erase_if(version.languages, [](const ShownLanguage& each) { return each.displays.empty(); });
  ++version.revision;
}

} // namespace

Answer commit(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  const auto& version = openVersion(state, app, call);
  const auto languages = read(state, app, version.platform, call);
  // What was approved is what the version showed when it was asked for.
  auto apply = [&state, id = version.versionId, revision = version.revision, languages]() -> std::string {
    const auto found = std::find_if(state.versions.begin(), state.versions.end(),
                                    [&](const Version& each) { return each.versionId == id; });
    if (found == state.versions.end() || found->revision != revision) return "changed";
    show(*found, languages);
    return "";
  };
  auto [lines, details] = summary(version, languages);
  return Plans::change(state, call, Apps::title(app, version) + ", its assets", std::move(lines), std::move(apply),
                       std::move(details));
}

} // namespace kestu::sandbox::Assets
