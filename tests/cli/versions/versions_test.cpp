#include "tests/support/release_test.hpp"

namespace kestu::tests {
namespace {

const std::string app = "Daylight Weather (com.example.daylight) ";

TEST_F(ReleaseRoadTest, VersionsListShowsWhereEachIs) {
  attach("43");
  putOutInPhases("paused");
  Ran ran = run("versions list");
  EXPECT_EQ(ran.out, "Version  Platform  State                                                  Build  Made\n"
                     "1.2      macOS     being prepared                                                just now\n"
                     "1.1      macOS     on the App Store                                              22 Sep\n"
                     "1.2      iOS       being prepared                                         43     just now\n"
                     "1.1      iOS       on the App Store, phased release paused on day 3 of 7         22 Sep\n"
                     "Next: kestu release check 1.2\n")
      << ran.err;
  EXPECT_TRUE(ends(run("versions list --platform macos").out, "Next: kestu release prepare 1.2 --platform macos\n"));
}

TEST_F(ReleaseRoadTest, VersionsAreMadeAndDeleted) {
  auto isOut = [&] { setState("1.2", "readyfordistribution"); };
  auto asks = [&] { server.withState([](auto& state) { state.nextPlan = sandbox::Script{0, "denied", ""}; }); };
  expectRows({
      {"there is one being prepared", nullptr, "versions create 1.3 --yes", 1,
       "1.2 for iOS is being prepared, and Apple allows one version being prepared at a time: kestu release prepare "
       "1.3 renames it, kestu versions delete 1.2 deletes it.\n"},
      {"one is in review", [&] { setState("1.2", "inreview"); }, "versions create 1.3 --yes", 1,
       "1.2 for iOS is in review, and Apple allows one version being prepared at a time. App Review decides first: "
       "kestu status shows when it has.\n"},
      {"is there already", nullptr, "versions create 1.2", 0,
       "✓ App Store Connect has 1.2 for iOS already, being prepared: nothing sent.\nNext: kestu release prepare 1.2\n"},
      {"is out", nullptr, "versions create 1.1 --yes", 1,
       "1.1 for iOS is on the App Store, so the next one needs another number.\n"},
      {"nobody to ask", isOut, "versions create 1.3", 6,
       "Make " + app + "1.3 for iOS.\nNothing sent. Run it again with --yes to make it.\n"},
      {"made", isOut, "versions create 1.3 --yes", 0,
       "Make " + app + "1.3 for iOS.\n✓ Made 1.3 for iOS.\nNext: kestu release prepare 1.3\n"},
      {"on another platform", nullptr, "versions create 1.3 --platform macos --yes", 1,
       "1.2 for macOS is being prepared, and Apple allows one version being prepared at a time: kestu release prepare "
       "1.3 --platform macos renames it, kestu versions delete 1.2 --platform macos deletes it.\n"},
      {"on two platforms", nullptr, "versions delete 1.2 --yes", 2,
       "1.2 is on several platforms, macOS, iOS: name one with --platform.\n"},
      {"dry", nullptr, "versions delete 1.2 --platform macos --dry-run", 0,
       "Dry run: would delete " + app + "1.2 for macOS, after your approval.\n"},
      {"was sent once", [&] { setState("1.2", "developerrejected"); }, "versions delete 1.2 --platform ios --yes", 1,
       "1.2 for iOS was sent to App Review, so it can't be deleted: kestu release prepare with the next number renames "
       "it.\n"},
      {"unknown", nullptr, "versions delete 9 --yes", 7,
       "App Store Connect has no 9: kestu versions list shows them.\n"},
      {"denied", asks, "versions delete 1.2 --platform ios --yes --json", 5,
       "Delete " + app +
           "1.2 for iOS, with its texts and assets. Can't be undone.\n"
           "● Waiting for your approval in the kestu app, until tomorrow, 12:00.\n"
           "Denied in the kestu app. Nothing changed.\n"},
  });
  EXPECT_FALSE(version("1.2").versionId.empty());
  Ran ran = run("versions delete 1.2 --platform ios --yes");
  EXPECT_TRUE(ends(ran.out, "✓ Deleted 1.2 for iOS.\nNext: kestu versions list\n"));
  EXPECT_TRUE(version("1.2").versionId.empty());
}

} // namespace
} // namespace kestu::tests
