#include "cli/metadata/metadata.hpp"

#include "cli/families.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/listing/metadata.hpp"
#include "core/project/platform.hpp"
#include "core/release/versions.hpp"
#include "core/support/text.hpp"

#include <algorithm>

namespace kestu {

namespace {

std::vector<std::string> platformWords() { return {platforms.begin(), platforms.end()}; }

/// The one version of the platform that can be edited.
std::string editableVersion(const Client& client, const std::string& appPath, const std::string& platform,
                            const std::string& command) {
  std::vector<std::string> found;
  for (const StoreVersion& each : Versions::fetch(client, appPath, platform).value) {
    if (each.platform == platform && each.takesUpdate()) found.push_back(printable(each.version));
  }
  if (found.size() == 1) return found.front();
  std::string why = found.empty() ? "no version of the app can be edited now"
                                  : "several versions can be edited, " + Text::joined(found, " and ");
  throw UsageError("Which version, as in " + command + " 1.2? For " + platformLabel(platform) + " " + why + ".");
}

} // namespace

void declarePlatform(Command& command, std::optional<std::string>& platform) {
  command.option({{"--platform"},
                  "platform",
                  "ios, macos, tvos or visionos. The app's only one, or else ios, when left out.",
                  [&platform](const std::string& value) {
                    requireOneOf("--platform", value, platformWords());
                    platform = value;
                  },
                  platformWords(),
                  false});
}

void MetadataChoice::declare(Command& command) {
  declareVersion(command, "The version in App Store Connect, as 1.2. The one that can be edited when left out.", false,
                 [this](std::string given) { version = std::move(given); });
  layout.declare(command);
  declareLocales(command, locales,
                 "Only these languages' text, as en-US, several with commas (en-US,de-DE) or the flag again.");
  declarePlatform(command, platform);
  app.declare(command);
}

MetadataTarget MetadataChoice::resolve(const Client& client, const Context& context, const std::string& command) const {
  auto on = AppOnPlatform::resolve(client, app, platform, context);
  MetadataTarget target;
  target.path = on.path + "/listing";
  target.platform = on.platform;
  for (std::string_view each : kestu::platforms) {
    if (std::find(on.platforms.begin(), on.platforms.end(), each) != on.platforms.end()) {
      target.platforms.emplace_back(each);
    }
  }
  target.version = version ? *version : editableVersion(client, on.path, target.platform, command);
  target.appTitle = on.title(target.version);
  return target;
}

void MetadataChoice::declareDiff(Command& command) {
  command.flag({"--diff"}, diff, "Show what differs word by word, in whole texts.");
}

std::string MetadataChoice::linesOf(const Context& context, const std::vector<ListingDifference>& differences,
                                    Stream where) const {
  Console& console = context.console;
  std::optional<int> width = console.isTerminal(where) ? std::optional(console.width()) : std::nullopt;
  return diff ? wordDifferencesText(differences, width, console.style())
              : differencesText(differences, width, console.style());
}

std::string MetadataChoice::commandFor(const std::string& words, const MetadataTarget& target) const {
  return "kestu " + words + " " + Format::shellWord(target.version) +
         (platform ? " --platform " + Format::shellWord(*platform) : "") +
         (app.app ? " --app " + Format::shellWord(*app.app) : "");
}

void addMetadata(Command& command) {
  addMetadataPull(command);
  addMetadataPush(command);
  addValidate(command);
  command.addNotBuilt("categories", "The app's App Store categories.");
  command.addNotBuilt("age-rating", "The app's age rating, and the answers it rests on.");
  addContentRights(command);
  command.example("pull", "The listing of the version that can be edited, as files.");
  command.example("push --dry-run", "After an edit: what would change; nothing is sent.");
}

} // namespace kestu
