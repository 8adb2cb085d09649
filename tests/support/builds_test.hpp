#pragma once

#include "tests/support/build_files.hpp"
#include "tests/support/command_test.hpp"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace kestu::tests {

/// The demo's builds of Daylight Weather, with the service's time that of the command: it passes as commands sleep.
class BuildsTest : public CommandTest {
 protected:
  static inline const std::string base = "/v1/apps/1234567890/testflight/";

  BuildsTest() : CommandTest({.partSize = 1000, .now = [this] { return clock.now(); }, .holdsWaits = false}) {
    signIn();
    link();
  }

  Ran builds(CommandWords arguments) {
    arguments.insert(arguments.begin(), "builds");
    return run(arguments);
  }
  sandbox::TestBuild build(const std::string& number) {
    sandbox::TestBuild found{};
    setBuild(number, [&](const sandbox::TestBuild& each) { found = each; });
    return found;
  }
  void setState(const std::string& number, const std::string& buildState) {
    setBuild(number, [&](sandbox::TestBuild& each) {
      each.state = buildState;
      each.since = clock.now();
    });
  }
  std::string groupId(const std::string& name) {
    std::string id;
    server.withState([&](sandbox::State& state) {
      for (const auto& each : state.testFlight.groups) {
        if (each.name == name && id.empty()) id = each.groupId;
      }
    });
    return id;
  }
  /// The bodies of the calls to paths that end so.
  std::vector<nlohmann::json> bodies(const std::string& method, const std::string& ending) {
    std::vector<nlohmann::json> all;
    for (const auto& request : server.requests()) {
      if (request.method == method && request.path.ends_with(ending))
        all.push_back(nlohmann::json::parse(request.body));
    }
    return all;
  }
};

} // namespace kestu::tests
