#include "tests/support/builds_test.hpp"
#include "tests/support/endings.hpp"

#include <array>

#include "core/console/text_style.hpp"
#include <unistd.h>

namespace kestu::tests {
namespace {

TEST_F(BuildsTest, ListShowsWhereEachBuildIs) {
  std::string all = builds("list").out;
  EXPECT_TRUE(has(
      all,
      "Build     Platform  State                                             Uploaded     Expires        Groups\n"));
  EXPECT_TRUE(has(all, "1.2 (44)  iOS       export compliance isn't answered                  2 hours ago"));
  EXPECT_TRUE(has(all, "ready for internal testers, for external testers"));
  EXPECT_TRUE(has(all, "Team, Friends & Family\n"));
  EXPECT_FALSE(has(all, " \n")) << "no blanks at a line's end";
  EXPECT_TRUE(ends(all, "\nNext: kestu builds compliance \"1.2 (44)\" --platform ios\n"));

  std::string csv = builds("list --platform macos --output CSV").out;
  EXPECT_TRUE(begins(csv, "Version,Build,Platform,State,Uploaded,Expires,Groups,ID\n"
                          "1.2,12,macos,ready for internal testers,2026-11-21T07:00:00Z,"));
  EXPECT_EQ(std::count(csv.begin(), csv.end(), '\n'), 3);
  EXPECT_TRUE(ends(builds("list --app 1234567890").out, " --platform ios --app 1234567890\n"));
  EXPECT_EQ(builds("list --app 2345678901").out, "No builds yet: kestu builds upload sends one.\n");

  setState("44", "failed");
  server.withState([](sandbox::State& state) { state.testFlight.builds[0].error = "No icon.\x1b[31m"; });
  EXPECT_TRUE(has(builds("list").out, "Apple couldn't process it: No icon.\\u{1b}[31m"));
}

TEST_F(BuildsTest, ListFitsTheWindow) {
  terminal.outIsTerminal = true;
  for (int width : {200, 80, 60, 30}) {
    SCOPED_TRACE(width);
    terminal.windowColumns = width;
    std::string text = TextStyle::plain(builds("list").out);
    std::string above = text.substr(0, text.find("\nNext: "));
    EXPECT_EQ(above.starts_with("Build "), width >= 80) << above;
    EXPECT_EQ(above.find("\n  ") == std::string::npos, width == 200) << above;
    for (const char* part : {"1.1 (42)  iOS", "external", "Friends", "2 hours ago"})
      EXPECT_TRUE(has(above, part)) << part;
  }
}

TEST_F(BuildsTest, ScriptsGetOneThingAlone) {
  server.withState([](sandbox::State& state) {
    state.testFlight.uploads.push_back({"u", 1234567890, "ios", "1.3", "50", state.clock()});
  });
  for (const auto& [line, out] : std::map<std::string, std::string>{
           {"latest", "1.2 (44)\n"}, // an upload that Apple hasn't got whole is no build
           {"latest --platform macos", "1.2 (12)\n"},
           {"next-number", "51\n"},
           {"next-number --platform macos", "13\n"},
           {"next-number --version 1.1", "43\n"},
           {"next-number --version 7", "1\n"},
           {"next-number --json", "{\n  \"number\": \"51\",\n  \"platform\": \"ios\"\n}\n"},
       }) {
    SCOPED_TRACE(line);
    EXPECT_EQ(builds(line).out, out);
  }
  EXPECT_EQ(terminal.errText(), "");
  Ran none = builds("latest --platform tvos");
  EXPECT_EQ(none.status, 7);
  EXPECT_EQ(none.out + none.err, "No build for tvOS yet: kestu builds upload sends one.\n");
  EXPECT_EQ(nlohmann::json::parse(builds("latest -ojson").out)["number"], "44");
}

TEST_F(BuildsTest, WrongUseEndsBeforeAnyCall) {
  expectWrongUse([&](const auto& line) { return builds(line); }, begins,
                 {
                     {"distribute 45", "Name a group with --add or --remove."},
                     {"distribute 45 --add ' '", "--add needs a value."},
                     {"test-notes 45 text --file notes.txt", "Give the text, or --file, but not both."},
                     {"test-notes 45", "Give the text, or --file."},
                     {"wait --timeout 5m", "--timeout is a number of minutes from 0 to 10,080, not 5m."},
                     {"upload a.ipa --timeout 5", "--timeout is for --wait: give both, or neither."},
                     {"upload ''", "The file's path is empty."},
                     {"expire", "Missing <build>"},
                     {"expire ' '", "The build is empty."},
                     {"upload a.pkg --build 46 --version --dry-run", "--version needs a value."},
                     {"upload a.pkg --version=--dry-run", "--dry-run can't be a version: it's a number, as 1.2."},
                     {"upload a.pkg --version v1.2", "v1.2 can't be a version: it's a number, as 1.2."},
                     {"upload a.pkg --build 1.0.", "1.0. can't be a build number: it's one as 45 or 1.0.8."},
                     {"test-notes 45 Rain. --locale de_DE", "de_DE can't be a language: it's written de-DE."},
                     {"list -a 'Day\x1b[2J'", "--app is an app's App Store ID, bundle ID or name, not Day?[2J."},
                 });
  EXPECT_EQ(terminal.outText(), "");
  EXPECT_TRUE(paths().empty());
}

TEST_F(BuildsTest, ImmediateChangesAreAskedAboutThenMade) {
  struct Row {
    std::string line, would, done, action, body;
  };
  std::string team = groupId("Team"), friends = groupId("Friends & Family");
  repo.write("notes.txt", "\xEF\xBB\xBFTry the map.\r\nAnd\tthe rain.\r\n\n");
  const std::string of = "Daylight Weather (com.example.daylight) 1.2 (44) for iOS";
  const std::vector<Row> rows = {
      {"compliance 44", "Answer export compliance for " + of + ". It uses no encryption that needs documents.\n",
       "✓ Answered export compliance for 1.2 (44): no encryption to document.\n"
       "Next: kestu builds wait \"1.2 (44)\" --platform ios --testable\n",
       "compliance", R"({"usesNonExemptEncryption":false})"},
      {"submit '1.2 (44)' --platform ios", "Submit " + of + " to Beta App Review.\n",
       "✓ Submitted 1.2 (44) to Beta App Review.\n"
       "Next: kestu builds distribute \"1.2 (44)\" --platform ios --add 'Friends & Family'\n",
       "submit", ""},
      {"distribute 44 --add Team --add 'FRIENDS & family'", "Put " + of + " in \"Team\", \"Friends & Family\".\n",
       "✓ Put 1.2 (44) in \"Team\", \"Friends & Family\".\n", "groups",
       R"({"add":[")" + team + R"(",")" + friends + R"("],"remove":[]})"},
      {"distribute 44 --add Team --add ' team ' --add Team", "Put " + of + " in \"Team\".\n",
       "✓ Put 1.2 (44) in \"Team\".\n", "groups", R"({"add":[")" + team + R"("],"remove":[]})"},
      {"distribute 44 --remove 'Friends & Family' --add Team",
       "Put " + of + " in \"Team\" and take it out of \"Friends & Family\".\n",
       "✓ Put 1.2 (44) in \"Team\" and took it out of \"Friends & Family\".\n", "groups",
       R"({"add":[")" + team + R"("],"remove":[")" + friends + R"("]})"},
      {"test-notes 44 -- '- Rain.\n- Sun.'", "Set What to Test for " + of + " in en-US.\n  - Rain.\n  - Sun.\n",
       "✓ Set What to Test for 1.2 (44) in en-US.\n", "test-notes", R"({"locale":"en-US","text":"- Rain.\n- Sun."})"},
      {"test-notes 44 --file notes.txt --locale de-DE",
       "Set What to Test for " + of + " in de-DE.\n  Try the map.\n  And the rain.\n",
       "✓ Set What to Test for 1.2 (44) in de-DE.\n", "test-notes",
       R"({"locale":"de-DE","text":"Try the map.\nAnd\tthe rain."})"},
  };
  for (Row row : rows) {
    SCOPED_TRACE(row.would);
    const std::string call = "POST " + base + "builds/" + build("44").buildId + "/" + row.action;
    server.forgetRequests();
    EXPECT_TRUE(ended(builds(row.line), 6, equals, row.would + "Nothing sent. Run it again with --yes to make it.\n"));
    EXPECT_EQ(calls(call), 0U);
    EXPECT_TRUE(ended(builds(row.line.insert(row.line.find(' '), " --yes")), 0, equals, row.would + row.done));
    ASSERT_EQ(calls(call), 1U);
    if (!row.body.empty()) EXPECT_EQ(bodies("POST", "/" + row.action).back().dump(), row.body);
  }
  EXPECT_EQ(build("44").notes["de-DE"], "Try the map.\nAnd\tthe rain.");
  EXPECT_EQ(build("44").groupIds, std::set<std::string>{team});
  EXPECT_EQ(builds("test-notes 44 Sun. --dry-run").out,
            "Dry run: would set What to Test for Daylight Weather (com.example.daylight) 1.2 (44) for iOS in en-US.\n");
  EXPECT_EQ(build("44").notes["en-US"], "- Rain.\n- Sun.");
  terminal.inIsTerminal = true;
  terminal.type("no");
  EXPECT_EQ(builds("test-notes 44 Sun.").status, 5);
  EXPECT_TRUE(ends(terminal.errText(), "Make this change now? [y/N] Nothing sent.\n"));
}

TEST_F(BuildsTest, ADryRunGivesItsChangesAsData) {
  const std::string notes = std::string(500, 'x') + "\nSun.";
  for (const auto& [arguments, expected] : std::vector<std::pair<std::string, nlohmann::json>>{
           {"expire 42", {"state", "readyforexternal", "expired"}},
           {"compliance 44", {"usesNonExemptEncryption", nullptr, "false"}},
           {"distribute 42 --remove team", {"groups", "Team, Friends & Family", "Friends & Family"}},
           {"test-notes 44 '" + notes + "'", {"What to Test en-US", nullptr, notes}},
       }) {
    auto change = nlohmann::json::parse(builds(arguments + " --dry-run --json").out)["changes"].at(0);
    EXPECT_EQ(nlohmann::json({change["field"], change["from"], change["to"]}), expected);
  }
  Ran ran = builds("compliance 44 --yes --json");
  EXPECT_TRUE(begins(ran.err, "Answer export compliance for Daylight Weather (com.example.daylight) 1.2 (44) for"));
  EXPECT_FALSE(nlohmann::json::parse(ran.out).contains("changes"));
  repo.write("kestu.json", R"({"appId": 2345678901, "bundleId": "com.example.tides"})");
  EXPECT_TRUE(has(builds("expire 43 --app com.example.daylight").err,
                  "Weather (com.example.daylight, not this repo's app) 1.2 (43) for iOS."));
}

TEST_F(BuildsTest, TestNotesComeThroughAPipeToo) {
  std::array<int, 2> ends{};
  ASSERT_EQ(::pipe(ends.data()), 0);
  ASSERT_EQ(::write(ends[1], "Rain.\nSun.\n", 11), 11);
  ::close(ends[1]);
  Ran ran = builds({"test-notes", "44", "--file", "/dev/fd/" + std::to_string(ends[0]), "--yes"});
  ::close(ends[0]);
  EXPECT_EQ(ran.status, 0) << ran.err;
  EXPECT_EQ(build("44").notes["en-US"], "Rain.\nSun.");
}

TEST_F(BuildsTest, WhatCannotBeDoneIsSaidInWords) {
  repo.write("long.txt", std::string(4001, 'x'));
  repo.write("vast.txt", std::string(3'000'000, 'x'));
  repo.write("latin.txt", "caf\xE9");
  repo.write("nul.txt", std::string("a\0b", 3));
  expectErrors([&](const auto& line) { return builds(line); }, equals,
               {
                   {"expire 99", 7, "No build is 99: kestu builds list lists them.\n"},
                   {"distribute 44 --add A --add Team --add ' B' --remove C", 7,
                    "No groups are called \"A\", \"B\", \"C\". The app's groups: Team, Friends & Family.\n"},
                   {"distribute 43 --add Team --remove team", 2, "\"Team\" is in both --add and --remove.\n"},
                   {"distribute 43 --add 'Friends & Family' --yes", 1,
                    "Friends & Family is for external testers: submit Daylight Weather 1.2 (43) for iOS to Beta App "
                    "Review first.\n"},
                   {"test-notes 44 --file gone.txt", 7, "No file at gone.txt\n"},
                   {"test-notes 44 --file long.txt", 2, "What to Test is 4,001 characters, 4,000 at most.\n"},
                   {"test-notes 44 ' \n'", 2, "The text is empty.\n"},
                   {"test-notes 44 --file vast.txt", 2, "What to Test is over 4,000 characters, 4,000 at most.\n"},
                   {"test-notes 44 --file latin.txt", 2, "latin.txt isn't UTF-8 text.\n"},
                   {"test-notes 44 --file nul.txt", 2, "nul.txt has a control character in it (\\u{0}).\n"},
                   {"test-notes 44 'a\x1b[2J'", 2, "The text has a control character in it (\\u{1b}).\n"},
                   {"test-notes 44 --file .", 1, ". isn't a file.\n"},
                   {"compliance 43 -y", 1, "Daylight Weather 1.2 (43) for iOS doesn't wait for that answer.\n"},
               });
  server.withState([](sandbox::State& state) { state.apps[0].primaryLocale = ""; });
  server.onNext({.path = base + "builds",
                 .status = 200,
                 .body = R"({"groups":[],"builds":[{"buildId":"b","platform":"ios","number":"1","state":"expired",)"
                         R"("uploadedAt":"2026-11-21T10:00:00Z","expiresAt":"2026-11-22T10:00:00Z","groupIds":[]}]})"});
  EXPECT_TRUE(ended(builds("test-notes 1 Rain. --yes"), 2, equals, "Name its language with --locale (en-US).\n"));
  signIn({"release"});
  EXPECT_EQ(builds("list").status, 4);
}

TEST_F(BuildsTest, ExpiringWaitsForTheApproval) {
  EXPECT_TRUE(ended(builds("expire 42"), 6, equals,
                    "Expire Daylight Weather (com.example.daylight) 1.1 (42) for iOS. Testers can't install it any "
                    "more, nor open it. Can't be undone.\n"
                    "Nothing sent. Run it again with --yes to send it for approval in the kestu app.\n"));
  EXPECT_EQ(builds("expire 42 --dry-run").out,
            "Dry run: would expire Daylight Weather (com.example.daylight) 1.1 (42) for iOS, after your approval.\n");
  server.scriptNextPlan({.state = "denied"});
  EXPECT_EQ(builds("expire 42 --yes").status, 5);
  server.scriptNextPlan({.waitingPolls = 9});
  clock.onSleep = [&](std::chrono::milliseconds) { stopping.request_stop(); };
  EXPECT_THROW(builds("expire 42 --yes"), Stopped);
  EXPECT_TRUE(has(terminal.errText(), "The change still waits for your approval in the kestu app, until "));
  stopping = {};
  clock.onSleep = nullptr;
  EXPECT_TRUE(ends(builds("expire 42 -y --no-wait").out, "\n● Waiting for your approval in the kestu app.\n"));
  EXPECT_EQ(build("42").state, "readyforexternal");
  server.scriptNextPlan({.waitingPolls = 1});
  Ran ran = builds("expire 42 --yes");
  EXPECT_TRUE(ends(ran.out, "✓ Expired 1.1 (42). Testers can't install or open it any more.\n"));
  EXPECT_EQ(build("42").state, "expired");
}

} // namespace
} // namespace kestu::tests
