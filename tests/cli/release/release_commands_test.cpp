#include "core/project/apple_locales.hpp"
#include "core/support/process.hpp"
#include "sandbox/metadata/listing.hpp"
#include "tests/support/endings.hpp"
#include "tests/support/linked_test.hpp"

namespace kestu::tests {
namespace {

using nlohmann::json;

/// A repository whose app has all that App Review needs of 1.2.
class ReleaseTest : public LinkedTest {
 protected:
  ReleaseTest() {
    server.withState([&](sandbox::State& state) { makeReady(state); });
  }

  void makeReady(sandbox::State& state) const {
    state.listings.apps[1234567890].contentRights = "DOES_NOT_USE_THIRD_PARTY_CONTENT";
    state.kit.pages[1234567890].front().state = "published";
    sandbox::Version& version = *state.version(1234567890, "ios", "1.2");
    auto& info = sandbox::Listing::of(state, version);
    info.review["contactPhone"] = "+43 1";
    for (auto& [locale, fields] : info.texts) {
      fields["whatsNew"] = "Faster.";
      fields["keywords"] = "cloud";
    }
    for (auto& build : state.testFlight.builds) {
      if (build.platform != "ios" || build.number != "43") continue;
      build.uploadedAt = clock.now() - std::chrono::days(3);
      version.buildId = build.buildId;
    }
  }

