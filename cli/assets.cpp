#include "cli/context.hpp"
#include "cli/families.hpp"
#include "cli/options.hpp"
#include "core/assets/asset_catalog.hpp"
#include "core/assets/asset_push.hpp"
#include "core/assets/asset_scan.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/console/progress.hpp"
#include "core/project/app_choice.hpp"
#include "core/project/project.hpp"
#include "core/support/text.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace kestu {

namespace {

using Kind = CLIError::Kind;

/// The kinds that a command is about: one, or every one.
struct KindChoice {
  std::optional<AssetKind> only;

  std::vector<AssetKind> kinds() const {
    if (only) return {*only};
    return {allAssetKinds.begin(), allAssetKinds.end()};
  }
  std::string plural() const { return only ? std::string(facts(*only).plural) : "assets"; }
};

struct PlatformOption {
  std::optional<std::string> platform;

  void declare(Command& command) {
    command.option({{"--platform"},
                    "platform",
                    "ios or macos. The app's only one, or else ios, when left out.",
                    [this](const std::string& value) {
                      requireOneOf("--platform", value, {"ios", "macos"});
                      platform = value;
                    },
                    {"ios", "macos"},
                    false});
  }
};

/// Where a command's calls go: the app's path, and the platform that they are about.
struct Target {
  std::string path;
  std::string platform;
};

Target resolve(const Client& client, const AppTarget& app, const PlatformOption& option, const Context& context) {
  std::int64_t appId = AppChoice::resolve(app.app, client, context.folder);
  Target target{"/v1/apps/" + std::to_string(appId), option.platform.value_or("ios")};
  if (option.platform) return target;
  for (const App& one : fetchApps(client).value) {
    bool ios = std::find(one.platforms.begin(), one.platforms.end(), "ios") != one.platforms.end();
    if (one.appId == appId && !ios && !one.platforms.empty()) target.platform = one.platforms.front();
  }
  return target;
}

Response<AssetCatalog> fetchCatalog(const Client& client, const Target& target) {
  return client.get(target.path + "/assets/catalog", {{"platform", target.platform}}, AssetCatalog::read);
}

// push

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
                                     const AssetCatalog& catalog) {
  std::vector<std::string> groups;
  for (const std::string& name : names) {
    std::size_t before = groups.size();
    for (AssetKind kind : choice.kinds()) {
      AssetDisplays displays = catalog[kind];
      if (const AssetDisplay* display = displays.named(name)) groups.push_back(display->group);
    }
    if (groups.size() == before) {
      throw CLIError(Kind::usage, "No display is called " + printable(name) + ": kestu assets sizes lists them.");
    }
  }
  return groups;
}

