#include "cli/check_options.hpp"

#include "cli/context.hpp"
#include "cli/metadata.hpp"
#include "core/console/printable.hpp"
#include "core/listing/metadata.hpp"
#include "core/project/app_choice.hpp"
#include "core/project/git.hpp"
#include "core/project/project.hpp"
#include "core/release/finding_table.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace kestu {

void CheckOptions::declare(Command& command) {
  declarePlatform(command, platform);
  layout.declare(command);
  app.declare(command, false);
  command.flag({"--strict"}, strict, "Exit 1 on a warning too.");
  TableOptions::declare(command);
}

void CheckOptions::write(Context& context, const Findings& findings) const {
  if (findings.empty() && !quiet()) return;
  Console& console = context.console;
  std::optional<int> width;
  if (console.isTerminal(Stream::out)) width = console.width();
  TableOptions::write(console, JSON::compact(encoded(findings)), ReleaseCheck::rows(findings),
                      ReleaseCheck::table(findings, console.style(), width));
}

CheckedApp CheckedApp::find(const Client& client, const CheckOptions& options, const Context& context) {
  CheckedApp found;
  found.appId = AppChoice::resolve(options.app.app, client, context.folder);
  found.path = "/v1/apps/" + std::to_string(found.appId);
  found.platform = options.platform.value_or("ios");
  for (const App& one : fetchApps(client).value) {
    if (one.appId != found.appId) continue;
    found.primaryLocale = one.primaryLocale;
    if (options.platform) continue;
    auto first = std::find_first_of(Metadata::platforms.begin(), Metadata::platforms.end(), one.platforms.begin(),
                                    one.platforms.end());
    if (first != Metadata::platforms.end()) found.platform = *first;
  }
  return found;
}

AssetCatalog fetchAssetCatalog(const Client& client, const CheckedApp& app) {
  return client.get(app.path + "/assets/catalog", {{"platform", app.platform}}, AssetCatalog::read).value;
}

void warnOfTrackedPassword(Context& context, const RepoListing& listing) {
  SystemGit git(context.stop);
  auto file = Metadata::trackedPasswordFile(listing, context.environment, Project::root(context.folder), git);
  if (file) context.console.error(printable(Metadata::trackedPasswordWarning(*file)));
}

} // namespace kestu
