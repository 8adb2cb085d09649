#include "tests/support/builds_test.hpp"
#include "tests/support/endings.hpp"

namespace kestu::tests {
namespace {

using sandbox::Fault;

class WaitTest : public BuildsTest {
 protected:
  const std::string path = base + "builds/wait";
  static inline const std::string timeUp = "The time ran out with it still on its way. Run it again to keep waiting.\n";

  std::vector<nlohmann::json> asked() { return bodies("POST", "/wait"); }
  void processingFor(std::chrono::seconds length) {
    server.withState([&](sandbox::State& state) { state.testFlight.processing = length; });
    setState("44", "processing");
  }
  /// The fault alone, at the path.
  void meet(const std::string& at, Fault fault) {
    fault.path = at;
    server.faults().clear();
    server.onNext(fault);
  }
};

TEST_F(WaitTest, EndsWhereTheBuildIsReached) {
  // With the state of the build 44.
  for (const auto& [options, state, status, said] : std::vector<std::tuple<std::string, std::string, int, std::string>>{
           {"", "readyforinternal", 0, "✓ 1.2 (44) for iOS: ready for internal testers.\n"},
           {"--platform macos --testable", "processing", 0, "✓ 1.2 (12) for macOS: ready for internal testers.\n"},
           {"44", "missingcompliance", 0,
            "✓ 1.2 (44) for iOS: export compliance isn't answered.\nNext: kestu builds compliance \"1.2 (44)\" "
            "--platform ios\n"},
           {"44 --testable", "betarejected", 0, "1.2 (44) for iOS: Beta App Review rejected it.\n"},
           {"44", "invalid", 1, "1.2 (44) for iOS: Apple couldn't process it.\n"},
           {"44 --testable", "expired", 1, "1.2 (44) for iOS: expired.\n"},
           {"some-id", "expired", 7, "No build is some-id: kestu builds list lists them.\n"},
           {"--platform tvos", "expired", 7, "The app has no build to wait for: kestu builds upload sends one.\n"},
       }) {
    SCOPED_TRACE(state + " " + options);
    setState("44", state);
    Ran ran = builds("wait " + options);
    EXPECT_TRUE(ended(ran, status, equals, said));
    EXPECT_EQ(ran.out + ran.err, said);
  }
  setState("44", "missingcompliance");
  Ran ran = builds("wait 44 --testable --timeout 0 --app 1234567890");
  EXPECT_TRUE(ended(ran, 10, equals, timeUp));
  EXPECT_EQ(ran.out, "● 1.2 (44) for iOS: export compliance isn't answered: kestu builds compliance \"1.2 (44)\" "
                     "--platform ios --app 1234567890\n");
}

TEST_F(WaitTest, FollowsABuildFromBeforeItIsListed) {
  clock.onSleep = [&, sleeps = 0](std::chrono::milliseconds) mutable {
    if (++sleeps != 3) return;
    server.withState([&](sandbox::State& state) {
      auto build = state.testFlight.builds.front();
      build.number = "46";
      build.buildId = "new";
      build.upload = true;
      build.state = "processing";
      build.since = clock.now();
      state.testFlight.builds.push_back(build);
    });
  };
  Ran ran = builds("wait '1.2 (46)'");
  EXPECT_EQ(ran.out, "● Waiting for Apple to list 1.2 (46).\n"
                     "● 1.2 (46) for iOS: processing.\n"
                     "✓ 1.2 (46) for iOS: export compliance isn't answered.\n"
                     "Next: kestu builds compliance \"1.2 (46)\" --platform ios\n")
      << ran.err;
  EXPECT_EQ(asked().front().dump(),
            R"({"number":"46","platform":"ios","seconds":25,"testable":false,"version":"1.2"})");
  EXPECT_EQ(asked().back()["cursor"], "new/processing");
  EXPECT_EQ(nlohmann::json::parse(builds("wait 46 --json").out)["number"], "46");
}

TEST_F(WaitTest, TheNewestIsNoUnfinishedUpload) {
  server.withState([](sandbox::State& state) {
    state.testFlight.uploads.push_back({"u", 1234567890, "ios", "1.3", "50", state.clock()});
    state.testFlight.uploads.push_back({"v", 1234567890, "tvos", "1.3", "50", state.clock()});
  });
  EXPECT_EQ(builds("wait --platform ios --timeout 0").out.substr(0, 12), "✓ 1.2 (44)");
  EXPECT_EQ(builds("wait --platform tvos --timeout 0").status, 7);
  EXPECT_EQ(builds("wait 50 --platform tvos --timeout 0").status, 10);
}

TEST_F(WaitTest, EndsWhenTheTimeIsUp) {
  processingFor(std::chrono::hours(9));
  auto begun = clock.continuous();
  EXPECT_TRUE(ended(builds("wait 44 --timeout 2"), 10, equals, timeUp));
  EXPECT_EQ(clock.continuous() - begun, std::chrono::minutes(2));
  EXPECT_EQ(asked().back()["seconds"], 5) << "no call is asked to be held for longer than there is time";
  begun = clock.continuous();
  EXPECT_EQ(builds("wait 44").status, 10);
  EXPECT_EQ(clock.continuous() - begun, std::chrono::hours(1));
}

TEST_F(WaitTest, OutlivesDroppedConnectionsAndRestarts) {
  processingFor(std::chrono::seconds(40));
  server.onNext({.path = path, .skip = 1, .cut = true});
  server.onNext({.path = path, .half = true});
  server.onNext({.path = path, .times = 2, .status = 503, .body = "<html>", .contentType = "text/html"});
  Ran ran = builds("wait 44");
  EXPECT_TRUE(ended(ran, 0, begins, "● 1.2 (44) for iOS: processing.\n✓ 1.2 (44)"));
  EXPECT_TRUE(has(ran.err, " Still waiting.\n"));
  for (const auto& [fault, err] : std::vector<std::pair<Fault, std::string>>{
           {{.status = 200, .body = "{\"curs"}, "kestu's answer couldn't be read. Still waiting.\n"},
           {{.status = 429, .body = R"({"error":"agent_quota","limit":"minute"})"},
            "Too many requests. Still waiting.\n"},
           {{.status = 503, .body = R"({"message":"Apple is away."})"}, "Apple is away. Still waiting.\n"},
       }) {
    SCOPED_TRACE(err);
    processingFor(std::chrono::seconds(40));
    meet(path, fault);
    ran = builds("wait 44");
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.err, err);
  }
  for (const auto sleep : clock.sleeps()) EXPECT_LE(sleep, std::chrono::seconds(5));
}

TEST_F(WaitTest, EndsAtWhatWontPass) {
  for (const auto& [fault, status, calls, err] : std::vector<std::tuple<Fault, int, std::size_t, std::string>>{
           {Fault{.status = 401}, 3, 1, "kestu no longer takes this sign-in"},
           {Fault{.status = 404}, 7, 1, "Not found.\n"},
           {Fault{.status = 429, .body = R"({"error":"agent_quota","limit":"week"})"}, 8, 1,
            "Over the account's calls for this week."},
           {Fault{.times = -1, .status = 200, .body = "{}"}, 9, 2,
            "kestu's answer couldn't be read. Still waiting.\nkestu's answer wasn't what this version"},
           {Fault{.times = -1, .status = 502}, 9, 12,
            "kestu couldn't answer (502). Still waiting.\nkestu couldn't answer (502). Try again in a moment.\n"},
       }) {
    SCOPED_TRACE(err);
    processingFor(std::chrono::hours(9));
    server.forgetRequests();
    meet(path, fault);
    EXPECT_TRUE(ended(builds("wait 44 --timeout 1"), status, begins, err));
    EXPECT_EQ(asked().size(), calls);
  }
}

TEST_F(WaitTest, AnOutageEndsItInItsTime) {
  struct Row {
    std::string path;
    Fault fault;
    const char* timeout;
    int status, seconds;
    std::string err;
  };
  const std::string list = base + "builds", again = "kestu couldn't answer (502). Still waiting.";
  for (const Row& row : std::vector<Row>{
           // Already where the wait looks what it is for.
           {list, Fault{.times = 40, .status = 503}, "10", 10, 600, "kestu couldn't answer (503). Still waiting."},
           {list, Fault{.cut = true}, "1", 10, 60, "Couldn't reach kestu: "},
           {list, Fault{.times = -1, .status = 502}, "60", 9, 300, again},
           {list, Fault{.status = 401}, "60", 3, 0, "kestu no longer takes this sign-in"},
           // An outage, a shorter one, and one that a readable answer divides.
           {path, Fault{.times = -1, .status = 502}, "60", 9, 300, again},
           {path, Fault{.times = 50, .status = 502}, "60", 10, 3600, again},
           {path, Fault{.skip = 1, .times = -1, .status = 502}, "60", 9, 300, again},
       }) {
    SCOPED_TRACE(row.path + row.err + row.timeout);
    processingFor(std::chrono::hours(9));
    meet(row.path, row.fault);
    auto begun = clock.continuous();
    EXPECT_TRUE(ended(builds({"wait", "44", "--timeout", row.timeout}), row.status, begins, row.err));
    const auto within = row.path == list ? std::chrono::milliseconds(500) : std::chrono::seconds(30);
    EXPECT_LE(std::chrono::abs(clock.continuous() - begun - std::chrono::seconds(row.seconds)), within);
  }
}

TEST_F(WaitTest, AnInterruptEndsIt) {
  processingFor(std::chrono::hours(9));
  clock.onSleep = [&](std::chrono::milliseconds) { stopping.request_stop(); };
  EXPECT_THROW(builds("wait 44"), Stopped);
}

} // namespace
} // namespace kestu::tests
