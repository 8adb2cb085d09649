#include "sandbox/account/apps.hpp"

#include "sandbox/account/accounts.hpp"

#include <fmt/format.h>

#include <algorithm>

namespace kestu::sandbox::Apps {

using nlohmann::json;

json appJson(const App& app) {
  return {{"appId", app.appId},
          {"bundleId", app.bundleId},
          {"name", app.name},
          {"platforms", app.platforms},
          {"primaryLocale", app.primaryLocale}};
}

Answer list(State& state, const Call& call) {
  const auto& granted = state.tokens.at(call.token).appIds;
  auto apps = json::array();
  for (const auto& app : state.apps) {
    if (granted && std::find(granted->begin(), granted->end(), app.appId) == granted->end()) continue;
    apps.push_back(appJson(app));
  }
  return Answer::json({{"apps", apps}});
}

json versionJson(const State& state, const Version& version) {
  json value{{"versionId", version.versionId},
             {"platform", version.platform},
             {"version", version.version},
             {"state", version.state},
             {"createdAt", isoText(version.createdAt)},
             {"releaseType", version.releaseType},
             {"phased", version.phased},
             {"sent", version.sent}};
  if (version.phased) value["phasedState"] = version.phasedState.empty() ? "inactive" : version.phasedState;
  if (version.phasedDay > 0) value["phasedDay"] = version.phasedDay;
  const auto listing = state.listings.versions.find(version.versionId);
  if (listing != state.listings.versions.end() && listing->second.copyright) {
    value["copyright"] = *listing->second.copyright;
  }
  if (version.earliestReleaseDate) value["earliestReleaseDate"] = isoText(*version.earliestReleaseDate);
  for (const auto& build : state.testFlight.builds) {
    if (build.buildId != version.buildId) continue;
    value["build"] = {{"buildId", build.buildId}, {"version", build.version}, {"number", build.number}};
  }
  return value;
}

std::string platform(const App& app, const Call& call) {
  auto platform = call.param("platform");
  if (platform.empty()) throw Refused(400, "invalid_request", "The query names no platform.");
  if (std::find(app.platforms.begin(), app.platforms.end(), platform) == app.platforms.end()) {
    throw Refused(404, "not_found", fmt::format("{} isn't on {}.", app.name, platformName(platform)));
  }
  return platform;
}

Version& version(State& state, const App& app, const Call& call) {
  const auto on = platform(app, call);
  const auto number = call.param("version");
  if (number.empty()) throw Refused(400, "invalid_request", "The query names no version.");
  auto* const found = state.version(app.appId, on, number);
  if (found == nullptr) {
    throw Refused(404, "not_found",
                  fmt::format("App Store Connect has no version {} of {} for {}.", number, app.name, platformName(on)));
  }
  return *found;
}

std::string title(const App& app, const Version& version) {
  return fmt::format("{} {} for {}", app.name, version.version, platformName(version.platform));
}

} // namespace kestu::sandbox::Apps
