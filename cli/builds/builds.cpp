#include "cli/builds/builds.hpp"

#include "cli/context.hpp"
#include "cli/families.hpp"
#include "core/builds/build_number.hpp"
#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/console/text_style.hpp"
#include "core/project/app_choice.hpp"
#include "core/support/moments.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <charconv>
#include <memory>

namespace kestu {

using Kind = CLIError::Kind;

void BuildPlatform::declare(Command& command, const std::string& help) {
  std::vector<std::string> words(platforms.begin(), platforms.end());
  command.option({{"--platform"},
                  "platform",
                  help,
                  [this, words](const std::string& value) {
                    requireOneOf("--platform", value, words);
                    platform = value;
                  },
                  words,
                  false});
}

void WaitTime::declare(Command& command, const std::string& help) {
  command.option({{"--timeout"},
                  "minutes",
                  help + " 60 when left out.",
                  [this](const std::string& value) {
                    constexpr int aWeek = 7 * 24 * 60;
                    int minutes = -1;
                    auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), minutes);
                    bool whole = error == std::errc() && end == value.data() + value.size();
                    if (!whole || minutes < 0 || minutes > aWeek) {
                      throw UsageError("--timeout is a number of minutes from 0 to " + Format::number(aWeek) +
                                       ", not " + printable(value) + ".");
                    }
                    limit = std::chrono::minutes(minutes);
                    given = true;
                  },
                  {},
                  false});
}

void declareBuild(Command& command, std::optional<BuildReference>& build, const std::string& help, bool required) {
  command.argument({"build", help,
                    [&build](const std::string& value) {
                      if (Text::trimmed(value).empty()) throw UsageError("The build is empty.");
                      build = BuildReference::read(value);
                    },
                    required});
}

void BuildTarget::declare(Command& command) {
  declareBuild(command, build, "The build: its number (45), version and number (\"1.2 (45)\") or Apple's ID.", true);
  platform.declare(command, "ios, macos, tvos or visionos, where a number is on several.");
  app.declare(command);
}

std::string BuildTarget::next(const std::string& command, const ManagedBuild& about) const {
  // Another platform's build may have the same name, and some commands take iOS where none is said.
  return "kestu builds " + command + " " + BuildReference::of(about).word() + " --platform " +
         Format::shellWord(printable(about.platform)) + ofApp();
}

std::string BuildTarget::ofApp() const { return app.app ? " --app " + Format::shellWord(printable(*app.app)) : ""; }

std::string appPath(const Client& client, const AppTarget& app, const Context& context) {
  return "/v1/apps/" + std::to_string(AppChoice::resolve(app.app, client, context.folder));
}

namespace {

std::string forPlatform(const std::optional<std::string>& platform) {
  return platform ? " for " + platformLabel(*platform) : "";
}

// list

struct ListOptions : TableOptions {
  BuildPlatform platform;
  AppTarget app;
};

/// In the order of the app's groups.
std::string groupNames(const ManagedBuild& build, const std::vector<BuildGroup>& groups) {
  std::vector<std::string> names;
  for (const BuildGroup& group : groups) {
    bool in = std::find(build.groupIds.begin(), build.groupIds.end(), group.groupId) != build.groupIds.end();
    if (in) names.push_back(printable(group.name.value_or(group.groupId)));
  }
  return Text::joined(names, ", ");
}

Table buildsTable(const TestFlightBuilds& answer) {
  Table table;
  table.headings = {"Version", "Build", "Platform", "State", "Uploaded", "Expires", "Groups", "ID"};
  for (const ManagedBuild& build : answer.builds) {
    table.rows.push_back({printable(build.version.value_or("")), printable(build.number), printable(build.platform),
                          build.stateText(), Moments::iso8601(build.uploadedAt), Moments::iso8601(build.expiresAt),
                          groupNames(build, answer.groups), printable(build.buildId)});
  }
  return table;
}

std::string styledState(const ManagedBuild& build, const TextStyles& style) {
  std::string text = build.stateText();
  switch (build.stateKind()) {
  case BuildState::failed:
  case BuildState::invalid:
  case BuildState::betaRejected:
    return style.red(text);
  case BuildState::missingCompliance:
    return style.amber(text);
  case BuildState::readyForInternal:
  case BuildState::readyForExternal:
    return style.green(text);
  default:
    return build.stuck ? style.amber(text) : text;
  }
}

std::string buildsText(const TestFlightBuilds& answer, const ListOptions& options, const Console& console, Moment now) {
  if (answer.builds.empty()) {
    return "No builds" + forPlatform(options.platform.platform) + " yet: kestu builds upload sends one.";
  }
  std::vector<std::vector<std::string>> rows = {{"Build", "Platform", "State", "Uploaded", "Expires", "Groups"}};
  for (std::string& heading : rows.front()) heading = console.style().bold(heading);
  for (const ManagedBuild& build : answer.builds) {
    bool stays = build.testable() || build.stateKind() == BuildState::missingCompliance;
    rows.push_back({build.text(), platformLabel(build.platform), styledState(build, console.style()),
                    Format::ago(build.uploadedAt, now), stays ? Format::moment(build.expiresAt, now) : "",
                    groupNames(build, answer.groups)});
    while (rows.back().back().empty()) rows.back().pop_back();
  }
  std::string text = console.isTerminal(Stream::out) ? Format::folded(rows, 3, console.width()) : Format::table(rows);
  auto unanswered = std::find_if(answer.builds.begin(), answer.builds.end(), [](const ManagedBuild& build) {
    return build.stateKind() == BuildState::missingCompliance && build.canDeclareExempt;
  });
  if (unanswered == answer.builds.end()) return text;
  BuildTarget target{std::nullopt, options.platform, options.app};
  return text + "\nNext: " + target.next("compliance", *unanswered);
}

void runList(Context& context, const ListOptions& options) {
  Client client = context.signedIn();
  auto answer = Builds::fetch(client, appPath(client, options.app, context), options.platform.platform);
  std::string text = options.quiet() ? "" : buildsText(answer.value, options, context.console, context.clock.now());
  options.write(context.console, answer.body, buildsTable(answer.value), text);
}

// latest and next-number

struct NewestOptions : GlobalOptions {
  BuildPlatform platform;
  AppTarget app;
  std::optional<std::string> version;

