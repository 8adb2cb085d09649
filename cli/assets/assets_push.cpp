#include "cli/assets/assets.hpp"
#include "core/assets/asset_push.hpp"
#include "core/assets/asset_scan.hpp"
#include "core/assets/asset_walk.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/console/progress.hpp"
#include "core/project/platform.hpp"
#include "core/project/project.hpp"
#include "core/support/text.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <memory>
#include <mutex>
#include <utility>

namespace kestu {

namespace {

using Kind = CLIError::Kind;

struct PushOptions : ChangeOptions {
  KindChoice choice;
  AppTarget app;
  PlatformOption platform;
  std::string version;
  std::vector<std::string> locales;
  std::vector<std::string> displays;
};

/// The IDs of the displays named, each of which must be a display of one of the kinds.
std::vector<std::string> groupsNamed(const std::vector<std::string>& names, const KindChoice& choice,
                                     const AssetCatalog& catalog, const std::string& platform) {
  ScanOptions ofPlatform;
  ofPlatform.platform = platform;
  std::vector<std::string> groups;
  for (const std::string& name : names) {
    std::size_t before = groups.size();
    std::string unknown;
    for (AssetKind kind : choice.kinds()) {
      DisplayChoice displays(catalog[kind], ofPlatform);
      if (unknown.empty() || !displays.all().sharing(name).empty()) unknown = displays.unknown(name);
      if (const AssetDisplay* display = displays.named(name)) groups.push_back(display->group);
    }
    if (groups.size() == before) {
      throw CLIError(Kind::usage, printable(unknown));
    }
  }
  return groups;
}

/// What the repository has of the kinds, or a CLIError with all that keeps it from being sent.
AssetScan scan(Context& context, const PushOptions& options, const AssetCatalog& catalog, const AppOnPlatform& target) {
  auto root = Project::root(context.folder);
  ScanOptions scanOptions;
  scanOptions.platform = target.platform;
  scanOptions.locales = options.locales;
  scanOptions.groups = groupsNamed(options.displays, options.choice, catalog, target.platform);
  scanOptions.hashing = true;
  scanOptions.probe = context.probe;
  scanOptions.stop = context.stop;
  AssetScan all;
  Console::Busy busy(context.console);
  for (AssetKind kind : options.choice.kinds()) {
    AssetScan one = Assets::sets(kind, root, catalog, scanOptions);
    all.sets.insert(all.sets.end(), one.sets.begin(), one.sets.end());
    all.problems.insert(all.problems.end(), one.problems.begin(), one.problems.end());
    all.notes.insert(all.notes.end(), one.notes.begin(), one.notes.end());
  }
  return all;
}

void requireSendable(const AssetScan& scan, const PushOptions& options) {
  if (!scan.problems.empty()) {
    std::string message = "Apple wouldn't take these, so nothing was sent:";
    for (const std::string& problem : scan.problems) message += "\n" + printable(problem);
    throw CLIError(Kind::failed, message);
  }
  if (!scan.sets.empty()) return;
  std::string wanted;
  if (!options.locales.empty()) wanted += " for " + printable(Text::joined(options.locales, ", "));
  if (!options.displays.empty()) wanted += " on " + printable(Text::joined(options.displays, ", "));
  std::string folder(facts(options.choice.only.value_or(AssetKind::screenshots)).folders.front());
  throw CLIError(Kind::notFound, "This repo has no " + options.choice.plural() + wanted +
                                     ", so nothing was sent. They go in " + folder +
                                     "/<locale>/<display>/: kestu assets sizes lists the displays.");
}

AssetsPlan fetchPlan(const Client& client, const AppOnPlatform& target, const Query& query, const PushOptions& options,
                     const std::vector<AssetSet>& sets, std::string& body) {
  Query planQuery = query;
  if (options.dryRun) planQuery.push_back(Client::dryRun);
  std::string request = Client::encoded(AssetPush::planned(sets));
  body = client.checked(client.send("POST", target.path + "/assets", planQuery, request));
  try {
    AssetsPlan plan = AssetsPlan::read(JSONValue::parse(body));
    for (const AssetSet& set : sets) AssetPush::displayOf(plan, set);
    return plan;
  } catch (const JSONError&) {
    throw CLIError(Kind::unavailable,
                   "kestu's answer for the " + options.choice.plural() +
                       " wasn't what this version of the CLI expects. Update the CLI, or try again.");
  }
}

std::string displayChange(const PlannedDisplay& display) {
  std::vector<std::string> parts;
  auto add = [&](const std::optional<std::int64_t>& count, const std::string& word) {
    if (count.value_or(0) > 0) parts.push_back(Format::number(*count) + " " + word);
  };
  add(display.added, "added");
  add(display.removed, "removed");
  add(display.moved, "moved");
  add(display.framed, display.framed == 1 ? "poster frame" : "poster frames");
  return parts.empty() ? "changed" : Text::joined(parts, ", ");
}

/// A line for each display that changes.
std::string planLines(const AssetsPlan& plan, const std::vector<AssetSet>& sets, const Console& console) {
  std::vector<std::vector<std::string>> rows;
  for (const AssetSet& set : sets) {
    const PlannedDisplay& display = AssetPush::displayOf(plan, set);
    if (display.unchanged) continue;
    rows.push_back({"  " + console.style().bold(printable(set.locale)), printable(set.display.name),
                    counted(set.kind, set.files.size()), displayChange(display)});
  }
  return Format::table(rows);
}

struct Totals {
  int files = 0;
  std::uint64_t bytes = 0;
};

Totals totals(const std::vector<AssetTransfer>& transfers) {
  Totals sum;
  for (const AssetTransfer& transfer : transfers) {
    ++sum.files;
    sum.bytes += static_cast<std::uint64_t>(transfer.file->size);
  }
  return sum;
}

std::string filesText(const Totals& sum, const std::string& after) {
  if (sum.files == 0) return after == "to upload" ? "nothing to upload" : "nothing uploaded";
  std::string files = sum.files == 1 ? "1 file" : Format::number(sum.files) + " files";
  return files + " (" + Format::bytes(sum.bytes) + ") " + after;
}

/// Tells the service which files have arrived: now and then, so that a push which is cut off needn't send them again,
/// and in the end.
class Arrivals {
 public:
  Arrivals(const Client& client, const AppOnPlatform& target, const Query& query)
      : client_(client), path_(target.path + "/assets/uploaded"), query_(query), begun_(now()), told_(begun_) {}

