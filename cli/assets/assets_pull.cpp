#include "cli/assets/assets.hpp"
#include "core/assets/asset_pull.hpp"
#include "core/assets/asset_sending.hpp"
#include "core/changes/change_item.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/console/progress.hpp"
#include "core/project/platform.hpp"
#include "core/project/project.hpp"
#include "core/support/folder_lock.hpp"
#include "core/support/json_data.hpp"
#include "core/support/tasks.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kestu {

namespace {

struct PullOptions : GlobalOptions {
  KindChoice choice;
  AppTarget app;
  PlatformOption platform;
  std::string version;
  AssetLimits limits;
  bool force = false;
  bool dryRun = false;
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

PullPlan planPull(Context& context, const AssetSelection& selection, const Facts& facts, const AppOnPlatform& target,
                  const std::filesystem::path& root) {
  auto link = Project::link(context.folder);
  ScanOptions scan;
  scan.platform = target.platform;
  scan.locales = selection.locales;
  scan.groups = AssetPush::groups(selection, facts.catalog, scan);
  scan.hashing = true;
  scan.probe = context.probe;
  scan.stop = context.stop;
  return context.console.during([&] {
    return AssetPull::plan(facts.shown, selection.kinds, root, facts.catalog, scan, link && link->assetFolderIDs());
  });
}

std::string counted(std::size_t count, const std::string& one, const std::string& many) {
  return Format::number(static_cast<std::int64_t>(count)) + " " + (count == 1 ? one : many);
}

/// "metadata/screenshots and metadata/previews": where files came.
std::string kindFolders(const std::vector<std::string>& paths) {
  std::vector<std::string> folders;
  for (const std::string& path : paths) {
    std::string folder = path.substr(0, path.find('/', path.find('/') + 1));
    if (std::find(folders.begin(), folders.end(), folder) == folders.end()) folders.push_back(folder);
  }
  return Text::joined(folders, " and ");
}

/// Files of one's own that another takes the place of.
std::vector<std::string> replacedBy(const PullReport& report) {
  std::vector<std::string> paths;
  std::copy_if(report.removed.begin(), report.removed.end(), std::back_inserter(paths), [&](const std::string& path) {
    auto isTarget = [&](const auto& move) { return move.second == path; };
    return std::find(report.written.begin(), report.written.end(), path) != report.written.end() ||
           std::any_of(report.moved.begin(), report.moved.end(), isTarget);
  });
  return paths;
}

/// "downloaded 12 files (34 MB) into metadata/screenshots", "renamed 2 folders" and so on; of a dry run "download",
/// "rename".
std::vector<std::string> deeds(const PullReport& report, bool isDry) {
  std::vector<std::string> parts;
  const std::vector<std::string> replaced = replacedBy(report);
  auto add = [&](std::size_t count, const std::string& verb, const std::string& one, const std::string& many,
                 const std::string& after = "") {
    if (count > 0) parts.push_back(verb + (isDry ? " " : "d ") + counted(count, one, many) + after);
  };
  add(report.written.size(), isDry ? "download" : "downloade", "file", "files",
      " (" + Format::bytes(report.bytes) + ") into " + kindFolders(report.written));
  add(report.folders.size(), "rename", "folder", "folders");
  add(report.merged.size(), "merge", "folder", "folders");
  add(report.moved.size(), "rename", "file", "files");
  add(replaced.size(), "replace", "file", "files");
  add(report.removed.size() - replaced.size(), "remove", "file", "files");
  return parts;
}

/// "✓ The repo shows 1.2 for iOS's assets: downloaded 12 files (34 MB), renamed 2 folders."
std::string done(const PullReport& report, const std::string& version, const std::string& plural) {
  std::vector<std::string> parts = deeds(report, false);
  if (report.nothing()) {
    return "✓ The repo shows " + version + "'s " + plural + " already: nothing to download, nothing written.";
  }
  bool records = parts.empty();
  if (records) parts.push_back("updated " + Text::joined(report.bookkeeping, " and "));
  return "✓ The repo shows " + version + "'s " + plural + ": " + Text::joined(parts, ", ") + ".\nNext: commit " +
         (records ? "what was updated, which lets a push know the files again."
                  : "them with their pulled.json, which lets a push know them again.");
}

/// What each file and folder becomes, a line each.
std::vector<ChangeItem> items(const PullReport& report) {
  std::vector<ChangeItem> list;
  auto add = [&](const std::optional<std::string>& from, const std::optional<std::string>& to, const char* field) {
    const std::string& path = to ? *to : *from;
    list.push_back({path.substr(0, path.rfind('/')), field, from, to});
  };
  for (const auto* moves : {&report.folders, &report.merged}) {
    for (const auto& [from, to] : *moves) add(from, to, "folder");
  }
  for (const auto& [from, to] : report.moved) add(from, to, "file");
  const std::vector<std::string> replaced = replacedBy(report);
  auto isReplaced = [&](const std::string& path) {
    return std::find(replaced.begin(), replaced.end(), path) != replaced.end();
  };
  for (const std::string& path : report.written) {
    add(isReplaced(path) ? std::optional(path) : std::nullopt, path, "file");
  }
  for (const std::string& path : report.removed) {
    if (!isReplaced(path)) add(path, std::nullopt, "file"); // else it stands with what takes its place
  }
  return list;
}

std::string lines(const PullReport& report) {
  std::string text;
  for (const ChangeItem& item : items(report)) {
    if (item.from == item.to) {
      text += "  replaced " + printable(*item.to) + "\n";
      continue;
    }
    if (!item.from) text += "  new      " + printable(*item.to) + "\n";
    if (!item.to) text += "  removed  " + printable(*item.from) + "\n";
    if (item.from && item.to) text += "  renamed  " + printable(*item.from) + " → " + printable(*item.to) + "\n";
  }
  return text;
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
  std::atomic<int> came = 0;
  try {
    Progress progress(context.console, context.clock, "Downloading", bytes, files, {"file", "files"});
    return go([&](const std::string& path, std::int64_t more, int finished) {
      came += finished;
      progress.advance(more, finished, printable(path.substr(path.rfind('/') + 1)));
    });
  } catch (const Stopped&) {
    context.console.error("Stopped: " + Format::number(came) + " of " +
                          counted(static_cast<std::size_t>(files), "file", "files") +
                          " came and are kept. Run it again to go on from there.");
    throw;
  }
}

CLIError conflicting(const PullPlan& plan, const std::string& version) {
  std::string message = "App Store Connect doesn't show these for " + version + ", so nothing was written:\n";
  for (const std::string& path : plan.conflicts) message += "  " + printable(path) + "\n";
  return {CLIError::Kind::failed, message + "--force removes them, or writes over them."};
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
  AssetSelection selection{options.choice.kinds(), options.limits.locales, options.limits.displays};
  PullPlan plan = planPull(context, selection, facts, target, root);
  std::string version = printable(options.version) + " for " + platformLabel(target.platform);
  std::string plural = selection.plural() + selection.limits();
  if (!plan.conflicts.empty() && !options.force) throw conflicting(plan, version);
  for (const std::string& note : plan.notes) console.error(printable(note));
  bool shows =
      std::any_of(plan.kinds.begin(), plan.kinds.end(), [](const auto& kind) { return !kind.displays.empty(); });
  const std::string none = "App Store Connect shows no " + plural + " for " + version + " yet.";
  if (options.dryRun) {
    PullReport report = plan.report();
    report.bytes = AssetPull::downloads(plan).second;
    std::vector<std::string> parts = deeds(report, true);
    std::string would = parts.empty() ? "nothing to download, nothing to write" : "would " + Text::joined(parts, ", ");
    if (!options.quiet() && !report.nothing()) console.out(lines(report));
    JSONData data = answer(report, plan, options.version, target.platform).set("changes", changesData(items(report)));
    options.emitBody(console, data.compact(), shows || !parts.empty() ? "Dry run: " + would + "." : none);
    return;
  }
  PullReport report = carryOut(context, plan, root);
  if (!options.quiet()) {
    const std::vector<std::string> replaced = replacedBy(report);
    for (const std::string& path : report.removed) {
      bool isReplaced = std::find(replaced.begin(), replaced.end(), path) != replaced.end();
      console.line((isReplaced ? "  replaced " : "  removed  ") + printable(path));
    }
  }
  options.emitBody(console, answer(report, plan, options.version, target.platform).compact(),
                   shows || !report.nothing() ? done(report, version, plural) : none);
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
  options->limits.declare(command);
  command.flag({"--dry-run"}, options->dryRun, "Show what it would write and remove, and write nothing.");
  command.flag({"--force"}, options->force, "Write over display folders that have other files in them.");
  options->platform.declare(command);
  options->app.declare(command);
  options->GlobalOptions::declare(command);
  command.run = [options](Context& context) { runPull(context, *options); };
  command.example("1.2 --dry-run", "Which files it would write.");
  command.example("1.2", "Writes them below metadata.");
}

} // namespace kestu
