#include "cli/assets/assets.hpp"
#include "core/assets/asset_pull.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/console/progress.hpp"
#include "core/project/platform.hpp"
#include "core/project/project.hpp"
#include "core/support/folder_lock.hpp"
#include "core/support/tasks.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <memory>

namespace kestu {

namespace {

struct PullOptions : GlobalOptions {
  KindChoice choice;
  AppTarget app;
  PlatformOption platform;
  std::string version;
  bool force = false;
};

struct Facts {
  AssetCatalog catalog;
  ShownAssets shown;
};

Facts fetch(const Context& context, const Client& client, const AppOnPlatform& target, const std::string& version) {
  Facts facts;
  fewAtOnce(2, 2, context.stop, [&](std::size_t index, const std::stop_token&) {
    if (index == 0) {
      facts.catalog = fetchCatalogs(client, target);
    } else {
      Query query = {{"version", version}, {"platform", target.platform}};
      facts.shown = client.get(target.path + "/assets", query, ShownAssets::read).value;
    }
  });
  return facts;
}

PullPlan planPull(Context& context, const PullOptions& options, const Facts& facts, const AppOnPlatform& target,
                  const std::filesystem::path& root) {
  auto link = Project::link(context.folder);
  ScanOptions scan;
  scan.platform = target.platform;
  scan.hashing = true;
  scan.probe = context.probe;
  scan.stop = context.stop;
  return context.console.during([&] {
    return AssetPull::plan(facts.shown, options.choice.kinds(), root, facts.catalog, scan,
                           link && link->assetFolderIDs());
  });
}

std::string counted(std::size_t count, const std::string& one, const std::string& many) {
  return Format::number(static_cast<std::int64_t>(count)) + " " + (count == 1 ? one : many);
}

/// "✓ Downloaded 12 files (34 MB), renamed 2 folders."
std::string done(const PullReport& report, const std::string& version, const std::string& plural) {
  std::vector<std::string> parts;
  if (!report.written.empty()) {
    parts.push_back("downloaded " + counted(report.written.size(), "file", "files") + " (" +
                    Format::bytes(report.bytes) + ")");
  }
  if (!report.folders.empty()) parts.push_back("renamed " + counted(report.folders.size(), "folder", "folders"));
  if (!report.merged.empty()) parts.push_back("merged " + counted(report.merged.size(), "folder", "folders"));
  if (!report.moved.empty()) parts.push_back("renamed " + counted(report.moved.size(), "file", "files"));
  if (!report.removed.empty()) parts.push_back("removed " + counted(report.removed.size(), "file", "files"));
  if (report.nothing()) {
    return "✓ The repo shows " + version + "'s " + plural + " already: nothing to download, nothing written.";
  }
  std::string line = "✓ The repo shows " + version + "'s " + plural;
  for (std::size_t i = 0; i < parts.size(); ++i) line += (i == 0 ? ": " : ", ") + parts[i];
  if (parts.empty()) line += ": updated " + Text::joined(report.bookkeeping, " and ");
  return line + ".\nNext: commit them with their pulled.json, which lets a push know them again.";
}

JSONData answer(const PullReport& report, const PullPlan& plan, const std::string& version,
                const std::string& platform) {
  auto pairs = [](const std::vector<std::pair<std::string, std::string>>& moves) {
    JSONData list = JSONData::array();
    for (const auto& [from, to] : moves) list.add(JSONData::object({{"from", from}, {"to", to}}));
    return list;
  };
  return JSONData::object({{"version", version},
                           {"platform", platform},
                           {"written", report.written},
                           {"bytes", report.bytes},
                           {"folders", pairs(report.folders)},
                           {"merged", pairs(report.merged)},
                           {"moved", pairs(report.moved)},
                           {"removed", report.removed},
                           {"updated", report.bookkeeping},
                           {"notes", plan.notes}});
}

PullReport carryOut(Context& context, const PullPlan& plan, const std::filesystem::path& root) {
  auto [files, bytes] = AssetPull::downloads(plan);
  auto go = [&](const AssetPull::Progress& progress) {
    return AssetPull::carryOut(plan, root, Downloader(context.transport, context.clock), context.stop, progress);
  };
  if (files == 0) return go([](const std::string&, std::int64_t, int) {});
  Progress progress(context.console, context.clock, "Downloading", bytes, files, {"file", "files"});
  return go([&](const std::string& path, std::int64_t more, int finished) {
    progress.advance(more, finished, printable(path.substr(path.rfind('/') + 1)));
  });
}

void runPull(Context& context, const PullOptions& options) {
  Console& console = context.console;
  Client client = context.signedIn();
  AppOnPlatform target = AppOnPlatform::resolve(client, options.app, options.platform.platform, context);
  auto root = Project::root(context.folder);
  FolderLock lock(root);
  if (lock.isTaken()) {
    throw CLIError(CLIError::Kind::failed,
                   "Another kestu assets pull is writing in this repo. Run it again when it's done.");
  }
  Facts facts = fetch(context, client, target, options.version);
  PullPlan plan = planPull(context, options, facts, target, root);
  std::string version = printable(options.version) + " for " + platformLabel(target.platform);
  if (!plan.conflicts.empty() && !options.force) {
    std::vector<std::string> files;
    for (const std::string& path : plan.conflicts) files.push_back(printable(path));
    throw CLIError::notWritten("App Store Connect doesn't show these for " + version, files);
  }
  for (const std::string& note : plan.notes) console.error(printable(note));
  bool shows =
      std::any_of(plan.kinds.begin(), plan.kinds.end(), [](const auto& kind) { return !kind.displays.empty(); });
  PullReport report = carryOut(context, plan, root);
  std::string line = shows || !report.nothing()
                         ? done(report, version, options.choice.plural())
                         : "App Store Connect shows no " + options.choice.plural() + " for " + version + " yet.";
  options.emit(console, answer(report, plan, options.version, target.platform), line);
}

} // namespace

void addAssetPull(Command& group, const KindChoice& choice) {
  Command& command = group.add("pull", "Download a version's " + choice.plural() +
                                           " from App Store Connect into the repo, each display's in its order.");
  command.discussion =
      "Each language's displays go in metadata/<kind>/<locale>/<display>/ as 01.jpg, 02.jpg… (a video as it comes) in "
      "App Store Connect's order: the folder the repo has for the display already, else one named as App Store Connect "
      "names it (iPhone 6.9), or as Apple's placement group after kestu config screenshot-folders ids. The repo's "
      "display folders named the other way are renamed first, or merged into the one already so named, never writing "
      "over a different file, which is left where it was and said; and each kind's pulled.json says which of Apple's "
      "assets each file is, so pushing them back sends nothing: commit it with them. A video's poster frame goes in "
      "its kind's frames.json. A display folder with other files in it is only written over with --force.";
  auto options = std::make_shared<PullOptions>();
  options->choice = choice;
  declareVersion(command, "The version in App Store Connect, as 1.2.", true,
                 [options](std::string version) { options->version = std::move(version); });
  command.flag({"--force"}, options->force, "Write over display folders that have other files in them.");
  options->platform.declare(command);
  options->app.declare(command, false);
  options->GlobalOptions::declare(command);
  command.run = [options](Context& context) { runPull(context, *options); };
}

} // namespace kestu