  std::string platformOrFirst() const { return platform.platform.value_or("ios"); }
};

void runLatest(Context& context, const NewestOptions& options) {
  Client client = context.signedIn();
  std::string platform = options.platformOrFirst();
  auto answer = Builds::fetch(client, appPath(client, options.app, context), platform);
  JSONValue json = JSONValue::parse(answer.body).at("builds");
  // A file that Apple hasn't got whole may never become a build.
  for (std::size_t at = 0; at < answer.value.builds.size(); ++at) {
    const ManagedBuild& build = answer.value.builds[at];
    if (build.platform != platform || build.stateKind() == BuildState::uploading) continue;
    return options.emit(context.console, JSONData::copied(json.list()[at]), build.text());
  }
  throw CLIError(Kind::notFound, "No build" + forPlatform(platform) + " yet: kestu builds upload sends one.");
}

void runNextNumber(Context& context, const NewestOptions& options) {
  Client client = context.signedIn();
  std::string platform = options.platformOrFirst();
  // Not of the version alone: the service doesn't take 1.01 for 1.1.
  auto answer = Builds::fetch(client, appPath(client, options.app, context), platform);
  std::vector<std::string> numbers;
  for (const ManagedBuild& build : answer.value.builds) {
    bool counts = !options.version || BuildNumber::sameVersion(build.version, options.version);
    if (build.platform == platform && counts) numbers.push_back(build.number);
  }
  std::string next = BuildNumber::next(numbers);
  options.emit(context.console, JSONData::object({{"number", next}, {"platform", platform}}), next);
}

void addList(Command& group) {
  Command& command = group.add("list", "The app's newest builds on every platform, and where each is.");
  auto options = std::make_shared<ListOptions>();
  options->platform.declare(command, "Only one platform's: ios, macos, tvos or visionos.");
  options->app.declare(command);
  options->TableOptions::declare(command);
  command.run = [options](Context& context) { runList(context, *options); };
  command.example("", "The newest builds on every platform.");
  command.example("--platform ios -o json", "Those for iOS, for a script.");
}

std::shared_ptr<NewestOptions> addNewest(Command& command, void (*run)(Context&, const NewestOptions&)) {
  auto options = std::make_shared<NewestOptions>();
  options->platform.declare(command, "ios (to start with), macos, tvos or visionos.");
  options->app.declare(command);
  options->GlobalOptions::declare(command);
  command.run = [options, run](Context& context) { run(context, *options); };
  return options;
}

} // namespace

void addBuilds(Command& command) {
  command.example("upload Daylight.ipa --wait", "Sends a build to Apple, and waits until it's processed.");
  command.example("list", "The newest builds, and where each is.");
  command.discussion = "A build is named by its number (45), its version and number (\"1.2 (45)\"), or Apple's ID. "
                       "Expiring one, or removing an unfinished upload, can't be undone, so it waits for your approval "
                       "in the kestu app; the rest apply at once.";
  addList(command);
  Command& latest = command.add("latest", "The newest build on a platform: its version and number, for scripts.");
  addNewest(latest, runLatest);
  latest.example("", "As 1.2 (45).");
  latest.example("--platform macos -o json", "The newest for the Mac, in full.");
  Command& next = command.add("next-number", "The build number after the app's highest on a platform, for CI to build "
                                             "with: 46 after 45, 1.0.8 after 1.0.7.");
  auto options = addNewest(next, runNextNumber);
  next.option({{"--version"},
               "version",
               "Only builds of this version, for an app whose numbers start again with each version.",
               [options](const std::string& value) { options->version = versionGiven(value); },
               {},
               false});
  addBuildsUpload(command);
  addBuildsRemove(command);
  addBuildsWait(command);
  addBuildsExpire(command);
  addBuildsCompliance(command);
  addBuildsSubmit(command);
  addBuildsDistribute(command);
  addBuildsTestNotes(command);
  next.example("", "The number for CI to build with.");
  next.example("--version 1.3 --platform ios", "Where numbers start again with each version.");
}

} // namespace kestu
