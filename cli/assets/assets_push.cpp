#include "cli/assets/assets.hpp"
#include "cli/before_sending.hpp"
#include "core/assets/asset_sending.hpp"
#include "core/assets/shown_assets.hpp"
#include "core/console/format.hpp"
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
  AssetLimits limits;
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

ProposedChange proposed(const AssetSending& sending, const AppOnPlatform& target, const PushOptions& options,
                        const std::string& version, const TextStyles& style) {
  AssetTotals totals = sending.totals();
  std::string title = target.title(options.version);
  ProposedChange change;
  change.sameAs = title + "\n" + AssetPush::planned(sending.sets()).compact(); // whatever is uploaded by now
  change.title = title + ", " + totals.toUpload() + ", after your approval:";
  change.lines = sending.lines(style);
  change.would = "Dry run: " + title + " would show these, " + totals.toUpload() + ", after your approval.";
  change.done = "✓ " + version + " shows the repo's " + options.choice.plural() + ", " + totals.uploaded() +
                ".\nNext: kestu release check " + Format::shellWord(options.version);
  if (target.platform != target.firstPlatform) change.done += " --platform " + target.platform;
  if (options.app.app) change.done += " --app " + Format::shellWord(*options.app.app);
  return change;
}

AssetSending planned(Context& context, const Client& client, const AppOnPlatform& target,
                     const AssetSelection& selection, const PushOptions& options) {
  Console& console = context.console;
  AssetCatalog catalog = AssetPush::catalogs(client, target.path, target.platforms);
  AssetScan found = scan(context, selection, catalog, target.platform);
  for (const std::string& note : found.notes) console.error(printable(note));
  AssetPush::requireSendable(found, selection, console.isTerminal(Stream::err) ? console.width() : 0);
  return AssetSending::plan(client, {target.path, target.platform, options.version}, std::move(found.sets),
                            selection.plural(), options.dryRun);
}

void runPush(Context& context, const PushOptions& options) {
  Console& console = context.console;
  Client client = context.signedIn();
  AppOnPlatform target = beforeSending(
      console, [&] { return AppOnPlatform::resolve(client, options.app, options.platform.platform, context); });
  AssetSelection selection{options.choice.kinds(), options.limits.locales, options.limits.displays};
  auto sending = beforeSending(console, [&] { return planned(context, client, target, selection, options); });
  std::string version = printable(options.version) + " for " + platformLabel(target.platform);
  ProposedChange change = proposed(sending, target, options, version, console.style());
  if (sending.unchanged()) {
    change.would =
        "✓ " + version + " shows these " + selection.plural() + " already: nothing to upload, nothing to change.";
    if (options.dryRun) return options.tellDryRun(context, change, sending.answer().compact());
    return options.emitBody(console, sending.answer().compact(), change.would);
  }
  if (options.dryRun) {
    if (options.quiet()) {
      Query of = AssetDestination{target.path, target.platform, options.version}.query();
      change.items = sending.changes(client.get(target.path + "/assets", of, ShownAssets::read).value);
    }
    return options.tellDryRun(context, change, sending.answer().compact());
  }
  options.confirm(context, change);
  sending.upload(client);
  options.send(context, client, sending.commit(), change);
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
  options->limits.declare(command);
  options->platform.declare(command);
  options->app.declare(command);
  options->ChangeOptions::declare(command);
  command.run = [options](Context& context) { runPush(context, *options); };
  command.example("1.2 --dry-run", "What each display would show, and nothing is sent.");
  command.example("1.2", "Shows what changes, asks, and sends it for your approval.");
  const bool hasDevices = !choice.only || *choice.only == AssetKind::screenshots || *choice.only == AssetKind::previews;
  if (hasDevices) {
    command.example("1.2 --locale en-US,de-DE --display \"iPhone 6.9\"", "One display in two languages.");
  } else {
    command.example("1.2 --locale en-US,de-DE", "Two languages alone.");
  }
}

} // namespace kestu
