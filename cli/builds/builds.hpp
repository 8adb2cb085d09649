#pragma once

#include "cli/options.hpp"
#include "core/builds/build_reference.hpp"
#include "core/builds/build_wait.hpp"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace kestu {

struct BuildPlatform {
  std::optional<std::string> platform;
  void declare(Command& command, const std::string& help);
};

/// How long to wait; an hour when it isn't said.
struct WaitTime {
  std::chrono::minutes limit{60};
  bool given = false;
  void declare(Command& command, const std::string& help);
};

/// The argument that names a build.
void declareBuild(Command& command, std::optional<BuildReference>& build, const std::string& help, bool required);

/// The build that a command is about.
struct BuildTarget {
  std::optional<BuildReference> build;
  BuildPlatform platform;
  AppTarget app;

  void declare(Command& command);

  /// The command line of another command about the build, for a "Next:".
  std::string next(const std::string& command, const ManagedBuild& about) const;

  /// The app as it was given, as an option of another command line; empty when it wasn't.
  std::string ofApp() const;
};

/// The app's path ("/v1/apps/123").
std::string appPath(const Client& client, const AppTarget& app, const Context& context);

/// Waits with the lines that a person reads meanwhile; none when the time ran out. A build that Apple couldn't process
/// is a CLIError, and so is, for testers, one that has expired. `target` is for the command lines that they name.
std::optional<BuildWait::Reached> waitFor(Context& context, const Output& output, const Client& client,
                                          const std::string& path, const BuildWait::Goal& goal,
                                          std::chrono::nanoseconds time, const BuildTarget& target);

/// "✓ 1.2 (45) for iOS: ready for internal testers.", and what to do next where something is.
std::string reachedText(const ManagedBuild& build, const BuildTarget& target);

void addBuildsUpload(Command& group);
void addBuildsRemove(Command& group);
void addBuildsWait(Command& group);
void addBuildsExpire(Command& group);
void addBuildsCompliance(Command& group);
void addBuildsSubmit(Command& group);
void addBuildsDistribute(Command& group);
void addBuildsTestNotes(Command& group);

} // namespace kestu
