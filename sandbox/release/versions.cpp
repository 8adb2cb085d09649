#include "sandbox/account/accounts.hpp"
#include "sandbox/account/apps.hpp"
#include "sandbox/metadata/listing.hpp"
#include "sandbox/plans.hpp"
#include "sandbox/release/releases.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>
#include <utility>

namespace kestu::sandbox::Releases {

namespace {

using nlohmann::json;

[[noreturn]] void conflict(const std::string& message) { throw Refused(409, "conflict", message); }

[[noreturn]] void invalid(const std::string& message) { throw Refused(400, "invalid_request", message); }

void needNumber(const std::string& text) {
  bool good = !text.empty() && std::isdigit(static_cast<unsigned char>(text.front())) != 0;
  for (const char c : text) good = good && (c == '.' || std::isdigit(static_cast<unsigned char>(c)) != 0);
  if (!good) invalid(fmt::format("{} is no version.", text));
}

Version& named(State& state, const App& app, const Call& call) {
  auto* const version = byId(state, call.segments[4]);
  if (version == nullptr || version->appId != app.appId) {
    throw Refused(404, "not_found", "App Store Connect has no version of that ID.");
  }
  return *version;
}

void needFree(State& state, const App& app, const std::string& platform, const std::string& number) {
  if (state.version(app.appId, platform, number) != nullptr) {
    conflict(fmt::format("App Store Connect has a version {} for {} already.", number, platformName(platform)));
  }
}

// The build that goes with the version; throws Refused when it can't.
const TestBuild& usable(const State& state, const Version& version, const std::string& buildId) {
  constexpr std::array<std::string_view, 5> useless{"uploading", "processing", "failed", "invalid", "expired"};
  for (const auto& build : state.testFlight.builds) {
    if (build.appId != version.appId || build.buildId != buildId || build.upload) continue;
    if (build.platform != version.platform || build.version != version.version) {
      conflict(fmt::format("Build {} is of {} for {}.", build.number, build.version, platformName(build.platform)));
    }
    if (std::find(useless.begin(), useless.end(), build.state) != useless.end()) {
      conflict(fmt::format("Build {} can't be attached: it's {}.", build.number, build.state));
    }
    return build;
  }
  throw Refused(404, "not_found", "The app has no such build.");
}

void apply(State& state, Version& version, const json& body) {
  if (body.contains("version")) {
    version.version = body["version"].get<std::string>();
    const auto& builds = state.testFlight.builds;
    const auto build = std::find_if(builds.begin(), builds.end(),
                                    [&](const TestBuild& each) { return each.buildId == version.buildId; });
    if (build != builds.end() && build->version != version.version) version.buildId.clear();
  }
  if (body.contains("buildId")) version.buildId = usable(state, version, body["buildId"]).buildId;
  if (body.contains("releaseType")) version.releaseType = body["releaseType"].get<std::string>();
  if (body.contains("earliestReleaseDate")) version.earliestReleaseDate = momentOf(body["earliestReleaseDate"]);
  if (version.releaseType != "scheduled") version.earliestReleaseDate.reset();
  if (body.contains("phased")) version.phased = body["phased"].get<bool>();
  if (body.contains("copyright")) Listing::of(state, version).copyright = body["copyright"].get<std::string>();
}

void check(State& state, const App& app, const Version& version, const json& body) {
  if (!isOpen(version)) conflict(Apps::title(app, version) + " can't be changed now.");
  Version then = version;
  for (const auto& [key, value] : body.items()) {
    if (key == "version") {
      needNumber(value.get<std::string>());
      needFree(state, app, version.platform, value);
      then.version = value;
    } else if (key == "releaseType") {
      constexpr std::array<std::string_view, 3> types{"manual", "afterapproval", "scheduled"};
      if (std::find(types.begin(), types.end(), value.get<std::string>()) == types.end()) invalid("No release type.");
      then.releaseType = value;
    } else if (key == "earliestReleaseDate") {
      then.earliestReleaseDate = momentOf(value);
      if (!then.earliestReleaseDate) invalid("The date isn't one.");
    } else if (key == "phased") {
      if (!value.is_boolean()) invalid("phased is true or false.");
    } else if (key != "copyright" && key != "buildId") {
      invalid(fmt::format("A version has no {}.", key));
    }
  }
  if (body.contains("buildId")) usable(state, then, body["buildId"]);
  if (then.releaseType == "scheduled" && !then.earliestReleaseDate) invalid("A scheduled release needs its moment.");
  if (body.empty()) invalid("The change changes nothing.");
}

Answer atOnce(const json& more = json::object()) {
  json answer{{"waits", false}};
  answer.update(more);
  return Answer::json(answer);
}

} // namespace

bool isOpen(const Version& version) {
  constexpr std::array<std::string_view, 6> open{"prepareforsubmission", "readyforreview",    "rejected",
                                                 "metadatarejected",     "developerrejected", "invalidbinary"};
  return std::find(open.begin(), open.end(), version.state) != open.end();
}

bool isOut(const Version& version) {
  return version.state == "readyfordistribution" || version.state == "replacedwithnewversion" ||
         version.state == "removedfromsale";
}

Version* byId(State& state, const std::string& versionId) {
  const auto found = std::find_if(state.versions.begin(), state.versions.end(),
                                  [&](const Version& each) { return each.versionId == versionId; });
  return found == state.versions.end() ? nullptr : &*found;
}

Answer list(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  const auto wanted = call.param("platform").empty() ? std::string() : Apps::platform(app, call);
  advance(state);
  auto versions = json::array();
  for (auto& version : state.versions) {
    if (version.appId != app.appId || (!wanted.empty() && version.platform != wanted)) continue;
    if (version.unlisted > 0) {
      --version.unlisted;
    } else {
      versions.push_back(Apps::versionJson(state, version));
    }
  }
  return Answer::json({{"versions", versions}});
}

Answer create(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  advance(state);
  const auto body = call.object();
  const auto platform = body.at("platform").get<std::string>();
  const auto number = body.at("version").get<std::string>();
  needNumber(number);
  if (std::find(app.platforms.begin(), app.platforms.end(), platform) == app.platforms.end()) {
    throw Refused(404, "not_found", fmt::format("{} isn't on {}.", app.name, platformName(platform)));
  }
  needFree(state, app, platform, number);
  std::vector<ShownLanguage> shown;
  for (const auto& each : state.versions) {
    if (each.appId != app.appId || each.platform != platform) continue;
    if (!isOut(each)) conflict(Apps::title(app, each) + " is on its way: Apple allows one version at a time.");
    if (shown.empty()) shown = each.languages;
  }
  if (call.dryRun()) return atOnce();
  Version& made = state.addVersion(app.appId, platform, number, "prepareforsubmission");
  made.languages = std::move(shown);
  Listing::of(state, made);
  made.unlisted = std::exchange(state.review.unlisted, 0);
  return atOnce({{"versionId", made.versionId}});
}

Answer update(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  advance(state);
  Version& version = named(state, app, call);
  const auto body = call.object();
  check(state, app, version, body);
  if (!call.dryRun()) apply(state, version, body);
  return atOnce();
}

Answer remove(State& state, const Call& call) {
  const auto& app = Accounts::grantedApp(state, call, call.segments[2]);
  const Version& version = named(state, app, call);
  if (version.sent || !isOpen(version)) conflict(Apps::title(app, version) + " was with App Review, so it stays.");
  return Plans::change(state, call, Apps::title(app, version), {"Delete this version"},
                       [&state, id = version.versionId]() -> std::string {
                         const auto* const there = byId(state, id);
                         if (there == nullptr || there->sent) return "changed";
                         state.listings.versions.erase(id);
                         std::erase_if(state.versions, [&](const Version& each) { return each.versionId == id; });
                         return "";
                       });
}

} // namespace kestu::sandbox::Releases
