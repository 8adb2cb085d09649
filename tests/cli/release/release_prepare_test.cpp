#include "core/release/release_prepare.hpp"
#include "core/support/moments.hpp"
#include "core/support/text.hpp"
#include "tests/support/endings.hpp"
#include "tests/support/release_test.hpp"

#include <nlohmann/json.hpp>

namespace kestu::tests {
namespace {

using nlohmann::json;

const std::string title = "Daylight Weather (com.example.daylight) 1.2 for iOS";

/// A repository that says something for every step.
class PrepareTest : public ReleaseRoadTest {
 protected:
  PrepareTest() : ReleaseRoadTest(sandbox::Approve::all) {
    setBuild("44", [](auto& build) { build.state = "failed"; });
    repo.write("metadata/app.json", R"({"copyright": "2026 Daylight"})");
    repo.write("metadata/listing/en-US.json", R"({"subtitle": "Every hour"})");
    repo.write("metadata/releases/1.2/en-US.json", R"({"whatsNew": "Storms.", "whatToTest": "Radar."})");
    repo.write("metadata/releases/1.2/release.json", R"({"releaseType": "afterapproval", "phased": true})");
    repo.write("metadata/screenshots/en-US/iPhone 6.9/01.png", png(1290, 2796));
  }

  Ran prepare(const std::string& options = "", const std::string& number = "1.2") {
    return run("release prepare " + number + " " + options);
  }
  /// "unchanged done …", the steps' states in order.
  static std::string states(const std::string& body) {
    std::vector<std::string> words;
    const json answer = json::parse(body);
    for (const auto& step : answer.at("steps")) words.push_back(step["state"]);
    return Text::joined(words, " ");
  }
  std::size_t changes() {
    auto all = paths();
    return static_cast<std::size_t>(std::count_if(all.begin(), all.end(), [](const std::string& call) {
      return !call.starts_with("GET") && !call.ends_with("/assets");
    }));
  }
};

const std::string plan = R"(  version       App Store Connect already has what the repo says.
  build         attach 1.2 (43)
  release       releases in phases, once approved, copyright 2026 Daylight
  listing       2 values from the repo, after your approval
    en-US  subtitle    The sky, hour by hour → Every hour
    en-US  what's new  Storms.
  assets        1 file (459 KB) to upload, after your approval
    en-US  iPhone 6.9″  1 screenshot  1 added
  What to Test  1.2 (43)'s What to Test in en-US
)";

TEST_F(PrepareTest, ShowsTheWholePlanFirstAndMakesEachStepOnce) {
  EXPECT_EQ(prepare("--dry-run").out, plan + "Dry run: would prepare " + title + "; nothing was sent.\n");
  EXPECT_TRUE(ended(prepare(), 6, equals,
                    "Prepare " + title + ":\n" + plan +
                        "Nothing sent. Run it again with --yes to send it for approval in the kestu app.\n"));
  EXPECT_EQ(changes(), 0U);
  auto changed = json::parse(prepare("--dry-run --json").out)["changes"];
  EXPECT_EQ(changed.size(), 8U);
  EXPECT_EQ(changed[0], (json{{"place", "1.2 for iOS"}, {"field", "build"}, {"from", nullptr}, {"to", "43"}}));

  Ran ran = prepare("--yes");
  EXPECT_EQ(ran.status, 0) << ran.err;
  const std::string waits = "waits for your approval in the kestu app, until tomorrow, 12:00.\n";
  EXPECT_EQ(ran.out.substr(ran.out.find("✓")),
            "✓ version       App Store Connect already has what the repo says.\n"
            "✓ build         1.2 (43) attached\n"
            "✓ release       releases in phases, once approved, copyright 2026 Daylight\n"
            "● listing       " +
                waits +
                "✓ listing       the repo's, 2 values changed\n"
                "● assets        " +
                waits +
                "✓ assets        the repo's, 1 file (459 KB) uploaded\n"
                "✓ What to Test  1.2 (43)'s What to Test in en-US\n"
                "✓ 1.2 for iOS is prepared.\nNext: kestu release check 1.2\n");
  EXPECT_TRUE(version("1.2").phased);
  std::size_t before = changes();
  EXPECT_EQ(states(prepare("--json").out), "unchanged unchanged unchanged unchanged unchanged unchanged");
  std::string again = prepare().out;
  EXPECT_TRUE(begins(again, "✓ version       App Store Connect already has what the repo says.\n✓ build         1.2 "
                            "already has what the repo says.\n"));
  EXPECT_TRUE(ends(again, "✓ What to Test  1.2 (43) already has what the repo says.\n✓ 1.2 for iOS was prepared "
                          "already: nothing sent.\nNext: kestu release check 1.2\n"));
  EXPECT_EQ(changes(), before);
}

TEST_F(PrepareTest, GoesOnWhereItStopped) {
  std::string id;
  setBuild("43", [&](auto& build) { id = build.buildId; });
  const std::string app = "/v1/apps/1234567890/", again = ". Run it again to go on from there.\n";
  auto decides = [&](const std::string& state) { return [&, state] { server.scriptNextPlan({0, state, ""}); }; };
  auto fails = [&](const std::string& path) {
    return [&, path] { server.onNext({.path = path, .times = -1, .status = 503}); };
  };
  for (const auto& [before, status, reached, end] :
       std::vector<std::tuple<std::function<void()>, int, std::string, std::string>>{
           {decides("denied"), 5, "unchanged done done denied planned planned",
            "Denied in the kestu app: listing stays as it was.\nDone: version, build, release.\nNot done: listing, "
            "assets, What to Test" +
                again},
           {fails(app + "assets/commit"), 9, "unchanged unchanged unchanged done failed planned",
            "Not done: assets, What to Test" + again},
           {decides("expired"), 1, "unchanged unchanged unchanged unchanged failed planned",
            "assets: No one decided it in time, so nothing changed. Run it again to ask again.\nDone: version, build, "
            "release, listing.\nNot done: assets, What to Test" +
                again},
           {fails(app + "testflight/builds/" + id + "/test-notes"), 9,
            "unchanged unchanged unchanged unchanged done failed",
            "Done: version, build, release, listing, assets.\nNot done: What to Test" + again},
       }) {
    SCOPED_TRACE(end);
    before();
    Ran ran = prepare("--yes --json");
    EXPECT_TRUE(ended(ran, status, ends, end));
    EXPECT_EQ(states(ran.out), reached);
    server.faults().clear();
  }
  Ran ran = prepare("--yes --json");
  EXPECT_EQ(states(ran.out), "unchanged unchanged unchanged unchanged unchanged done");
  EXPECT_EQ(json::parse(ran.out)["steps"][5]["answers"][0]["waits"], false);
}

TEST_F(PrepareTest, AnInterruptionTellsHowFarItCame) {
  server.scriptNextPlan({.waitingPolls = 9});
  clock.onSleep = [&](std::chrono::milliseconds) { stopping.request_stop(); };
  EXPECT_THROW(prepare("--yes --json"), Stopped);
  EXPECT_EQ(states(terminal.outText()), "unchanged done done waiting planned planned");
  EXPECT_TRUE(ends(
      terminal.errText(),
      "Stopped.\nDone: version, build, release.\nNot done: assets, What to Test. Run it again to go on from there.\n"));
}

TEST_F(PrepareTest, MakesOrRenamesTheVersion) {
  repo.write("metadata/releases/1.3/en-US.json", R"({"whatsNew": "Dusk."})");
  Ran ran = prepare("--yes --no-wait --no-assets", "1.3");
  EXPECT_TRUE(ended(ran, 0, has, "\n  version       rename 1.2, the version being prepared, to 1.3\n"));
  EXPECT_TRUE(has(ran.out, "\n✓ version       1.2, which was being prepared, renamed to 1.3\n  build         none of "
                           "1.3 that Apple has processed yet: kestu builds upload sends one.\n"));
  EXPECT_TRUE(has(ran.out, "\n● listing       2 values from the repo, waits for your approval in the kestu app\n  "
                           "assets        stay as they are (--no-assets).\n  What to Test  the repo has none.\n● "
                           "Waiting for your approval in the kestu app.\nNext: kestu builds upload <file>\n"));

  setState("1.3", "readyfordistribution");
  server.withState([](sandbox::State& state) { state.review.unlisted = 3; });
  ran = prepare("--yes --json", "1.4");
  EXPECT_EQ(ran.status, 10) << ran.err;
  EXPECT_EQ(states(ran.out), "done left planned planned planned left");
  EXPECT_TRUE(ends(ran.err, "1.4 is made, but App Store Connect doesn't list it yet. Run it again in a minute.\n"));
  ran = prepare("--yes --json", "1.4");
  EXPECT_EQ(ran.status, 0) << ran.err;
  EXPECT_EQ(states(ran.out), "unchanged left unchanged done done left");

  // Made by a run that never heard of it, and not listed before it is asked for again.
  const std::string versions = "/v1/apps/1234567890/versions";
  for (auto [unlisted, status, made] : {std::tuple(1, 0, "done"), {9, 1, "failed"}}) {
    SCOPED_TRACE(unlisted);
    const std::string number = unlisted == 1 ? "1.5" : "1.6";
    setState(unlisted == 1 ? "1.4" : "1.5", "readyfordistribution");
    server.withState([hidden = unlisted](sandbox::State& state) { state.review.unlisted = hidden; });
    server.onNext({.path = versions, .method = "POST", .cut = true, .exact = true, .made = true});
    EXPECT_EQ(prepare("--yes --json", number).status, 9);
    ran = prepare("--yes --json", number);
    EXPECT_EQ(ran.status, status) << ran.err;
    EXPECT_TRUE(begins(states(ran.out), made)) << ran.out;
    EXPECT_EQ(has(ran.err, "has a version " + number + " for iOS already"), status == 1);
  }
}

TEST_F(PrepareTest, WhatIsTooLateIsRefused) {
  EXPECT_EQ(prepare("--dry-run", "1.0").err,
            "1.1 for iOS is on the App Store already, which takes no lower number after it.\n");
  EXPECT_TRUE(ended(prepare("--release-type scheduled --earliest 2026-01-01T09:00:00Z --dry-run"), 2, ends,
                    "has passed: give a moment that's still to come.\n"));
  EXPECT_EQ(changes(), 0U);
}

TEST_F(PrepareTest, SaysWhatKeepsAVersionFromBeingPrepared) {
  auto process = [&] {
    for (const char* number : {"43", "44"}) {
      setBuild(number, [&](auto& build) {
        build.state = "processing";
        build.since = clock.now();
      });
    }
  };
  auto expire = [&] { setBuild("43", [](auto& build) { build.state = "expired"; }); };
  const std::string shot = "metadata/screenshots/en-US/iPhone 6.9/02.png";
  for (const auto& [before, options, status, message] :
       std::vector<std::tuple<std::function<void()>, std::string, int, std::string>>{
           {nullptr, "--release-type scheduled", 2,
            "A scheduled release needs --earliest, or earliestReleaseDate in release.json.\n"},
           {nullptr, "--earliest 2026-12-01T09:00:00Z", 2,
            "--earliest is for a scheduled release: give --release-type scheduled with it.\n"},
           {nullptr, "--build 99", 7,
            "1.2 for iOS has no build 99 that Apple has processed yet: kestu builds lists them.\n"},
           {nullptr, "--build 42", 7, // another version's
            "1.2 for iOS has no build 42 that Apple has processed yet: kestu builds lists them.\n"},
           {process, "--build latest", 7,
            "1.2 for iOS has no build that Apple has processed yet: kestu builds lists them.\n"},
           {expire, "--build 43", 1,
            "1.2 (43) for iOS can't go to App Review (expired): kestu builds upload sends another one.\n"},
           {[&] { repo.write(shot, png(10, 10)); }, "", 1, "Apple wouldn't take these, so nothing was sent:\n"},
           {[&] { setState("1.2", "inreview"); }, "", 1,
            "1.2 for iOS is in review, so it can't be prepared now. App Review decides first: kestu status shows when "
            "it has. kestu submit 1.2 --withdraw takes it back.\n"},
           {[&] { setState("1.2", "readyfordistribution"); }, "", 1,
            "1.2 for iOS is on the App Store, so the next one needs another number.\n"},
       }) {
    SCOPED_TRACE(message);
    if (before) before();
    EXPECT_TRUE(ended(prepare("--yes " + options), status, begins, message));
    EXPECT_EQ(terminal.outText(), "");
    repo.write(shot, png(1290, 2796, PNGColours::palette, 1));
  }
  EXPECT_EQ(changes(), 0U);
}

TEST(ReleasePrepareTest, OptionsWinOverTheFile) {
  const auto december = *Moments::parse("2026-12-01T09:00:00Z");
  const auto january = *Moments::parse("2027-01-01T09:00:00Z");
  for (const auto& [options, file, wanted] : std::vector<std::tuple<ReleaseSettings, ReleaseSettings, ReleaseSettings>>{
           {{}, {"scheduled", december, true, "45"}, {"scheduled", december, true, "45"}},
           {{"manual"}, {"scheduled", december, true, "45"}, {"manual", std::nullopt, true, "45"}},
           {{std::nullopt, january, false}, {"scheduled", december, true}, {"scheduled", january, false}},
           {{"scheduled", january, std::nullopt, "latest"}, {"manual"}, {"scheduled", january, std::nullopt, "latest"}},
           {{}, {"afterapproval", december}, {"afterapproval"}},
       }) {
    EXPECT_EQ(ReleasePrepare::settings(options, file), wanted);
  }
}

} // namespace
} // namespace kestu::tests
