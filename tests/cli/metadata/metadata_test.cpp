#include "sandbox/metadata/listing.hpp"
#include "tests/support/endings.hpp"
#include "tests/support/linked_test.hpp"

#include <cstdlib>

namespace fs = std::filesystem;

namespace kestu::tests {
namespace {

using nlohmann::json;

const std::string path = "/v1/apps/1234567890/listing";

class MetadataTest : public LinkedTest {
 protected:
  /// Changes values of a file's object; null takes one out.
  void edit(const std::string& file, const json& changes) {
    json object = json::parse(contents(file));
    object.merge_patch(changes);
    repo.write(file, object.dump());
  }
  std::map<std::string, std::string> everything() {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(repo.path())) {
      if (entry.is_regular_file()) files[entry.path().string()] = contents(fs::relative(entry.path(), repo.path()));
    }
    return files;
  }
  std::size_t pushes() { return calls("POST " + path); }
};

TEST_F(MetadataTest, APullAfterAPullWritesNothingInAnyLayout) {
  for (const auto& [name, file] :
       std::map<std::string, std::string>{{"kestu", "metadata/listing/ja.json"},
                                          {"json", "metadata/version/1.2/ja.json"},
                                          {"fastlane", "fastlane/metadata/ja/description.txt"}}) {
    SCOPED_TRACE(name);
    const std::string layout = " --layout " + name;
    EXPECT_TRUE(has(run("metadata pull 1.2" + layout).out, "  new      " + file + "\n"));
    auto before = everything();
    EXPECT_EQ(json::parse(run("metadata pull --json" + layout).out)["written"], json::array());
    EXPECT_EQ(everything(), before);
    EXPECT_EQ(run("metadata push" + layout).out, "✓ 1.2 for iOS says what the repo does already: nothing sent.\n");
  }
  EXPECT_EQ(pushes(), 0U);
}

TEST_F(MetadataTest, APullWritesOverNothingUnlessForced) {
  run("metadata pull 1.1");
  edit("metadata/listing/en-US.json", {{"description", "Mine"}});
  edit("metadata/listing/de-DE.json", {{"subtitle", nullptr}});
  repo.write("metadata/app.json", "mine");
  auto before = everything();
  EXPECT_TRUE(ended(run("metadata pull 1.1"), 1, equals,
                    "These files say something else than 1.1 for iOS in App Store Connect, so nothing was written:\n"
                    "  metadata/app.json\n  metadata/listing/en-US.json\n--force writes over them.\n"));
  EXPECT_EQ(everything(), before) << "not even the file whose value was only missing";
  EXPECT_EQ(run("metadata pull 1.1 --locale de-DE").out, "  changed  metadata/listing/de-DE.json\n✓ Wrote 1.1 for iOS "
                                                         "in kestu's layout: 1 file, and 1 file already so.\n");
  EXPECT_EQ(contents("metadata/app.json"), "mine");
  EXPECT_EQ(run("metadata pull 1.1 --force").status, 0);
  EXPECT_EQ(json::parse(contents("metadata/app.json"))["copyright"], "2026 Example");
}

TEST_F(MetadataTest, APullNeverWritesBesideANameThatIsTheSameOnAMac) {
  for (const auto& [layout, there, wanted] : std::vector<std::tuple<std::string, std::string, std::string>>{
           {"kestu", "metadata/listing/EN-US.json", "metadata/listing/en-US.json"},
           {"json", "metadata/Version/1.2/ja.json", "metadata/version"},
           {"fastlane", "fastlane/metadata/ja/Description.txt", "fastlane/metadata/ja/description.txt"},
       }) {
    SCOPED_TRACE(there);
    for (const char* folder : {"metadata", "fastlane"}) fs::remove_all(repo.path() / folder);
    repo.write(there, there.ends_with("json") ? "{}" : "text");
    auto before = everything();
    Ran ran = run("metadata pull 1.2 --layout '" + layout + "' --force");
    EXPECT_EQ(ran.status, 1);
    std::string blocking = layout == "json" ? "metadata/Version" : there;
    EXPECT_TRUE(has(ran.err, blocking + " is in the way: a Mac takes it for " + wanted + ". "));
    EXPECT_EQ(everything(), before);
  }
}

TEST_F(MetadataTest, APullThatCantBeFinishedLeavesNoTrace) {
  run("metadata pull");
  edit("metadata/app.json", {{"copyright", nullptr}});
  edit("metadata/listing/de-DE.json", {{"name", nullptr}});
  repo.write("metadata/releases", "a file where a folder belongs");
  auto before = everything();
  EXPECT_EQ(run("metadata pull 1.1").err,
            "metadata/releases/1.1/de-DE.json can't be written (Not a directory), so nothing was written.\n");
  EXPECT_EQ(everything(), before);
}

TEST_F(MetadataTest, AnAnswersLocalesNeverLeaveTheFolder) {
  server.onNext(
      {.path = path, .status = 200, .body = R"({"primaryLocale": "en-US", "locales": {"../../../x": {"name": "A"}}})"});
  EXPECT_EQ(run("metadata pull 1.2").status, 9);
  EXPECT_FALSE(fs::exists(repo.path() / "metadata"));
}

TEST_F(MetadataTest, TheVersionLeftOutIsTheOneThatCanBeEdited) {
  auto usage = [](const std::string& why) { return "Which version, as in kestu metadata pull 1.2? For iOS " + why; };
  auto add = [&](const std::string& number, const std::string& state) {
    server.withState([&](sandbox::State& all) { all.addVersion(1234567890, "ios", number, state); });
  };
  add("1.3", "waitingforreview");
  EXPECT_EQ(run("metadata pull").status, 0);
  add("1.4", "rejected");
  EXPECT_TRUE(ended(run("metadata pull"), 2, begins, usage("several versions can be edited, 1.4 and 1.2.")));
  server.withState([&](sandbox::State& all) {
    for (auto& version : all.versions) version.state = "inreview";
  });
  EXPECT_TRUE(ended(run("metadata pull"), 2, begins, usage("no version of the app can be edited now.")));
  EXPECT_EQ(run("metadata pull ../x").status, 2);
  EXPECT_TRUE(ended(run("metadata pull 7"), 7, equals,
                    "App Store Connect has no 7 for iOS yet: kestu release prepare 7 makes it.\n"));
}

TEST_F(MetadataTest, APushSendsOneChangeOfWhatDiffers) {
  EXPECT_EQ(run("metadata push").err,
            "No listing in the repo. kestu metadata pull writes one in kestu's layout (metadata/).\n");
  run("metadata pull");
  edit("metadata/listing/en-US.json", {{"subtitle", "Sky"}});
  edit("metadata/review.json", {{"notes", "Tap it."}});
  repo.write("metadata/listing/ar-SA.json", R"({"name": "طقس"})");
  environment["KESTU_REVIEW_DEMO_PASSWORD"] = "pa55";
  EXPECT_EQ(run("metadata push --dry-run").out, "  ar-SA       name                     طقس\n"
                                                "  en-US       subtitle                 The sky, hour by hour → Sky\n"
                                                "  App Review  notes                    Tap it.\n"
                                                "  App Review  demo account's password  sent, never shown\n"
                                                "Dry run: Daylight Weather (com.example.daylight) 1.2 for iOS would "
                                                "take 4 values from the repo, after your approval.\n");
  EXPECT_EQ(run("metadata push").status, 6);
  EXPECT_EQ(pushes(), 1U) << "the dry run";
  server.scriptNextPlan({.waitingPolls = 1});
  EXPECT_TRUE(ends(run("metadata push --yes").out,
                   "✓ 1.2 for iOS has the repo's listing, 4 values changed.\nNext: kestu release check 1.2\n"));
  EXPECT_EQ(lastBody("/listing"), (json{{"locales", {{"ar-SA", {{"name", "طقس"}}}, {"en-US", {{"subtitle", "Sky"}}}}},
                                        {"review", {{"notes", "Tap it."}, {"demoAccountPassword", "pa55"}}}}));
  EXPECT_EQ(run("metadata push").out, "✓ 1.2 for iOS says what the repo does already: nothing sent.\n");
  EXPECT_FALSE(has(terminal.allText(), "pa55"));
  run("metadata pull --force");
  for (const auto& [file, text] : everything()) EXPECT_FALSE(has(text, "pa55")) << file;
}

TEST_F(MetadataTest, APushIsLimitedAsAsked) {
  run("metadata pull");
  for (const char* locale : {"en-US", "de-DE"}) {
    edit("metadata/listing/" + std::string(locale) + ".json", {{"promotionalText", "New"}, {"name", "Other"}});
  }
  edit("metadata/app.json", {{"copyright", "2027"}});
  for (const auto& [options, status, said] : std::vector<ErrorRow>{
           {"--locale fr-FR", 7, "The repo's listing has no fr-FR, so nothing was sent.\n"},
           {"--locale de-DE", 0, "would take 2 values from the repo"},
           {"1.1", 0,
            "1.1 for iOS is on the App Store and takes only promotional text, so these stay: de-DE name, en-US name, "
            "App copyright.\n"},
           {"1.1", 0, "would take 2 values from the repo"},
           {"1.1 --locale ja", 0, "✓ 1.1 for iOS says what the repo does already: nothing sent.\n"},
           {"--demo-password", 2,
            "There is no demo account's password to send: set KESTU_REVIEW_DEMO_PASSWORD, or demoAccountPassword in "
            "metadata/review.json.\n"},
           {"--demo-password --locale ja", 2, "--locale sends languages' text alone"},
           {"--platform linux", 2, "--platform is ios, macos, tvos or visionos, not linux."},
           {"--layout fastlane", 7, "No listing in the repo."},
       }) {
    Ran ran = run("metadata push --dry-run " + options);
    EXPECT_EQ(ran.status, status) << said;
    EXPECT_TRUE(has(ran.out + ran.err, said));
  }
}

TEST_F(MetadataTest, APushRefusesWhatAppleWouldntTake) {
  run("metadata pull");
  edit("metadata/listing/en-US.json", {{"name", std::string(31, 'n')}});
  edit("metadata/listing/de-DE.json", {{"supportUrl", "daylight.example"}});
  const std::string german = "de-DE: support URL isn't a web address: daylight.example\n";
  const std::string lead = "Apple wouldn't take these, so nothing was sent:\n";
  expectErrors([&](const auto& options) { return run("metadata push " + options); }, begins,
               {
                   {"", 1, lead + german + "en-US: name is 31 characters, 30 at most.\n"},
                   {"--dry-run --json", 1, lead + german + "en-US: name is 31 characters, 30 at most.\n"},
                   {"--locale de-DE --yes", 1, lead + german},
                   {"--locale ja", 0, ""},
                   {"--dry-run --no-check", 0, ""},
                   {"1.1 --dry-run", 0, "1.1 for iOS is on the App Store"},
               });
  EXPECT_EQ(pushes(), 1U) << "the dry run with --no-check";
}

TEST_F(MetadataTest, WhatTheFilesCantTellApartIsSaid) {
  server.withState([](sandbox::State& state) {
    auto& info = sandbox::Listing::of(state, *state.version(1234567890, "macos", "1.2"));
    info.review["notes"] = "Mac: open the demo.";
  });
  run("metadata pull 1.2");
  edit("metadata/review.json", {{"notes", "iOS: tap the demo."}});
  EXPECT_TRUE(has(run("metadata pull 1.2 --platform macos").err, "a push would send it: App Review notes"));
  EXPECT_TRUE(begins(run("metadata pull 1.2 --platform macos").out, "✓ Nothing written for 1.2 for macOS"));
}

TEST_F(MetadataTest, WhatIsNotReadIsTold) {
  run("metadata pull 1.2");
  edit("metadata/listing/en-US.json", {{"whatsNew", "Faster"}, {"describtion", "?"}, {"macos", {{"titel", "?"}}}});
  repo.write("metadata/releases/1.2/en-US.json", R"({"name": "A", "whatToTest": "All"})");
  Ran ran = run("metadata push");
  EXPECT_EQ(ran.err,
            "metadata/listing: not read: describtion in en-US.json; titel in en-US.json; whatsNew in en-US.json (it "
            "goes in metadata/releases/<version>/<locale>.json).\n"
            "metadata/releases/1.2: not read: name in en-US.json (it goes in metadata/listing/<locale>.json).\n"
            "What to Test differs too, in en-US, and goes to the build: kestu release prepare 1.2 sends it.\n");
  EXPECT_EQ(ran.out, "✓ 1.2 for iOS says all the rest that the repo does: nothing sent.\n");
}

TEST_F(MetadataTest, ALanguageThatCantBeOneIsRefused) {
  run("metadata pull --layout fastlane");
  repo.write("fastlane/metadata/de_AT/name.txt", "A");
  repo.write("fastlane/metadata/pt-br/name.txt", "Tempo");
  repo.write("fastlane/metadata/fy/name.txt", "Waar");
  const std::string lead = "Apple wouldn't take these, so nothing was sent:\n";
  EXPECT_TRUE(ended(run("metadata push"), 1, equals,
                    lead + "fastlane/metadata/de_AT can't be a language: it's written de-DE.\n"
                           "fastlane/metadata/pt-br can't be a language: it's written pt-BR.\n"));
  EXPECT_EQ(run("metadata push --locale pt-br").err,
            "pt-br can't be a language: it's written pt-BR.\n\nUsage: kestu metadata push [<version>] [options]\n"
            "See kestu metadata push --help.\n");
  EXPECT_EQ(run("metadata push --locale pt-BR").err,
            lead + "fastlane/metadata/pt-br can't be a language: it's written pt-BR.\n");
  Ran ran = run("metadata push --locale fy --dry-run");
  EXPECT_EQ(ran.status, 0);
  EXPECT_EQ(ran.err, "fy isn't one of Apple's languages, so Apple may not take it.\n");
  ran = run("metadata push --no-check --dry-run --json");
  EXPECT_EQ(json::parse(ran.out)["changes"],
            json::parse(R"([{"place": "fy", "field": "name", "from": null, "to": "Waar"},
                            {"place": "pt-br", "field": "name", "from": null, "to": "Tempo"}])"));
  EXPECT_TRUE(begins(ran.err, "fastlane/metadata/de_AT can't be a language: it's written de-DE. Nothing in it is "));
  ran = run("metadata validate");
  EXPECT_EQ(ran.status, 1);
  EXPECT_TRUE(has(ran.out, "de_AT can't be a language"));
}

TEST_F(MetadataTest, KeywordsAreCountedAsTheRepositorySays) {
  std::string cyrillic;
  for (int i = 0; i < 60; ++i) cyrillic += "ж";
  repo.write("metadata/listing/en-US.json", json{{"keywords", cyrillic}}.dump());
  EXPECT_EQ(run("metadata validate").status, 1);
  Ran ran = run("metadata push --dry-run");
  EXPECT_EQ(ran.status, 0) << "bytes alone stop no push";
  EXPECT_TRUE(begins(ran.err, "en-US: keywords are 120 bytes, 100 at most. App Store Connect has"));
  EXPECT_EQ(run("config keywords letters").status, 2);
  EXPECT_EQ(run("config keywords characters").out, "✓ Set keywords to characters\n");
  EXPECT_EQ(run("metadata validate").status, 0);
  json config = json::parse(run("config --json").out);
  EXPECT_EQ(config["keywords"], "characters");
  EXPECT_EQ(config["appId"], 1234567890);
}

TEST_F(MetadataTest, WhatDiffersIsShownAsWideAsThereIsRoomAndNothingPersonal) {
  run("metadata pull");
  const std::string old = json::parse(contents("metadata/listing/en-US.json"))["description"];
  edit("metadata/listing/en-US.json", {{"description", old + "\nAnd a widget."}});
  edit("metadata/review.json", {{"contactPhone", "+49 30 5550199"}});
  std::string out = run("metadata push --yes --no-wait").out;
  EXPECT_TRUE(has(out, "And a widget.")) << "a pipe gets it whole";
  EXPECT_TRUE(has(out, "contact's phone"));
  const json answer = json::parse(run("metadata push --dry-run --json").out);
  for (const json& change : answer["changes"]) {
    EXPECT_EQ(change.value("to", ""), change["place"] == "App Review" ? "" : old + "\nAnd a widget.") << change;
  }
  EXPECT_TRUE(has(run("metadata push --diff").err, "{+\n    And a widget.+}"));
  EXPECT_FALSE(has(terminal.allText(), "5550199"));
}

TEST_F(MetadataTest, ADryRunOfAPullWritesNothing) {
  EXPECT_TRUE(begins(run("metadata pull --dry-run").out, "  new      metadata/app.json\n"));
  EXPECT_FALSE(fs::exists(repo.path() / "metadata"));
  run("metadata pull");
  edit("metadata/listing/en-US.json", {{"subtitle", "Mine own"}});
  auto before = everything();
  Ran ran = run("metadata pull --dry-run --diff");
  EXPECT_TRUE(ended(ran, 0, has,
                    "  metadata/listing/en-US.json  subtitle\n    [-Mine-]{+The+} [-own-]{+sky, hour by hour+}\n"));
  EXPECT_TRUE(ends(ran.out, "That takes --force, since 1 file says something else: metadata/listing/en-US.json.\n"));
  json answer = json::parse(run("metadata pull --dry-run --json").out);
  EXPECT_EQ(answer["conflicts"], json({"metadata/listing/en-US.json"}));
  EXPECT_EQ(answer["changes"][0]["to"], "The sky, hour by hour");
  EXPECT_EQ(everything(), before);
}

TEST_F(MetadataTest, ATrackedPasswordIsWarnedOf) {
  run("metadata pull");
  edit("metadata/review.json", {{"demoAccountPassword", "pa55"}});
  fs::remove(repo.path() / ".git");
  std::string git = "cd '" + repo.path().string() + "' && git init -q";
  ASSERT_EQ(std::system(git.c_str()), 0);
  const std::string warning = "metadata/review.json holds the demo account's password and git tracks it, so it's in "
                              "the repo's history: KESTU_REVIEW_DEMO_PASSWORD where kestu runs keeps it out.\n";
  EXPECT_EQ(run("metadata push").err, "");
  ASSERT_EQ(std::system((git + " && git add metadata").c_str()), 0);
  EXPECT_EQ(run("metadata push").err, warning);
  environment["KESTU_REVIEW_DEMO_PASSWORD"] = "other";
  EXPECT_EQ(run("metadata push").err, "");
}

TEST_F(MetadataTest, ContentRightsAreShownAndSet) {
  EXPECT_TRUE(has(run("metadata content-rights").out, "isn't answered"));
  EXPECT_EQ(json::parse(run("metadata content-rights --json").out)["contentRights"], nullptr);
  EXPECT_EQ(run("metadata content-rights set").status, 2);
  EXPECT_EQ(run("metadata content-rights set --third-party-content maybe").status, 2);
  EXPECT_EQ(run("metadata content-rights set --third-party-content no").status, 6);
  EXPECT_EQ(run("metadata content-rights set --third-party-content no --dry-run").out,
            "Dry run: Daylight Weather (com.example.daylight), Content Rights would say that the app uses no "
            "third-party content, after your approval.\n");
  server.scriptNextPlan({});
  Ran ran = run("metadata content-rights set --third-party-content no -y");
  EXPECT_TRUE(ends(ran.out, "✓ Content Rights says that the app uses no third-party content.\n"));
  EXPECT_EQ(lastBody("/listing"), (json{{"contentRights", "DOES_NOT_USE_THIRD_PARTY_CONTENT"}}));
  std::size_t sent = pushes();
  EXPECT_EQ(run("metadata content-rights set --third-party-content no").status, 0);
  EXPECT_EQ(pushes(), sent);
  EXPECT_EQ(run("metadata content-rights").out, "Content Rights: the app uses no third-party content.\n");
}

} // namespace
} // namespace kestu::tests
