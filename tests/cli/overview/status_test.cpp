#include "core/overview/app_status.hpp"
#include "tests/support/release_test.hpp"

#include <fmt/format.h>

namespace kestu::tests {
namespace {

TEST_F(ReleaseRoadTest, StatusIsAPage) {
  attach("43");
  putOutInPhases("active");
  setState("1.2", "waitingforreview");
  run("versions delete 1.2 --platform macos --yes --no-wait");
  EXPECT_EQ(run("status").out, R"(Daylight Weather (com.example.daylight)
iOS        1.1 on the App Store, in phases, day 3 of 7
           1.2 waiting for review, sent just now
           build 1.2 (44) export compliance isn't answered, 2 hours ago
macOS      1.1 on the App Store
           1.2 being prepared, waits for a build
           build 1.2 (12) ready for internal testers, 5 hours ago
Rating     4.6 of 5, 1,312 ratings
Reviews    3 unread, 12 in the last 7 days
Ranks      #38 ▲7 in Weather, free, USA
           #12 ▼3 in Weather, free, DEU
           #91 new in Weather, grossing, JPN
Approvals  Daylight Weather 1.2 for macOS waits in the kestu app, until tomorrow, 12:00
Next: kestu release prepare 1.2 --platform macos
)");
  EXPECT_EQ(run("status --app Ledger").out, "Ledger (com.example.ledger.mac)\nmacOS      1.1 on the App Store\n"
                                            "           1.2 being prepared, waits for a build\nRating     none "
                                            "yet\nReviews    none yet\nNext: kestu release prepare 1.2 --app Ledger\n");
}

TEST(AppStatusTest, TheNextCommandIsWhatSomebodyWaitsFor) {
  auto platform = [](const std::string& name, const std::string& live, const std::string& next,
                     const std::string& more = "") {
    auto version = [&](const char* key, const std::string& state) {
      return state.empty()
                 ? std::string()
                 : fmt::format(R"(, "{}": {{"versionId": "v", "platform": "{}", "version": "{}", "state": "{}",
                               "createdAt": "2026-11-21T10:00:00Z", "phased": false{}}})",
                               key, name, key[0] == 'l' ? "1.9" : "2.0", state, more);
    };
    return fmt::format(R"({{"platform": "{}"{}{}}})", name, version("live", live), version("next", next));
  };
  const std::string out = "readyfordistribution", prepared = "prepareforsubmission";
  const std::string build = R"(, "build": {"buildId": "b", "number": "1"})";
  const std::string job =
      R"({"id": "0a", "group": "prices", "job": {"state": "running", "done": 1, "total": 2, "canUndo": true,
                             "kind": "price"}})";
  for (const auto& [platforms, jobs, command] : std::vector<std::tuple<std::string, std::string, std::string>>{
           {"", "", "kestu versions create 1.0"},
           {platform("ios", "", ""), "", "kestu versions create 1.0"},
           {platform("ios", out, ""), "", "kestu versions create 1.10"},
           {platform("ios", out, ""), job, "kestu prices status 0a"},
           {platform("ios", out, "inreview"), "", "kestu builds list"},
           {platform("ios", out, prepared), "", "kestu release prepare 2.0"},
           {platform("ios", out, prepared, build), job, "kestu release check 2.0"},
           {platform("macos", "", "rejected") + "," + platform("ios", out, prepared, R"(, "phasedState": "paused")"),
            "", "kestu release prepare 2.0 --platform macos"},
           {platform("ios", out, prepared, R"(, "phasedState": "paused")"), "", "kestu release phased resume"},
           {platform("ios", out, prepared) + "," + platform("tvos", "", "pendingdeveloperrelease"), "",
            "kestu release now 2.0 --platform tvos"},
           {platform("tvos", "", "rejected") + "," + platform("macos", "", prepared), "",
            "kestu release prepare 2.0 --platform tvos"},
       }) {
    SCOPED_TRACE(command);
    AppStatus status = AppStatus::read(JSONValue::parse(
        R"({"app": {"appId": 1, "bundleId": "b", "name": "n", "platforms": [], "primaryLocale": "en-US"}, "ranks": [],
            "waiting": [], "jobs": [)" +
        jobs + R"(], "platforms": [)" + platforms + "]}"));
    EXPECT_EQ(status.nextCommand(""), command);
    EXPECT_EQ(status.nextCommand(" --app x"), command + " --app x");
  }
}

} // namespace
} // namespace kestu::tests
