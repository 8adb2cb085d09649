#include "cli/assets/assets.hpp"
#include "core/assets/asset_sending.hpp"
#include "core/console/printable.hpp"
#include "core/project/platform.hpp"
#include "core/project/project.hpp"

#include <memory>
#include <utility>

namespace kestu {

namespace {

struct PushOptions : ChangeOptions {
  KindChoice choice;
  AppTarget app;
  PlatformOption platform;
  std::string version;
  std::vector<std::string> locales;
  std::vector<std::string> displays;
};

AssetScan scan(Context& context, const AssetSelection& selection, const AssetCatalog& catalog,
               const std::string& platform) {
  ScanOptions options;
  options.platform = platform;
  options.probe = context.probe;
  options.stop = context.stop;
  return context.console.during(
      [&] { return AssetPush::scan(selection, Project::root(context.folder), catalog, options); });
}

void runPush(Context& context, const PushOptions& options) {
  Console& console = context.console;
  Client client = context.signedIn();
  AppOnPlatform target = AppOnPlatform::resolve(client, options.app, options.platform.platform, context);
  AssetSelection selection{options.choice.kinds(), options.locales, options.displays};
  AssetCatalog catalog = AssetPush::catalogs(client, target.path, target.platforms);
  AssetScan found = scan(context, selection, catalog, target.platform);
  for (const std::string& note : found.notes) console.error(printable(note));
  AssetPush::requireSendable(found, selection);

  AssetDestination destination{target.path, target.platform, options.version};
  auto sending = AssetSending::plan(client, destination, std::move(found.sets), selection.plural(), options.dryRun);
  AssetTotals totals = sending.totals();
  std::string version = printable(options.version) + " for " + platformLabel(target.platform);
  if (sending.unchanged()) {
    options.emitBody(console, sending.answer().compact(),
                     "✓ " + version + " shows these " + selection.plural() +
                         " already: nothing to upload, nothing to change.");
    return;
  }
  std::string lines = sending.lines(console.style());
  if (options.dryRun) {
    options.say(console, lines);
    options.emitBody(console, sending.answer().compact(),
                     "Dry run: " + version + " would show these, " + totals.toUpload() + ", after your approval.");
    return;
  }
  options.confirm(context, version + ", " + totals.toUpload() + ", after your approval:\n" + lines, true);
  sending.upload(client);
  options.send(context, client, sending.commit(),
               "✓ " + version + " shows the repo's " + selection.plural() + ", " + totals.uploaded() + ".");
}

} // namespace

void addAssetPush(Command& group, const KindChoice& choice) {
  Command& command =
      group.add("push", "Send the repo's " + choice.plural() +
                            " to a version, every language at once: each display shows the folder's, in its order.");
  if (!choice.only) command.discussion = "Every kind goes as one change.";
  auto options = std::make_shared<PushOptions>();
  options->choice = choice;
  declareVersion(command, "The version in App Store Connect, as 1.2.", true,
                 [options](std::string version) { options->version = std::move(version); });
  command.option({{"--locale"},
                  "locale",
                  "Only these languages, as en-US, several with commas (en-US,de-DE) or the flag again.",
                  [options](const std::string& value) {
                    addWords(options->locales, value);
                    if (options->locales.empty()) throw UsageError("--locale names no language.");
                  },
                  {},
                  false});
  command.option({{"--display"},
                  "display",
                  "Only these displays, as iPhone Duo or IPHONE_DUO_PROFILE, several with commas or the flag again.",
                  [options](const std::string& value) {
                    addWords(options->displays, value);
                    if (options->displays.empty()) throw UsageError("--display names no display.");
                  },
                  {},
                  false});
  options->platform.declare(command);
  options->app.declare(command, false);
  options->ChangeOptions::declare(command);
  command.run = [options](Context& context) { runPush(context, *options); };
}

} // namespace kestu
