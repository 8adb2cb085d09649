#include "core/project/project.hpp"

#include "cli/context.hpp"
#include "cli/families.hpp"
#include "cli/options.hpp"
#include "core/console/printable.hpp"
#include "core/console/table.hpp"
#include "core/project/app_choice.hpp"
#include "core/support/text.hpp"

#include <algorithm>

namespace kestu {

namespace {

Table appsTable(const std::vector<App>& apps, const std::optional<ProjectLink>& link) {
  Table table;
  table.headings = {"", "App", "App Store ID", "Bundle ID", "Platforms", "Language"};
  for (const App& app : apps) {
    bool linked = link && link->appId == app.appId;
    table.rows.push_back({linked ? "●" : "", printable(app.name), std::to_string(app.appId), printable(app.bundleId),
                          printable(Text::joined(app.platforms, ", ")), printable(app.primaryLocale)});
  }
  return table;
}

std::string appsText(Table table, const Console& console, bool linked) {
  if (table.rows.empty()) return "This sign-in covers none of your apps. Add one in the kestu app.";
  for (std::string& heading : table.headings) heading = console.style().bold(heading);
  table.rows.insert(table.rows.begin(), table.headings);
  std::string text =
      console.isTerminal(Stream::out) ? Format::folded(table.rows, 2, console.width()) : Format::table(table.rows);
  return text + (linked ? "\n● this repo's app" : "");
}

void runApps(Context& context, const TableOptions& options) {
  auto apps = fetchApps(context.signedIn());
  auto link = Project::link(context.folder);
  Table table = appsTable(apps.value, link);
  bool linked = link && std::any_of(apps.value.begin(), apps.value.end(),
                                    [&](const App& app) { return app.appId == link->appId; });
  std::string text = options.quiet() ? "" : appsText(table, context.console, linked);
  if (options.quiet()) table.headings[0] = "Linked";
  options.write(context.console, apps.body, table, text);
}

struct LinkOptions : GlobalOptions {
  std::optional<std::string> app;
  bool here = false;
};

void runLink(Context& context, const LinkOptions& options) {
  auto root = options.here ? context.folder : Project::root(context.folder);
  auto apps = fetchApps(context.signedIn()).value;
  const App& app = options.app ? AppChoice::match(*options.app, apps) : AppChoice::ofRepository(root, apps);
  Project::write(root, {app.appId, app.bundleId, std::nullopt, std::nullopt});
  options.emit(context.console,
               JSONData::object({{"appId", app.appId}, {"bundleId", app.bundleId}, {"name", app.name}}),
               std::string("✓ Linked this ") + (options.here ? "folder" : "repo") + " to " + app.described() +
                   "\nNext: kestu status");
}

ProjectLink linked(const Context& context) {
  auto link = Project::link(context.folder);
  if (!link) throw CLIError(CLIError::Kind::notFound, "This repo has no kestu.json: kestu link writes it.");
  return *link;
}

void runConfig(Context& context, const GlobalOptions& options) {
  ProjectLink link = linked(context);
  std::string folders = link.assetFolderIDs() ? "ids" : "names";
  std::string keywords = link.keywordCharacters() ? "characters" : "bytes";
  constexpr int unfolded = 10'000;
  options.emit(
      context.console,
      JSONData::object(
          {{"appId", link.appId}, {"bundleId", link.bundleId}, {"screenshotFolders", folders}, {"keywords", keywords}}),
      Format::facts({{"App", printable(link.bundleId) + " (" + std::to_string(link.appId) + ")"},
                     {"screenshot-folders", folders},
                     {"keywords", keywords}},
                    context.console.isTerminal(Stream::out) ? context.console.width() : unfolded));
}

struct FoldersOptions : GlobalOptions {
  std::string value;
};

void runFolders(Context& context, const FoldersOptions& options) {
  ProjectLink link = linked(context);
  link.assetFolders = options.value;
  Project::write(Project::root(context.folder), link);
  options.emit(context.console, JSONData::object({{"screenshotFolders", options.value}}),
               "✓ Set screenshot-folders to " + options.value);
}

struct KeywordsOptions : GlobalOptions {
  std::string value;
};

void runKeywords(Context& context, const KeywordsOptions& options) {
  ProjectLink link = linked(context);
  link.keywords = options.value;
  Project::write(Project::root(context.folder), link);
  options.emit(context.console, JSONData::object({{"keywords", options.value}}), "✓ Set keywords to " + options.value);
}

void addKeywords(Command& config) {
  Command& keywords =
      config.add("keywords", "How the limit of 100 of a language's keywords is counted: bytes, as Apple "
                             "says, or characters, as App Store Connect has been seen to.");
  auto chosen = std::make_shared<KeywordsOptions>();
  chosen->declare(keywords);
  keywords.argument({"bytes|characters",
                     "bytes or characters.",
                     [chosen](const std::string& value) {
                       requireOneOf("keywords", value, {"bytes", "characters"});
                       chosen->value = value;
                     },
                     true,
                     {"bytes", "characters"}});
  keywords.run = [chosen](Context& context) { runKeywords(context, *chosen); };
  keywords.example("characters", "Limits keywords to 100 characters rather than bytes, for this repo.");
}

} // namespace

void addApps(Command& command) {
  auto options = std::make_shared<TableOptions>();
  options->declare(command);
  command.run = [options](Context& context) { runApps(context, *options); };
  command.example("", "Every app that this sign-in covers.");
  command.example("-o csv", "The same for a spreadsheet.");
}

void addLink(Command& command) {
  auto options = std::make_shared<LinkOptions>();
  options->declare(command);
  command.argument({"app",
                    "The app: its App Store ID, bundle ID or name. Left out, the app is the one whose bundle ID this "
                    "repo's Xcode projects set.",
                    [options](const std::string& value) {
                      options->app = Text::trimmed(value);
                      if (options->app->empty()) throw UsageError("The app is empty.");
                    },
                    false});
  command.flag({"--here"}, options->here,
               "Write it in the current folder rather than at the repo's root, for a repo of several apps: from this "
               "folder on, kestu takes it for the app's root.");
  command.run = [options](Context& context) { runLink(context, *options); };
  command.example("", "The app whose bundle ID the Xcode project sets.");
  command.example("com.example.daylight", "An app by its bundle ID.");
  command.example("1234567890 --here", "One of several apps in a repo, from its own folder.");
}

void addConfig(Command& command) {
  auto options = std::make_shared<GlobalOptions>();
  command.discussion = "The app this repo is linked to, and its settings.";
  options->declare(command);
  command.run = [options](Context& context) { runConfig(context, *options); };
  Command& folders =
      command.add("screenshot-folders", "How assets pull names a display's folder: names (iPhone 6.9) or ids "
                                        "(IPHONE_DYNAMIC_ISLAND_LARGE_PROFILE).");
  auto chosen = std::make_shared<FoldersOptions>();
  chosen->declare(folders);
  folders.argument({"names|ids",
                    "names or ids.",
                    [chosen](const std::string& value) {
                      requireOneOf("screenshot-folders", value, {"names", "ids"});
                      chosen->value = value;
                    },
                    true,
                    {"names", "ids"}});
  folders.run = [chosen](Context& context) { runFolders(context, *chosen); };
  addKeywords(command);
  command.example("", "The linked app, and each setting.");
  folders.example("ids", "Folders are named as Apple's placement groups from now on.");
}

} // namespace kestu
