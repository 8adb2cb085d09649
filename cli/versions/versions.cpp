#include "cli/versions/versions.hpp"

#include "cli/families.hpp"
#include "cli/metadata/metadata.hpp"
#include "cli/unchanged.hpp"
#include "core/builds/build_number.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/project/platform.hpp"
#include "core/support/moments.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <memory>
#include <utility>

namespace kestu {

using Kind = CLIError::Kind;

void VersionTarget::declarePlace(Command& command) {
  declarePlatform(command, platform);
  app.declare(command);
}

void VersionTarget::declare(Command& command, const std::string& help, bool required) {
  declareVersion(command, help, required, [this](std::string given) { version = std::move(given); });
  declarePlace(command);
}

Versions::CommandTail commandTail(const AppTarget& app, const std::optional<std::string>& platform,
                                  const AppOnPlatform& on) {
  Versions::CommandTail tail;
  if (platform || on.platform != on.firstPlatform) tail.platform = " --platform " + on.platform;
  if (app.app) tail.app = " --app " + Format::shellWord(printable(*app.app));
  return tail;
}

VersionsFound VersionsFound::on(const Context& context, const VersionTarget& target) {
  Client client = context.signedIn();
  Console::Busy busy(context.console);
  auto app = AppOnPlatform::resolve(client, target.app, target.platform, context);
  auto all = Versions::fetch(client, app.path, app.platform).value;
  auto tail = commandTail(target.app, target.platform, app);
  return {std::move(client), std::move(app), std::move(all), std::move(tail)};
}

const StoreVersion& VersionsFound::named(const std::string& number) const {
  if (const StoreVersion* found = Versions::find(all, number, app.platform)) return *found;
  throw CLIError(Kind::notFound, "App Store Connect has no " + printable(number) + " for " +
                                     platformLabel(app.platform) + " yet: " + line("release prepare", number) +
                                     " makes it.");
}

ChangeRequest VersionsFound::request(const StoreVersion& version, const std::string& word,
                                     const std::optional<JSONData>& body) const {
  std::string path = app.path + "/versions/" + percentEncoded(version.versionId) + (word.empty() ? "" : "/" + word);
  return {"POST", path, {}, body ? std::optional(body->compact()) : std::nullopt};
}

std::string VersionsFound::line(const std::string& command, const std::string& number) const {
  return "kestu " + command + " " + Format::shellWord(printable(number)) + tail.all();
}

namespace {

// list

struct ListOptions : TableOptions {
  std::optional<std::string> platform;
  AppTarget app;
};

std::string buildText(const StoreVersion& version) { return version.build ? printable(version.build->number) : ""; }

Table versionsTable(const std::vector<StoreVersion>& all) {
  Table table;
  table.headings = {"Version", "Platform", "State", "Build", "Release", "Earliest", "Phased", "Made", "ID"};
  for (const StoreVersion& each : all) {
    table.rows.push_back({each.number(), printable(each.platform), Versions::stateText(each, TextStyles(false)),
                          buildText(each), printable(each.releaseType.value_or("")),
                          each.earliestReleaseDate ? Moments::iso8601(*each.earliestReleaseDate) : "",
                          each.phased ? printable(each.phasedState.value_or("yes")) : "no",
                          Moments::iso8601(each.createdAt), printable(each.versionId)});
  }
  return table;
}

bool fits(const std::string& text, int width) {
  auto lines = Text::split(TextStyle::plain(text), '\n');
  return std::all_of(lines.begin(), lines.end(),
                     [&](const std::string& line) { return Text::columns(line) <= static_cast<std::size_t>(width); });
}

/// What comes next: for the version that is on its way, or else the number after the newest one's.
std::string nextLine(const std::vector<StoreVersion>& all, const ListOptions& options, const AppOnPlatform& app) {
  for (std::string_view platform : platforms) {
    AppOnPlatform there = app;
    there.platform = platform;
    auto tail = commandTail(options.app, options.platform, there);
    if (const StoreVersion* next = Versions::underWay(all, there.platform)) return Versions::nextCommand(*next, tail);
  }
  return "kestu versions create " + BuildNumber::next({all.front().version}) +
         commandTail(options.app, options.platform, app).all();
}

std::string versionsText(const std::vector<StoreVersion>& all, const Console& console, Moment now) {
  std::vector<std::vector<std::string>> rows = {{"Version", "Platform", "State", "Build", "Made"}};
  for (std::string& heading : rows.front()) heading = console.style().bold(heading);
  std::string narrow;
  for (const StoreVersion& each : all) {
    std::string state = Versions::stateText(each, console.style());
    std::string made = Format::ago(each.createdAt, now);
    rows.push_back({each.number(), platformLabel(each.platform), state, buildText(each), made});
    std::string rest = state + (each.build ? ", build " + buildText(each) : "") + ", made " + made;
    narrow += (narrow.empty() ? "" : "\n") + console.style().bold(each.title()) + "\n" +
              TextStyle::wrap("  " + rest, console.width(), 2);
  }
  std::string text = Format::table(rows);
  return console.isTerminal(Stream::out) && !fits(text, console.width()) ? narrow : text;
}

void runList(Context& context, const ListOptions& options) {
  Client client = context.signedIn();
  auto app = AppOnPlatform::resolve(client, options.app, options.platform, context);
  auto answer = Versions::fetch(client, app.path, options.platform);
  std::string text;
  if (!options.quiet()) {
    std::string on = options.platform ? " for " + platformLabel(*options.platform) : "";
    text = answer.value.empty() ? "No versions" + on + " yet: kestu versions create 1.0" +
                                      commandTail(options.app, options.platform, app).all() + " makes the first."
                                : versionsText(answer.value, context.console, context.clock.now()) +
                                      "\nNext: " + nextLine(answer.value, options, app);
  }
  options.write(context.console, answer.body, versionsTable(answer.value), text);
}

// create

struct VersionChangeOptions : ChangeOptions {
  VersionTarget target;
};

void runCreate(Context& context, const VersionChangeOptions& options) {
  VersionsFound found = VersionsFound::on(context, options.target);
  const std::string& number = *options.target.version;
  std::string title = printable(number) + " for " + platformLabel(found.app.platform);
  std::string prepare = found.line("release prepare", number);
  if (const StoreVersion* there = Versions::find(found.all, number, found.app.platform)) {
    if (!there->takesUpdate()) throw Versions::refusal(*there, "the next one needs another number", found.tail);
    return tellUnchanged(context, options,
                         "✓ App Store Connect has " + title + " already, " + there->stateText() +
                             ": nothing sent.\nNext: " + Versions::nextCommand(*there, found.tail));
  }
  if (const StoreVersion* other = Versions::underWay(found.all, found.app.platform)) {
    std::string one =
        other->title() + " is " + other->stateText() + ", and Apple allows one version being prepared at a time";
    if (!other->takesUpdate()) throw CLIError(Kind::failed, one + ". " + Versions::advice(*other, found.tail));
    throw CLIError(Kind::failed,
                   one + ": " + prepare + " renames it" +
                       (other->sent ? "" : ", " + found.line("versions delete", other->version) + " deletes it") + ".");
  }
  JSONData body = JSONData::object({{"platform", found.app.platform}, {"version", number}});
  ProposedChange change;
  change.title = "Make " + found.app.title(number) + ".";
  change.items = {{title, "version", std::nullopt, number}};
  change.would = "Dry run: would make " + found.app.title(number) + ".";
  change.done = "✓ Made " + title + ".\nNext: " + prepare;
  change.waits = false;
  options.make(context, found.client, {"POST", found.app.path + "/versions", {}, body.compact()}, change);
}

// delete

/// The version of that number on the one platform that has it.
const StoreVersion& onOnePlatform(const std::vector<StoreVersion>& all, const VersionTarget& target) {
  const StoreVersion* found = nullptr;
  std::vector<std::string> labels;
  for (const StoreVersion& each : all) {
    if (each.version != *target.version || (target.platform && each.platform != *target.platform)) continue;
    found = &each;
    labels.push_back(platformLabel(each.platform));
  }
  std::string number = printable(*target.version);
  std::string on = target.platform ? " for " + platformLabel(*target.platform) : "";
  if (!found)
    throw CLIError(Kind::notFound, "App Store Connect has no " + number + on + ": kestu versions list shows them.");
  if (labels.size() == 1) return *found;
  throw CLIError(Kind::usage,
                 number + " is on several platforms, " + Text::joined(labels, ", ") + ": name one with --platform.");
}

void runDelete(Context& context, const VersionChangeOptions& options) {
  Client client = context.signedIn();
  auto app = AppOnPlatform::resolve(client, options.target.app, options.target.platform, context);
  auto all = Versions::fetch(client, app.path, options.target.platform).value;
  const StoreVersion& version = onOnePlatform(all, options.target);
  app.platform = version.platform;
  auto tail = commandTail(options.target.app, options.target.platform, app);
  if (version.sent || !version.takesUpdate()) {
    throw CLIError(Kind::failed, version.title() + " was sent to App Review, so it can't be deleted: " +
                                     (version.takesUpdate() ? "kestu release prepare with the next number renames it."
                                                            : "it's " + version.stateText() + "."));
  }
  ChangeRequest request{"DELETE", app.path + "/versions/" + percentEncoded(version.versionId), {}, std::nullopt};
  ProposedChange change;
  change.title = "Delete " + app.title(version.version) + ", with its texts and assets. Can't be undone.";
  change.items = {{version.title(), "version", version.version, std::nullopt}};
  change.would = "Dry run: would delete " + app.title(version.version) + ", after your approval.";
  change.done = "✓ Deleted " + version.title() + ".\nNext: kestu versions list" + tail.app;
  options.make(context, client, request, change);
}

void addChange(Command& command, const std::string& help, void (*run)(Context&, const VersionChangeOptions&)) {
  auto options = std::make_shared<VersionChangeOptions>();
  options->target.declare(command, help);
  options->ChangeOptions::declare(command);
  command.run = [options, run](Context& context) { run(context, *options); };
}

} // namespace

void addVersions(Command& command) {
  command.discussion = "kestu release prepare 1.2 makes a version too, and gets it ready for App Review from the repo.";
  command.example("list", "The app's versions, and where each is.");
  command.example("delete 1.2 --platform ios --dry-run", "What deleting one would do; nothing is sent.");
  Command& list = command.add("list", "The app's versions on every platform, and where each is.");
  auto options = std::make_shared<ListOptions>();
  std::vector<std::string> words(platforms.begin(), platforms.end());
  list.option({{"--platform"},
               "platform",
               "Only one platform's: ios, macos, tvos or visionos.",
               [options, words](const std::string& value) {
                 requireOneOf("--platform", value, words);
                 options->platform = value;
               },
               words,
               false});
  options->app.declare(list);
  options->TableOptions::declare(list);
  list.run = [options](Context& context) { runList(context, *options); };
  Command& create =
      command.add("create", "Make the next version on a platform. Apple allows one being prepared at a time.");
  addChange(create, "The version, as 1.2.", runCreate);
  create.example("1.2 --app Ledger", "Makes 1.2 of another app than the repo's, once you answer yes.");
  create.example("1.2 --app Ledger --platform macos --yes", "The same for one platform, without a question.");
  Command& remove = command.add("delete", "Delete a version never sent to App Review. Can't be undone, so it waits for "
                                          "your approval.");
  addChange(remove, "The version, as 1.2.", runDelete);
  remove.example("1.2 --platform ios --dry-run", "What would go; nothing is sent.");
  list.example("--platform ios", "The versions for iOS, newest first.");
  list.example("-o csv", "All of them for a spreadsheet.");
}

} // namespace kestu
