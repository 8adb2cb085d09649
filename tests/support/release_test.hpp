#pragma once

#include "tests/support/command_test.hpp"

#include <functional>
#include <string>
#include <vector>

namespace kestu::tests {

/// The demo's versions of Daylight Weather, with the service's time that of the command, and everything approved.
class ReleaseRoadTest : public CommandTest {
 protected:
  explicit ReleaseRoadTest(sandbox::Approve approve = sandbox::Approve::all, bool holdsWaits = true,
                           std::uint64_t partSize = 1000)
      : CommandTest({.approve = approve,
                     .partSize = partSize,
                     .now = [this] { return clock.now(); },
                     .holdsWaits = holdsWaits}) {
    signIn();
    link();
    setBuild("43", [](auto& build) { build.state = "readyforinternal"; });
  }

  void set(const std::string& number, const std::function<void(sandbox::Version&)>& change,
           const std::string& platform = "ios") {
    server.withState([&](sandbox::State& state) {
      sandbox::Version& version = *state.version(1234567890, platform, number);
      change(version);
      version.since = clock.now();
    });
  }
  void setState(const std::string& number, const std::string& versionState) {
    set(number, [&](auto& version) {
      version.state = versionState;
      version.sent = versionState != "prepareforsubmission";
      version.submittedAt = clock.now();
    });
  }
  void attach(const std::string& number) {
    std::string id;
    setBuild(number, [&](auto& build) { id = build.buildId; });
    set("1.2", [&](auto& version) { version.buildId = id; });
  }
  void putOutInPhases(const std::string& phase) {
    set("1.1", [&](auto& version) {
      version.phased = true;
      version.phasedState = phase;
      version.phasedDay = 3;
    });
  }
  sandbox::Version version(const std::string& number, const std::string& platform = "ios") {
    sandbox::Version found{};
    server.withState([&](sandbox::State& state) {
      if (const auto* there = state.version(1234567890, platform, number)) found = *there;
    });
    return found;
  }

  /// A command, what it is run on, and what it says: a row of a table.
  struct Row {
    const char* what;
    std::function<void()> before;
    const char* line;
    int status;
    std::string said; ///< whole: where it succeeds on standard output, else on standard error
  };
  void expectRows(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
      SCOPED_TRACE(row.what);
      server.withState([](sandbox::State& state) {
        auto tokens = state.tokens;
        state.reset();
        state.tokens = tokens;
      });
      if (row.before) row.before();
      Ran ran = run(row.line);
      EXPECT_EQ(ran.status, row.status);
      EXPECT_EQ(ran.out, row.status == 0 ? row.said : "");
      EXPECT_EQ(ran.err, row.status == 0 ? "" : row.said);
    }
  }
};

} // namespace kestu::tests