  void git(const std::string& line, const std::string& date) const {
    ProcessRequest request{.arguments = wordsOf("git -c user.name=Ada -c user.email=ada@example.com " + line),
                           .folder = repo.path()};
    request.environment = {{"GIT_COMMITTER_DATE", date}, {"GIT_CONFIG_GLOBAL", "/dev/null"}};
    auto result = Process::run(request, {});
    if (!result.succeeded()) throw std::runtime_error(result.err);
  }
  void commit(const std::string& date) const {
    git("add -A", date);
    git("commit -qm Change", date);
  }
};

TEST_F(ReleaseTest, CheckSaysWhatKeepsAVersionBack) {
  const std::string ready = "✓ 1.2 is ready for App Review", next = ".\nNext: kestu submit 1.2\n";
  const std::string held = "1.2 isn't ready for App Review: 1 error", ja = "metadata/listing/ja.json";
  const std::string blanks = "warning  ja  ja: keywords have spaces after commas, which use up bytes of the 100.\n";
  struct Row {
    const char* what;
    std::function<void(sandbox::State&)> change;
    std::string options;
    int status;
    std::string out; // before the time that App Review takes
    std::string end;
  };
  auto ios = [](sandbox::State& state) -> sandbox::Version& { return *state.version(1234567890, "ios", "1.2"); };
  auto info = [&](sandbox::State& state) -> sandbox::VersionInfo& { return sandbox::Listing::of(state, ios(state)); };
  auto wasteful = [&](auto&) { repo.write(ja, R"({"keywords": "a, b"})"); };
  auto untold = [&](auto& state) { info(state).texts["ja"].erase("whatsNew"); };
  auto defaulted = [&](auto& state) {
    info(state).texts["ja"].erase("description");
    info(state).texts["de-DE"]["supportUrl"] = info(state).texts["ja"]["supportUrl"] = "none";
    repo.write("metadata/listing/default.json", R"({"supportUrl": "https://example.com/help"})");
  };
  auto first = [&](auto& state) {
    std::erase_if(state.versions, [](const auto& each) { return each.version == "1.1"; });
    for (auto& [locale, fields] : info(state).texts) fields.erase("whatsNew");
  };
  auto isOut = [&](auto& state) {
    ios(state).state = "readyfordistribution";
    info(state).texts["ja"] = {{"promotionalText", "TODO"}, {"supportUrl", "none"}};
  };
  auto everything = [&](auto& state) {
    ios(state).releaseType = "scheduled";
    ios(state).earliestReleaseDate = FakeClock().now();
    for (auto& build : state.testFlight.builds) build.state = "missingcompliance";
    state.listings.apps[1234567890].contentRights.reset();
    info(state).review.erase("contactEmail");
    state.kit.pages[1234567890].front().state = "draft";
    repo.write("metadata/listing/en-US.json", "{}");
    repo.write("metadata/app.json", R"({"contentRightsDeclaration": "USES_THIRD_PARTY_CONTENT"})");
    repo.write("metadata/review.json", R"({"demoAccountRequired": true, "demoAccountName": "demo"})");
    repo.write("metadata/header/en-US/1.png", "?");
    repo.write("App/A.swift", R"(KestuFlags.isOn("a-b c"); KestuFlags.isOn("new-radar"))");
  };
  auto unsent = [&](auto& state) {
    state.kit.pages.clear();
    repo.write("metadata/releases/1.2/whatsnew/page.json", "{}");
  };
  for (const Row& row : std::vector<Row>{
           {"nothing", nullptr, "", 0, "", ready + next},
           {"nothing, named", nullptr, "--platform ios --strict", 0, "",
            ready + ".\nNext: kestu submit 1.2 --platform ios\n"},
           {"a warning", wasteful, "", 0, blanks, ready + ", with 1 warning" + next},
           {"a warning, strictly", wasteful, "--strict", 1, blanks, "1.2 isn't ready for App Review: 1 warning.\n"},
           {"the repo's text over App Store Connect's, its default over what is missing", defaulted, "", 1,
            "error  ja  ja: no description, which App Review needs.\n", held + ".\n"},
           {"a first version without what's new", first, "", 0, "", ready + next},
           {"an update without what's new", untold, "", 1, "error  ja  ja: no what's new, which App Review needs.\n",
            held + ".\n"},
           {"one that is out, of which only promotional text counts", isOut, "", 1,
            "warning  ja  ja: promotional text has \"TODO\", which reads as placeholder text.\n"
            "error        1.2 is on the App Store already.\n",
            held + ", with 1 warning.\n"},
           {"everything about the version, in order", everything, "", 1,
            "warning         1.2's scheduled release, 12:00, has passed: it goes out once approved.\n"
            "error           1.2 (43)'s export compliance isn't answered: kestu builds compliance '1.2 (43)'\n"
            "note            Content Rights is answered from metadata/app.json as the listing's pushed.\n"
            "error           App Review's contact has no email.\n"
            "note            App Review needs a demo account: Apple never gives its password back, so set "
            "KESTU_REVIEW_DEMO_PASSWORD, or demoAccountPassword in metadata/review.json, to send it.\n"
            "error    en-US  metadata/header/en-US/1.png isn't a PNG or a JPEG.\n"
            "warning         The 1.2 What's New page is a draft, so no one sees it: kestu kit whats-new publish 1.2\n"
            "warning         The code reads the flag a-b c (App/A.swift:1), which kestu doesn't have: kestu kit flags "
            "create 'a-b c'\n",
            "What App Review is told goes in metadata/review.json: kestu metadata push 1.2 sends it.\n"
            "1.2 isn't ready for App Review: 3 errors, with 3 warnings.\n"},
           {"a page that only the repo has", unsent, "", 0,
            "warning  metadata/releases/1.2/whatsnew isn't uploaded to kestu: kestu kit whats-new upload "
            "metadata/releases/1.2/whatsnew --version 1.2\n",
            ready + ", with 1 warning" + next},
       }) {
    SCOPED_TRACE(row.what);
    for (const char* folder : {"metadata", "App"}) std::filesystem::remove_all(repo.path() / folder);
    server.withState([&](sandbox::State& state) {
      state.reset();
      makeReady(state);
      if (row.change) row.change(state);
    });
    setenv("TZ", "UTC", 1);
    tzset();
    Ran ran = run("release check 1.2 " + row.options);
    EXPECT_EQ(ran.status, row.status) << ran.err;
    EXPECT_EQ(ran.out.substr(0, row.out.size()), row.out);
    std::size_t note = std::min(ran.out.size(), row.out.size());
    EXPECT_TRUE(begins(ran.out.substr(note), "note"));
    EXPECT_EQ(ran.out.substr(std::min(ran.out.find('\n', note), ran.out.size() - 1) + 1), row.end);
  }
}

TEST_F(ReleaseTest, CheckGoesOnWithoutWhatCannotBeRead) {
  repo.write("App/A.swift", R"(KestuFlags.isOn("a"))");
  repo.write("metadata/header/en-US/1.png", "?");
  signIn({"release"});
  server.onNext({.path = "/v1/apps/1234567890/assets/catalog", .status = 503});
  Ran ran = run("release check 1.2");
  EXPECT_EQ(ran.status, 0) << ran.err;
  std::size_t at = 0;
  for (const char* start :
       {"warning  The build's TestFlight days weren't checked: ",
        "warning  The header assets weren't checked against Apple's specs: ",
        "warning  The What's New page wasn't checked: ", "warning  The flags the code reads weren't checked: ",
        "note     App Review on iOS", "✓ 1.2 is ready for App Review, with 4 warnings.\n"}) {
    EXPECT_EQ(ran.out.find(start, at), at) << ran.out;
    at = ran.out.find('\n', at) + 1;
  }
  server.onNext({.path = "/v1/review-times", .status = 503});
  EXPECT_TRUE(has(run("release check 1.2").out, "How long App Review takes wasn't found out: "));
  // What nothing can be said without stops it.
  server.onNext({.path = "/v1/apps/1234567890/listing", .status = 503});
  EXPECT_EQ(run("release check 1.2").status, 9);
  EXPECT_EQ(run("release check ../1.2").status, 2);
}

TEST_F(ReleaseTest, CheckOfAVersionThatIsNotThereYet) {
  repo.write("metadata/listing/en-US.json", R"({"name": "X"})");
  Ran ran = run("release check 1.3");
  EXPECT_EQ(ran.status, 1);
  EXPECT_EQ(ran.out,
            "error    App Store Connect has no 1.3 yet: kestu release prepare 1.3 makes it.\n"
            "warning  No What's New page for 1.3, though earlier versions had one.\n"
            "note     App Review on iOS takes about 22 hours now (the median of 412 reviews in the last 7 days).\n"
            "The rest is checked once 1.3 exists: kestu metadata validate checks the repo's listing now.\n"
            "1.3 isn't ready for App Review: 1 error, with 1 warning.\n");
  ran = run("release check 1.3 --json");
  EXPECT_EQ(ran.status, 1);
  EXPECT_EQ(json::parse(ran.out)[0].dump(),
            R"({"level":"error","message":"App Store Connect has no 1.3 yet: kestu release prepare 1.3 makes it.",)"
            R"("rule":"version"})");
  EXPECT_TRUE(ends(ran.err, "1.3 isn't ready for App Review: 1 error, with 1 warning.\n"));
}

TEST_F(ReleaseTest, ValidateChecksFortyLanguagesOffline) {
  store.items.clear();
  repo.write("metadata/screenshots/en-US/1.png", "?");
  EXPECT_EQ(run("metadata validate").err,
            "No listing in the repo. kestu metadata pull writes one in kestu's layout (metadata/).\n");

  auto write = [&](const std::string& locale, const json& texts) {
    repo.write("metadata/listing/" + locale + ".json", texts.dump());
  };
  for (const AppleLocale& each : AppleLocales::all())
    write(std::string(each.code), {{"name", "Name"}, {"keywords", "a,b"}});
  EXPECT_TRUE(
      ended(run("metadata validate --strict"), 0, ends,
            "note  en-US was taken for the primary language, which only kestu knows: Not signed in. Run kestu login.\n"
            "note  The screenshots weren't checked against Apple's specs: Not signed in. Run kestu login.\n"
            "✓ The repo's listing keeps to Apple's limits.\n"));
  write("ja", {{"name", "N"}, {"description", "TODO"}, {"keywords", "a, A"}});
  write("da", {{"keywords", "a,b"}});
  Ran ran = run("metadata validate --json");
  EXPECT_EQ(ran.status, 1);
  std::string found;
  for (const auto& finding : json::parse(ran.out)) {
    found += finding.value("level", "") + " " + finding.value("rule", "") + " " + finding.value("locale", "-") + "; ";
  }
  EXPECT_EQ(found, "warning missing da; error limit ja; warning placeholder ja; warning keywords ja; warning keywords "
                   "ja; note stale -; note missing -; note assets -; ");
  EXPECT_EQ(ran.err, "1 error, with 4 warnings.\n");
  EXPECT_TRUE(server.requests().empty());
  std::filesystem::remove(repo.path() / "kestu.json");
  signIn();
  EXPECT_TRUE(has(run("metadata validate").out, "Apple's specs: Name an app, or run kestu link"));
  EXPECT_EQ(run("metadata validate --app None").status, 7);
  write("ja", json::array());
  EXPECT_EQ(run("metadata validate").err, "metadata/listing/ja.json isn't a JSON object.\n");
}

TEST_F(ReleaseTest, ReportsNameFilesFromTheRepositorysTop) {
  here = repo.path() / "apps/sun";
  for (const auto& [file, text] : std::map<std::string, std::string>{
           {"kestu.json", contents("kestu.json")},
           {"metadata/listing/de-DE.json", R"({"supportUrl": "none", "keywords": "a, b"})"},
           {"metadata/listing/default.json", R"({"description": "Lorem ipsum."})"},
           {"metadata/listing/german.json", "{}"},
           {"metadata/releases/1.2/en-US.json", R"({"whatsNew": "New."})"},
           {"metadata/screenshots/de-DE/iPhone 6.9/a b.png", "?"},
           {"App/A.swift", "\n\nlet on = KestuFlags.isOn(\"none\")\n"}}) {
    repo.write("apps/sun/" + file, text);
  }
  using Words = std::vector<std::string>;
  const std::string listing = "file=apps/sun/metadata/listing/";
  // With parts of the output in their order.
  for (const auto& [line, parts] : std::vector<std::pair<std::string, Words>>{
           {"metadata validate --report github",
            {"::error " + listing + "german.json,title=kestu%3A language::metadata/listing/german.json can't be",
             "::error " + listing + "de-DE.json,title=kestu%3A url de-DE::de-DE: support URL isn't",
             "::error file=apps/sun/metadata/screenshots/de-DE/iPhone 6.9/a b.png,title=kestu%3A screenshots de-DE::",
             "::warning " + listing + "default.json,title=kestu%3A placeholder de-DE::",
             "::warning file=apps/sun/metadata/releases/1.2/de-DE.json,title=kestu%3A missing de-DE::de-DE: no what's",
             "::warning " + listing + "de-DE.json,title=kestu%3A keywords de-DE::"}},
           {"release check 1.2 --report github",
            {"::warning file=apps/sun/App/A.swift,line=3,title=kestu%3A flags::The code reads the flag none"}},
           {"release check 1.2 --report=junit",
            {"<testcase classname=\"kestu.release-check\" name=\"url de-DE\" "
             "file=\"apps/sun/metadata/listing/de-DE.json\">\n      <failure message=\"de-DE: support URL",
             "name=\"required ja\"/>", "name=\"version\"/>", "name=\"contentrights\"/>"}},
       }) {
    SCOPED_TRACE(line);
    Ran ran = run(line);
    EXPECT_EQ(ran.status, 1) << ran.err;
    std::size_t at = 0;
    for (const std::string& part : parts) {
      std::size_t found = ran.out.find(part, at);
      EXPECT_NE(found, std::string::npos) << part << "\n" << ran.out;
      if (found != std::string::npos) at = found;
    }
    EXPECT_FALSE(has(ran.out, "error, with")) << "the sum is a message";
  }
  for (const char* wrong : {"html", "junit --json"})
    EXPECT_EQ(run(std::string("metadata validate --report ") + wrong).status, 2);
}

TEST_F(ReleaseTest, ValidateUsesWhatItCanHave) {
  server.withState([](sandbox::State& state) { state.app(1234567890)->primaryLocale = "de-DE"; });
  repo.write("metadata/listing/de-DE.json", R"({"name": "Tageslicht", "subtitle": "Der Himmel"})");
  repo.write("metadata/listing/en-US.json", R"({"name": "Daylight"})");
  server.onNext({.path = "/v1/apps/1234567890/assets/catalog", .times = -1, .status = 503});
  Ran ran = run("metadata validate 7.7");
  EXPECT_TRUE(has(ran.out, "en-US: no subtitle, which de-DE has."));
  EXPECT_TRUE(has(ran.out, "metadata/releases/7.7 isn't there"));
  EXPECT_EQ(run("metadata validate --platform tvos").status, 0);
  server.faults().clear();
  EXPECT_EQ(run("metadata validate --platform tvos").status, 7);
  repo.write("metadata/listing/fr-fr.json", R"({"name": "Jour"})");
  ran = run("metadata validate");
  EXPECT_TRUE(has(ran.out, "fr-fr.json can't be a language: it's written fr-FR."));
  EXPECT_FALSE(has(ran.out, "fr-fr: no subtitle")) << "its name alone is wrong";
  std::filesystem::remove_all(repo.path() / "metadata");
  repo.write("metadata/screenshots/en-US/iPhone Duo/1.png", "no image");
  ran = run("metadata validate");
  EXPECT_EQ(ran.status, 7);
  EXPECT_TRUE(has(ran.out, "1.png isn't a PNG or a JPEG."));
  EXPECT_TRUE(begins(ran.err, "No listing in the repo."));
  repo.write("kestu.json", "{");
  EXPECT_EQ(run("metadata validate").status, 1);
}

TEST_F(ReleaseTest, ValidateWithGitAndTheCatalog) {
  std::filesystem::remove_all(repo.path() / ".git");
  git("init -q", "");
  repo.write("fastlane/metadata/de-DE/name.txt", "Tageslicht\n");
  repo.write("fastlane/metadata/en-US/name.txt", "Daylight\n");
  repo.write("fastlane/metadata/en-US/keywords.txt", "sky\n");
  repo.write("fastlane/metadata/de-DE/keywords.txt", "Himmel\n");
  repo.write("fastlane/screenshots/en-US/1.png", "?");
  commit("2026-01-01T00:00:00Z");
  EXPECT_EQ(run("metadata validate --strict").out,
            "error  en-US  fastlane/screenshots/en-US/1.png isn't a PNG or a JPEG.\n1 error.\n");
  std::filesystem::remove_all(repo.path() / "fastlane/screenshots");
  repo.write("fastlane/metadata/en-US/name.txt", "Daylight Now\n");
  commit("2026-01-02T00:00:00Z");
  EXPECT_TRUE(ended(run("metadata validate"), 0, equals,
                    "warning  de-DE  de-DE: name last changed before en-US's, so may not say what it says now.\n✓ The "
                    "repo's listing keeps to Apple's limits, with 1 warning.\n"));
  Ran ran = run("metadata validate --layout fastlane --strict -o csv");
  EXPECT_EQ(ran.status, 1);
  EXPECT_EQ(ran.out, "Level,Language,Message\nwarning,de-DE,\"de-DE: name last changed before en-US's, so may not say "
                     "what it says now.\"\n");
  repo.write("fastlane/metadata/de-DE/name.txt", "Tageslicht Jetzt\n"); // not committed, so changed now
  EXPECT_EQ(run("metadata validate --strict").out, "✓ The repo's listing keeps to Apple's limits.\n");
}

} // namespace
} // namespace kestu::tests
