#include "cli/app_platform.hpp"

#include "cli/context.hpp"
#include "core/assets/asset_sending.hpp"
#include "core/console/printable.hpp"
#include "core/project/app_choice.hpp"
#include "core/project/platform.hpp"

#include <algorithm>
#include <utility>

namespace kestu {

AppOnPlatform AppOnPlatform::resolve(const Client& client, const AppTarget& app,
                                     const std::optional<std::string>& platform, const Context& context) {
  auto chosen = AppChoice::choose(app.app, fetchApps(client).value, context.folder);
  AppOnPlatform found;
  found.appId = chosen.app.appId;
  found.path = "/v1/apps/" + std::to_string(found.appId);
  found.platforms = std::move(chosen.app.platforms);
  found.primaryLocale = std::move(chosen.app.primaryLocale);
  found.name = std::move(chosen.app.name);
  found.bundleId = std::move(chosen.app.bundleId);
  found.foreign = chosen.foreign;
  const auto& on = found.platforms;
  auto first = std::find_first_of(kestu::platforms.begin(), kestu::platforms.end(), on.begin(), on.end());
  found.firstPlatform = first == kestu::platforms.end() ? kestu::platforms.front() : *first;
  found.platform = platform.value_or(found.firstPlatform);
  if (std::find(on.begin(), on.end(), found.platform) == on.end()) found.platforms.push_back(found.platform);
  return found;
}

std::string AppOnPlatform::appTitle() const {
  std::string title = name.empty() ? "App " + std::to_string(appId) : printable(name);
  return title + " (" + printable(bundleId) + (foreign ? ", not this repo's app)" : ")");
}

std::string AppOnPlatform::title(std::string_view version) const {
  return appTitle() + " " + printable(version) + " for " + platformLabel(platform);
}

Response<AssetCatalog> fetchCatalog(const Client& client, const AppOnPlatform& app) {
  return client.get(app.path + "/assets/catalog", {{"platform", app.platform}}, AssetCatalog::read);
}

AssetCatalog fetchCatalogs(const Client& client, const AppOnPlatform& app) {
  return AssetPush::catalogs(client, app.path, app.platforms);
}

} // namespace kestu
