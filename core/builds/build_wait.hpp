#pragma once

#include "core/builds/build_reference.hpp"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kestu {

/// The service's answer to a wait.
struct BuildsWait {
  std::string cursor; ///< where the next wait goes on
  std::optional<std::int64_t> polling;
  std::optional<TestFlightBuilds> builds;

  static BuildsWait read(const JSONValue& value);
};

/// Waiting for Apple to have a build processed, or for testers to be able to install it.
namespace BuildWait {

struct Goal {
  BuildReference build;
  std::string platform;
  bool testable = false;           ///< until testers can install it, not only until it is processed
  bool listed = false;             ///< it was listed already when the wait began
  std::vector<std::string> past{}; ///< the IDs of earlier builds and uploads of the same name, which aren't meant
};

/// What a person is told meanwhile. One call at a time.
struct Listener {
  std::function<void()> notListed;                        ///< once, when Apple hasn't listed it yet
  std::function<void(const ManagedBuild&)> moved;         ///< when it is first seen, and at each new state
  std::function<void(const std::string& reason)> trouble; ///< once for each time without an answer of use
};

struct Reached {
  ManagedBuild build;
  JSONData json; ///< the build, as the service gave it
};

/// Whether there is no use in waiting for longer: the goal is reached, or never will be.
bool over(const ManagedBuild& build, bool testable);

/// Asks the service again and again, through dropped connections, its restarts and a rush of calls, until the wait is
/// over; none when the time ran out first. Five minutes without an answer, two answers in a row that can't be read, a
/// service that never answered, and any other refusal are a CLIError.
std::optional<Reached> until(const Goal& goal, std::chrono::nanoseconds timeout, const Client& client,
                             const std::string& appPath, const Listener& listener);

} // namespace BuildWait

} // namespace kestu