/// What the repository has of the kinds, or a CLIError with all that keeps it from being sent.
AssetScan scan(Context& context, const PushOptions& options, const AssetCatalog& catalog, const Target& target) {
  auto root = Project::root(context.folder);
  ScanOptions scanOptions;
  scanOptions.platform = target.platform;
  scanOptions.locales = options.locales;
  scanOptions.groups = groupsNamed(options.displays, options.choice, catalog);
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

AssetsPlan fetchPlan(const Client& client, const Target& target, const Query& query, const PushOptions& options,
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
  std::size_t files = 0;
  std::uint64_t bytes = 0;
  int parts = 0;
};

Totals totals(const std::vector<AssetTransfer>& transfers) {
  Totals sum;
  for (const AssetTransfer& transfer : transfers) {
    ++sum.files;
    sum.bytes += static_cast<std::uint64_t>(transfer.file->size);
    sum.parts += static_cast<int>(transfer.upload->parts.size());
  }
  return sum;
}

std::string filesText(const Totals& sum, const std::string& after) {
  if (sum.files == 0) return after == "to upload" ? "nothing to upload" : "nothing uploaded";
  std::string files = sum.files == 1 ? "1 file" : Format::number(static_cast<std::int64_t>(sum.files)) + " files";
  return files + " (" + Format::bytes(sum.bytes) + ") " + after;
}

std::string platformName(const std::string& platform) {
  if (platform == "ios") return "iOS";
  if (platform == "macos") return "macOS";
  if (platform == "tvos") return "tvOS";
  if (platform == "visionos") return "visionOS";
  return printable(platform);
}

void upload(Context& context, const Client& client, const Target& target, const Query& query,
            const std::vector<AssetTransfer>& transfers) {
  if (transfers.empty()) return;
  Totals sum = totals(transfers);
  {
    Progress progress(context.console, context.clock, "Sending", sum.bytes, sum.parts);
    AssetPush::send(transfers, PartUploader(context.transport, context.clock), context.stop,
                    [&](const AssetFile&, std::uint64_t bytes) { progress.advance(bytes, 1); });
    progress.finish();
  }
  nlohmann::json ids = nlohmann::json::array();
  for (const AssetTransfer& transfer : transfers) ids.push_back(transfer.upload->assetId);
  client.checked(client.send("POST", target.path + "/assets/uploaded", query, Client::encoded({{"assetIds", ids}})));
}

void runPush(Context& context, const PushOptions& options) {
  Console& console = context.console;
  Client client = context.signedIn();
  Target target = resolve(client, options.app, options.platform, context);
  AssetCatalog catalog = fetchCatalog(client, target).value;
  AssetScan found = scan(context, options, catalog, target);
  for (const std::string& note : found.notes) console.error(printable(note));
  requireSendable(found, options);

  Query query = {{"version", options.version}, {"platform", target.platform}};
  std::string body;
  AssetsPlan plan = fetchPlan(client, target, query, options, found.sets, body);
  std::vector<AssetTransfer> transfers = AssetPush::transfers(plan, found.sets);
  Totals sum = totals(transfers);
  std::string version = printable(options.version) + " for " + platformName(target.platform);
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

// sizes

struct SizesOptions : TableOptions {
  KindChoice choice;
  AppTarget app;
  PlatformOption platform;
};

std::string sizesOf(const AssetDisplay& display) {
  std::vector<std::string> sizes = display.sizes(MediaType::image);
  for (const VideoSpec& spec : display.videos) {
    std::string details = spec.text();
    sizes.push_back(spec.dimensions.text() + (details.empty() ? "" : " (" + details + ")"));
  }
  return Text::joined(sizes, ", ");
}

Table sizesTable(const std::vector<AssetKind>& kinds, const AssetCatalog& catalog) {
  Table table;
  table.headings = {"Kind", "Display", "ID", "Most", "Sizes"};
  for (AssetKind kind : kinds) {
    for (const AssetDisplay& display : catalog[kind].displays) {
      table.rows.push_back({std::string(facts(kind).word), printable(display.name), printable(display.group),
                            std::to_string(display.max), sizesOf(display)});
    }
  }
  return table;
}

/// A paragraph for each kind, its sizes folded into the width that is left.
std::string sizesText(const std::vector<AssetKind>& kinds, const AssetCatalog& catalog, const Console& console) {
  std::string text;
  for (AssetKind kind : kinds) {
    std::vector<std::vector<std::string>> rows = {{"Display", "ID", "Most", "Sizes"}};
    for (std::string& heading : rows.front()) heading = console.style().dim(heading);
    for (const AssetDisplay& display : catalog[kind].displays) {
      rows.push_back(
          {printable(display.name), printable(display.group), std::to_string(display.max), sizesOf(display)});
    }
    if (rows.size() == 1) continue;
    std::string heading(facts(kind).plural);
    heading.front() = static_cast<char>(std::toupper(static_cast<unsigned char>(heading.front())));
    text += (text.empty() ? "" : "\n\n") + console.style().bold(heading) + "\n" + Format::table(rows);
  }
  return text.empty() ? "App Store Connect has no displays for these." : text;
}

void runSizes(Context& context, const SizesOptions& options) {
  Client client = context.signedIn();
  Target target = resolve(client, options.app, options.platform, context);
  auto catalog = fetchCatalog(client, target);
  std::vector<AssetKind> kinds = options.choice.kinds();
  options.write(context.console, catalog.body, sizesTable(kinds, catalog.value),
                sizesText(kinds, catalog.value, context.console));
}

// the tree

void addPush(Command& group, const KindChoice& choice) {
  Command& command =
      group.add("push", "Send the repo's " + choice.plural() +
                            " to a version, every language at once: each display shows the folder's, in its order.");
  if (!choice.only) command.discussion = "Every kind goes as one change.";
  auto options = std::make_shared<PushOptions>();
  options->choice = choice;
  command.argument({"version", "The version in App Store Connect, as 1.2.",
                    [options](const std::string& value) {
                      if (Text::trimmed(value).empty()) throw UsageError("The version is empty.");
                      options->version = value;
                    },
                    true});
  command.option({{"--locale"},
                  "locale",
                  "Only these languages, as en-US, several with commas (en-US,de-DE) or the flag again.",
                  [options](const std::string& value) { addWords(options->locales, value); },
                  {},
                  false});
  command.option({{"--display"},
                  "display",
                  "Only these displays, as iPhone Duo or IPHONE_DUO_PROFILE, several with commas or the flag again.",
                  [options](const std::string& value) { addWords(options->displays, value); },
                  {},
                  false});
  options->platform.declare(command);
  options->app.declare(command, false);
  options->ChangeOptions::declare(command);
  command.run = [options](Context& context) { runPush(context, *options); };
}

void addPull(Command& group, const KindChoice& choice) {
  Command& command = group.add("pull", "Download a version's " + choice.plural() +
                                           " from App Store Connect into the repo, each display's in its order.");
  command.takesAnything = true;
  command.discussion = "This command isn't in this version of kestu yet.";
  command.argument({"version", "The version in App Store Connect, as 1.2.", [](const std::string&) {}, false});
  command.run = [path = command.path](Context&) {
    throw CLIError(Kind::failed, path + " isn't in this version of kestu yet.");
  };
}

void addSizes(Command& group, const KindChoice& choice) {
  Command& command = group.add("sizes", "Apple's displays for " + choice.plural() +
                                            ", as App Store Connect has them now, and the sizes each takes.");
  auto options = std::make_shared<SizesOptions>();
  options->choice = choice;
  options->platform.declare(command);
  options->app.declare(command, false);
  options->TableOptions::declare(command);
  command.run = [options](Context& context) { runSizes(context, *options); };
}

void addAll(Command& group, const KindChoice& choice) {
  addPush(group, choice);
  addPull(group, choice);
  addSizes(group, choice);
}

} // namespace

void addAssets(Command& command) {
  addAll(command, {});
  for (AssetKind kind : allAssetKinds) {
    std::string plural(facts(kind).plural);
    Command& group = command.add(std::string(facts(kind).word), "Only the " + plural + ": push, pull and sizes.");
    addAll(group, {kind});
  }
}

} // namespace kestu