  void add(const std::string& assetId) {
    std::vector<std::string> ids;
    {
      std::lock_guard lock(mutex_);
      waiting_.push_back(assetId);
      if (now() - told_ < pause()) return;
      ids = std::exchange(waiting_, {});
      told_ = now();
    }
    tell(client_, ids);
  }

  void tellAll() { tell(client_, std::exchange(waiting_, {})); }

  /// In an end that wasn't meant to come; what keeps it from being told is of no use to the user.
  void tellBeforeTheEnd() {
    try {
      tell(client_.unstopped(), std::exchange(waiting_, {}));
    } catch (const std::exception&) {
    }
  }

 private:
  std::chrono::nanoseconds now() const { return client_.context().clock.continuous(); }

  /// Seldom enough that a long push spends no more calls on it than a short one.
  std::chrono::nanoseconds pause() const {
    return std::max<std::chrono::nanoseconds>(std::chrono::seconds(2), (now() - begun_) / 20);
  }

  void tell(const Client& client, const std::vector<std::string>& ids) const {
    if (!ids.empty()) client.checked(client.send("POST", path_, query_, Client::encoded({{"assetIds", ids}})));
  }

  const Client& client_;
  const std::string path_;
  const Query& query_;
  const std::chrono::nanoseconds begun_;
  std::mutex mutex_; // guards what follows
  std::vector<std::string> waiting_;
  std::chrono::nanoseconds told_;
};

void upload(Context& context, const Client& client, const AppOnPlatform& target, const Query& query,
            const std::vector<AssetTransfer>& transfers) {
  if (transfers.empty()) return;
  Totals sum = totals(transfers);
  Arrivals arrivals(client, target, query);
  try {
    Progress progress(context.console, context.clock, "Sending", sum.bytes, sum.files, {"file", "files"});
    AssetPush::send(
        transfers, PartUploader(context.transport, context.clock), context.stop,
        [&](const AssetFile& file, std::int64_t bytes) { progress.advance(bytes, 0, printable(file.name)); },
        [&](const AssetTransfer& transfer) {
          progress.advance(0, 1);
          arrivals.add(transfer.upload->assetId);
        });
  } catch (const std::exception&) {
    arrivals.tellBeforeTheEnd();
    throw;
  }
  arrivals.tellAll();
}

void runPush(Context& context, const PushOptions& options) {
  Console& console = context.console;
  Client client = context.signedIn();
  AppOnPlatform target = AppOnPlatform::resolve(client, options.app, options.platform.platform, context);
  AssetCatalog catalog = fetchCatalogs(client, target, context.stop);
  AssetScan found = scan(context, options, catalog, target);
  for (const std::string& note : found.notes) console.error(printable(note));
  requireSendable(found, options);

  Query query = {{"version", options.version}, {"platform", target.platform}};
  std::string body;
  AssetsPlan plan = fetchPlan(client, target, query, options, found.sets, body);
  std::vector<AssetTransfer> transfers = AssetPush::transfers(plan, found.sets);
  Totals sum = totals(transfers);
  std::string version = printable(options.version) + " for " + platformLabel(target.platform);
  if (plan.unchanged()) {
    options.emitBody(console, body,
                     "✓ " + version + " shows these " + options.choice.plural() +
                         " already: nothing to upload, nothing to change.");
    return;
  }
  std::string lines = planLines(plan, found.sets, console);
  if (options.dryRun) {
    options.say(console, lines);
    options.emitBody(console, body,
                     "Dry run: " + version + " would show these, " + filesText(sum, "to upload") +
                         ", after your approval.");
    return;
  }
  options.confirm(context, version + ", " + filesText(sum, "to upload") + ", after your approval:\n" + lines, true);
  upload(context, client, target, query, transfers);
  ChangeRequest request{"POST", target.path + "/assets/commit", query,
                        Client::encoded(AssetPush::placed(plan, found.sets))};
  options.send(context, client, request,
               "✓ " + version + " shows the repo's " + options.choice.plural() + ", " + filesText(sum, "uploaded") +
                   ".");
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
