#include "tests/support/release_test.hpp"

#include <nlohmann/json.hpp>

namespace kestu::tests {
namespace {

const std::string app = "Daylight Weather (com.example.daylight) ";
const std::string waiting = "● Waiting for your approval in the kestu app, until tomorrow, 12:00.\n";

TEST_F(ReleaseRoadTest, NowReleasesWhatWaitsForIt) {
  auto waits = [&] { setState("1.2", "pendingdeveloperrelease"); };
  auto waitsInPhases = [&] {
    waits();
    set("1.2", [](auto& version) { version.phased = true; });
  };
  const std::string what = "Release " + app + "1.2 for iOS to the App Store, ";
  expectRows({
      {"none waits", nullptr, "release now --yes", 7,
       "No iOS version App Review approved waits for you to release it. 1.2 is being prepared: kestu release check 1.2 "
       "says what it lacks, kestu submit 1.2 sends it to App Review.\n"},
      {"in review", [&] { setState("1.2", "inreview"); }, "release now 1.2 --yes", 1,
       "1.2 for iOS is in review, so there's nothing of it to release. App Review decides first: kestu status shows "
       "when it has.\n"},
      {"rejected", [&] { setState("1.2", "rejected"); }, "release now 1.2 --yes", 1,
       "1.2 for iOS is rejected, so there's nothing of it to release. App Store Connect says why: kestu release "
       "prepare 1.2 sends what you mend, kestu submit 1.2 sends it again.\n"},
      {"unknown", nullptr, "release now 7 --yes", 7,
       "App Store Connect has no 7 for iOS yet: kestu release prepare 7 makes it.\n"},
      {"out already", nullptr, "release now 1.1", 0,
       "✓ 1.1 for iOS is on the App Store already: nothing sent.\nNext: kestu status\n"},
      {"nobody to ask", waits, "release now", 6,
       what + "to everyone at once. It reaches users and can't be undone.\nNothing sent. Run it again with --yes to "
              "send it for approval in the kestu app.\n"},
      {"dry", waits, "release now --dry-run", 0,
       "Dry run: would release " + app + "1.2 for iOS to the App Store, to everyone at once, after your approval.\n"},
      {"released", waits, "release now --yes", 0,
       what + "to everyone at once. It reaches users and can't be undone.\n" + waiting +
           "✓ Released 1.2 for iOS to the App Store.\nNext: kestu status\n"},
      {"released in phases", waitsInPhases, "release now 1.2 --yes", 0,
       what + "to more users each day over 7 days. It reaches users and can't be undone.\n" + waiting +
           "✓ Released 1.2 for iOS: its phased release has started.\nNext: kestu status\n"},
  });
  EXPECT_EQ(version("1.1").state, "replacedwithnewversion");
  EXPECT_EQ(version("1.2").phasedState, "active");
}

TEST_F(ReleaseRoadTest, PhasesArePausedResumedAndCompleted) {
  auto is = [&](const std::string& phase) { return [this, phase] { putOutInPhases(phase); }; };
  const std::string of = " the phased release of " + app + "1.1 for iOS";
  expectRows({
      {"which", nullptr, "release phased", 2,
       "Which one: pause, resume or complete.\n\nUsage: kestu release phased [<command>]\nSee kestu release phased "
       "--help.\n"},
      {"none", nullptr, "release phased pause --yes", 1,
       "No iOS version is out in phases now. 1.1 is on the App Store for everyone.\n"},
      {"the next one will be", [&] { set("1.2", [](auto& version) { version.phased = true; }); },
       "release phased complete --yes", 1,
       "No iOS version is out in phases now. 1.1 is on the App Store for everyone. 1.2 (being prepared) releases in "
       "phases once it's out.\n"},
      {"paused", is("active"), "release phased pause --yes", 0,
       "Pause" + of +
           ", on day 3 of 7. Apple waits up to 30 days in all.\n✓ Paused 1.1's phased release: Apple waits up to 30 "
           "days in all.\nNext: kestu release phased resume\n"},
      {"paused already", is("paused"), "release phased pause", 0,
       "✓ 1.1's phased release is paused already: nothing sent.\nNext: kestu release phased resume\n"},
      {"resumed", is("paused"), "release phased resume --yes", 0,
       "Resume" + of + ", on day 3 of 7. More users get it each day again.\n" + waiting +
           "✓ Resumed 1.1's phased release.\nNext: kestu status\n"},
      {"goes on already", is("active"), "release phased resume --json", 0, "{\n  \"unchanged\": true\n}\n"},
      {"complete already", is("complete"), "release phased complete", 0,
       "✓ 1.1's phased release is complete already: nothing sent.\nNext: kestu status\n"},
      {"too late to pause", is("complete"), "release phased pause", 1,
       "No iOS version is out in phases now. 1.1's phased release is complete.\n"},
      {"dry", is("paused"), "release phased complete --dry-run", 0,
       "Dry run: would complete" + of + ", on day 3 of 7, after your approval.\n"},
      {"completed", is("paused"), "release phased complete --yes", 0,
       "Complete" + of + ", on day 3 of 7. Everyone gets it at once.\n" + waiting +
           "✓ Completed 1.1's phased release.\nNext: kestu status\n"},
  });
  EXPECT_EQ(version("1.1").phasedState, "complete");
}

TEST_F(ReleaseRoadTest, SubmitSendsAndTakesBack) {
  auto ready = [&] { attach("43"); };
  auto is = [&](const std::string& to) {
    return [this, to] {
      attach("43");
      setState("1.2", to);
    };
  };
  const std::string gets = "Send " + app +
                           "1.2 for iOS to App Review, after your approval:\n  build    1.2 (43)\n  release  releases "
                           "to everyone at once, when you say so\n";
  expectRows({
      {"not together", nullptr, "submit 1.2 --withdraw --event x", 2,
       "--withdraw takes the version back, so --event has no place beside it.\n\nUsage: kestu submit <version> "
       "[options]\nSee kestu submit --help.\n"},
      {"with events that can't go", ready, "submit 1.2 --event 'Summer Solstice' --event 6500000001 --yes", 1,
       "\"Summer Solstice\" is over: there's nothing to submit.\n\"Meteor Night 2026\" is on the App Store: there's "
       "nothing to submit.\n"},
      {"without a build", nullptr, "submit 1.2 --no-check --yes", 1,
       "1.2 for iOS has no build: kestu release prepare 1.2\n"},
      {"dry", ready, "submit 1.2 --no-check --dry-run", 0,
       gets.substr(gets.find('\n') + 1) + "Dry run: would send " + app +
           "1.2 for iOS to App Review, after your approval.\n"},
      {"sent", ready, "submit 1.2 --no-check --yes", 0,
       gets + waiting + "✓ Sent 1.2 for iOS to App Review.\nNext: kestu status\n"},
      {"sent already", is("waitingforreview"), "submit 1.2", 0,
       "✓ App Review has 1.2 for iOS already (waiting for review): nothing sent.\nNext: kestu status\n"},
      {"approved already", is("pendingdeveloperrelease"), "submit 1.2", 0,
       "✓ App Review approved 1.2 for iOS already (waiting for you to release it): nothing sent.\nNext: kestu release "
       "now 1.2\n"},
      {"out", nullptr, "submit 1.1 --yes", 1, "1.1 for iOS is on the App Store, so it can't be sent to App Review.\n"},
      {"taken back", is("inreview"), "submit 1.2 --withdraw --yes", 0,
       "Take " + app +
           "1.2 for iOS back from App Review. It has to be sent again, and waits for its turn anew.\n✓ Took 1.2 for "
           "iOS back from App Review.\nNext: kestu submit 1.2\n"},
      {"taken back already", is("developerrejected"), "submit 1.2 --withdraw", 0,
       "✓ 1.2 for iOS is taken back from review already: nothing sent.\nNext: kestu submit 1.2\n"},
      {"never sent", nullptr, "submit 1.2 --withdraw --yes", 1,
       "1.2 for iOS is being prepared, so App Review has nothing of it to give back. kestu release check 1.2 says what "
       "it lacks, kestu submit 1.2 sends it to App Review.\n"},
  });
}

TEST_F(ReleaseRoadTest, SubmitChecksFirst) {
  attach("43");
  for (const char* dry : {"--dry-run", "--yes"}) {
    Ran ran = run({"submit", "1.2", dry, "--json"});
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.out, "");
    EXPECT_TRUE(has(ran.err, "App Review's contact has no phone."));
    EXPECT_TRUE(has(ran.err, "1.2 isn't ready for App Review: "));
    EXPECT_TRUE(has(ran.err, ", so nothing was sent. --no-check sends it all the same.\n"));
  }
  EXPECT_EQ(version("1.2").state, "prepareforsubmission");
}

} // namespace
} // namespace kestu::tests
