#include "cli/builds/builds.hpp"
#include "cli/context.hpp"
#include "core/service/patient_transport.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <chrono>
#include <memory>

namespace kestu {

using Kind = CLIError::Kind;

namespace {

struct WaitOptions : GlobalOptions {
  BuildTarget target;
  WaitTime time;
  bool testable = false;
};

const ManagedBuild* newest(const std::vector<ManagedBuild>& builds, const std::optional<std::string>& platform) {
  for (const ManagedBuild& build : builds) {
    // A file that Apple hasn't got whole may never become a build.
    if (build.stateKind() == BuildState::uploading) continue;
    if (!platform || build.platform == *platform) return &build;
  }
  return nullptr;
}

/// What the wait is for. A number that isn't listed yet is waited for too, an ID that isn't can't be one.
BuildWait::Goal goalOf(const WaitOptions& options, const std::vector<ManagedBuild>& builds) {
  const auto& platform = options.target.platform.platform;
  const auto& named = options.target.build;
  const ManagedBuild* build = nullptr;
  if (!named) {
    build = newest(builds, platform);
    if (!build) throw CLIError(Kind::notFound, "The app has no build to wait for: kestu builds upload sends one.");
  } else {
    build = named->id ? &named->find(builds, platform) : named->among(builds, platform);
  }
  if (!build) return {*named, platform.value_or("ios"), options.testable};
  return {BuildReference::of(*build), build->platform, options.testable, true};
}

/// For a wait that goes on.
void tellTrouble(Context& context, const std::string& reason) {
  context.console.error(reason + (reason.ends_with('.') ? "" : ".") + " Still waiting.");
}

void runWait(Context& context, const WaitOptions& options) {
  Client client = context.signedIn();
  auto begun = context.clock.continuous();
  auto limit = std::chrono::nanoseconds(options.time.limit);
  PatientTransport patient(context.transport, context.clock,
                           std::min<std::chrono::nanoseconds>(limit, PatientTransport::longestOutage),
                           [&](const std::string& reason) { tellTrouble(context, reason); });
  Client looking = client.through(patient);
  std::string path = appPath(looking, options.target.app, context);
  auto listed = Builds::fetch(looking, path, options.target.platform.platform);
  BuildWait::Goal goal = goalOf(options, listed.value.builds);
  auto left = std::max(limit - (context.clock.continuous() - begun), std::chrono::nanoseconds(0));
  auto reached = waitFor(context, options, client, path, goal, left, options.target);
  if (!reached) {
    throw CLIError(Kind::pending, "The time ran out with it still on its way. Run it again to keep waiting.");
  }
  options.emit(context.console, reached->json, reachedText(reached->build, options.target));
}

} // namespace

std::optional<BuildWait::Reached> waitFor(Context& context, const Output& output, const Client& client,
                                          const std::string& path, const BuildWait::Goal& goal,
                                          std::chrono::nanoseconds time, const BuildTarget& target) {
  BuildWait::Listener listener;
  listener.notListed = [&] { output.say(context.console, "● Waiting for Apple to list " + goal.build.text() + "."); };
  listener.moved = [&](const ManagedBuild& build) {
    // It stays there until someone answers.
    bool asks = build.stateKind() == BuildState::missingCompliance;
    std::string answer = asks ? ": " + target.next("compliance", build) : ".";
    output.say(context.console, "● " + build.described() + ": " + build.stateText() + answer);
  };
  listener.trouble = [&](const std::string& reason) { tellTrouble(context, reason); };
  auto reached = BuildWait::until(goal, time, client, path, listener);
  if (!reached) return reached;
  const ManagedBuild& build = reached->build;
  BuildState state = build.stateKind();
  if (state == BuildState::failed || state == BuildState::invalid || (state == BuildState::expired && goal.testable)) {
    throw CLIError(Kind::failed,
                   build.described() + ": " + build.stateText() + (build.stateText().ends_with('.') ? "" : "."));
  }
  return reached;
}

std::string reachedText(const ManagedBuild& build, const BuildTarget& target) {
  bool refused = build.stateKind() == BuildState::betaRejected || build.stateKind() == BuildState::expired;
  std::string text = std::string(refused ? "" : "✓ ") + build.described() + ": " + build.stateText() + ".";
  if (build.stateKind() == BuildState::missingCompliance) text += "\nNext: " + target.next("compliance", build);
  return text;
}

void addBuildsWait(Command& group) {
  Command& command = group.add("wait", "Wait until Apple has processed a build, or until testers can install it.");
  command.discussion =
      "kestu hears from App Store Connect's webhook as Apple moves the build on, or without one checks "
      "Apple itself at intervals. Exits " +
      std::to_string(static_cast<int>(Kind::pending)) +
      " when the time's up with the build still on its way: run it again to keep waiting.";
  auto options = std::make_shared<WaitOptions>();
  declareBuild(command, options->target.build,
               "The build: its number (45), version and number (\"1.2 (45)\"). The newest when left out.", false);
  options->target.platform.declare(command, "ios, macos, tvos or visionos. Any of them when left out.");
  command.flag({"--testable"}, options->testable, "Until testers can install it, not only until it's processed.");
  options->time.declare(command, "How long to wait, in minutes.");
  options->target.app.declare(command);
  options->GlobalOptions::declare(command);
  command.run = [options](Context& context) { runWait(context, *options); };
  command.example("", "Until Apple has processed the newest build.");
  command.example("43 --testable --timeout 30", "Until testers can install build 43, for 30 minutes at most.");
}

} // namespace kestu
