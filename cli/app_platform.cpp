#include "cli/app_platform.hpp"

#include "cli/context.hpp"
#include "core/assets/asset_sending.hpp"
#include "core/project/app_choice.hpp"
#include "core/project/platform.hpp"

#include <algorithm>
#include <utility>

namespace kestu {

AppOnPlatform AppOnPlatform::resolve(const Client& client, const AppTarget& app,
                                     const std::optional<std::string>& platform, const Context& context) {
  auto apps = fetchApps(client).value;
  AppOnPlatform found;
  found.appId =
      app.app ? AppChoice::match(*app.app, apps).appId : AppChoice::resolve(std::nullopt, client, context.folder);
  found.path = "/v1/apps/" + std::to_string(found.appId);
  for (App& one : apps) {
    if (one.appId != found.appId) continue;
    found.platforms = std::move(one.platforms);
    found.primaryLocale = std::move(one.primaryLocale);
  }
  const auto& on = found.platforms;
  auto first = std::find_first_of(kestu::platforms.begin(), kestu::platforms.end(), on.begin(), on.end());
  found.firstPlatform = first == kestu::platforms.end() ? kestu::platforms.front() : *first;
  found.platform = platform.value_or(found.firstPlatform);
  if (std::find(on.begin(), on.end(), found.platform) == on.end()) found.platforms.push_back(found.platform);
  return found;
}

Response<AssetCatalog> fetchCatalog(const Client& client, const AppOnPlatform& app) {
  return client.get(app.path + "/assets/catalog", {{"platform", app.platform}}, AssetCatalog::read);
}

AssetCatalog fetchCatalogs(const Client& client, const AppOnPlatform& app) {
  return AssetPush::catalogs(client, app.path, app.platforms);
}

} // namespace kestu
