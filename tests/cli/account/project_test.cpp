#include "core/project/project.hpp"

#include "core/console/text_style.hpp"
#include "core/project/app_choice.hpp"
#include "core/project/project_search.hpp"
#include "tests/support/linked_test.hpp"

namespace fs = std::filesystem;

namespace kestu::tests {
namespace {

TEST(Project, ReadsBundleIDs) {
  const std::string key = "PRODUCT_BUNDLE_IDENTIFIER = ";
  for (const auto& [text, ids] : std::vector<std::pair<std::string, std::set<std::string>>>{
           {key + "com.example.app;\n\t" + key + "\"com.example.app.b\";", {"com.example.app", "com.example.app.b"}},
           {key + "\"$(BASE).app\"; " + key + "\"com.a-b\";", {"com.a-b"}},
           {key + "\"\"; " + key + ";", {}},
           {key + "com.example\n;" + key + "a.b", {}},
           {"PRODUCT_BUNDLE_IDENTIFIER=a.b;", {}},
       }) {
    SCOPED_TRACE(text);
    EXPECT_EQ(Project::bundleIDsIn(text), ids);
  }
}

TEST(Project, SearchesThreeLevelsAndNotTheSkippedFolders) {
  TemporaryFolder folder;
  auto add = [&](const std::string& path, const std::string& id) {
    folder.write(path + ".xcodeproj/project.pbxproj", "PRODUCT_BUNDLE_IDENTIFIER = " + id + ";");
  };
  add("A", "one");
  add("a/b/B", "three");
  add("a/b/c/C", "four");
  add("Pods/D", "pods");
  add("a/fastlane/E", "fastlane");
  fs::create_directory_symlink(folder.path(), folder.path() / "loop");
  EXPECT_EQ(Project::bundleIDs(folder.path()), (std::set<std::string>{"one", "three"}));
}

TEST(Project, ItsRootIsTheNearestLinkedFolderOfTheRepository) {
  for (const auto& [files, from, root] : std::vector<std::tuple<std::string, std::string, std::string>>{
           {".git/HEAD", "a/b", ""},
           {".git/HEAD kestu.json", "a/b", ""},
           {".git/HEAD kestu.json a/kestu.json", "a/b", "a"},
           {".git/HEAD a/kestu.json", "a/b", "a"},
           {".git/HEAD a/kestu.json a/b/kestu.json", "a/b", "a/b"},
           {".git/HEAD a/kestu.json", "c/d", ""},
           {".git/HEAD kestu.json a/.git", "a/b", "a"}, // a repository inside another, as a submodule is
           {"kestu.json", "a/b", "a/b"},                // no repository at all
       }) {
    TemporaryFolder folder;
    for (const std::string& file : wordsOf(files)) folder.write(file, "{}");
    SCOPED_TRACE(from + " of " + files);
    fs::create_directories(folder.path() / from);
    EXPECT_EQ(Project::root(folder.path() / from), root.empty() ? folder.path() : folder.path() / root);
  }
}

TEST(Project, SaysWhereAnIDComesFrom) {
  const std::string set = "PRODUCT_BUNDLE_IDENTIFIER = ";
  for (const auto& [file, text, source] : std::vector<std::tuple<std::string, std::string, std::string>>{
           {"a/App.xcodeproj/project.pbxproj", set + "\"$(ID).app\";",
            "a/App.xcodeproj takes it from a variable: $(ID).app."},
           {"A.xcodeproj/project.pbxproj", set + "com.example.app;", ""},
           {"Config/Base.xcconfig", "A = b\n " + set + " com.a.b // ours", "Config/Base.xcconfig sets it: com.a.b."},
           {"Base.xcconfig", "PRODUCT_BUNDLE_IDENTIFIER[config=Debug]=a.b", "Base.xcconfig sets it: a.b."},
           {"Base.xcconfig", "// " + set + "a.b\nPRODUCT_BUNDLE_IDENTIFIER_BASE = a.b\n" + set, ""},
           {"project.yml", "", "project.yml makes the Xcode project, which isn't here yet (xcodegen generate)."},
           {"i/Project.swift", "", "i/Project.swift makes the Xcode project, which isn't here yet (tuist generate)."},
           {"Pods/Base.xcconfig", set + "a.b", ""},
       }) {
    TemporaryFolder folder;
    folder.write(file, text);
    SCOPED_TRACE(file + ": " + text);
    auto found = Project::bundleIDSources(folder.path());
    EXPECT_EQ(found, source.empty() ? std::vector<std::string>{} : std::vector{source});
  }
}

/// A target with one configuration, as Xcode writes it.
std::string target(const std::string& number, const std::string& type, const std::string& bundleID) {
  return "\t\tA" + number + " /* T */ = {\n\t\t\tisa = PBXNativeTarget;\n\t\t\tbuildConfigurationList = B" + number +
         " /* Build configuration list */;\n\t\t\tproductType = \"com.apple.product-type." + type +
         "\";\n\t\t};\n\t\tB" + number + " /* list */ = {\n\t\t\tbuildConfigurations = (\n\t\t\t\tC" + number +
         " /* Debug */,\n\t\t\t);\n\t\t};\n\t\tC" + number +
         " /* Debug */ = {\n\t\t\tbuildSettings = {\n\t\t\t\tPRODUCT_BUNDLE_IDENTIFIER = " + bundleID +
         ";\n\t\t\t};\n\t\t};\n";
}

TEST(Project, ListsAppsWithoutTheirTestsAndParts) {
  for (const auto& [project, apps] : std::vector<std::pair<std::string, std::vector<std::string>>>{
           {target("1", "application", "a.b") + target("2", "app-extension", "a.b.widget") +
                target("3", "application", "a.bc") + target("4", "app-extension", "a.b.widget.more"),
            {"a.b", "a.bc"}},
           {target("1", "application", "a.b") + target("2", "bundle.unit-test", "c.unit"), {"a.b"}},
           {target("1", "bundle.ui-testing", "a.b") + target("2", "application", "a.b"), {"a.b"}},
           {target("1", "application", "\"$(ID)\"") + target("2", "app-extension", "a.share") +
                target("3", "application", "a.other"),
            {"a.other"}},
           {target("1", "application.watchapp2", "a.watch"), {"a.watch"}}, // rather than none
           {"PRODUCT_BUNDLE_IDENTIFIER = a.b; PRODUCT_BUNDLE_IDENTIFIER = c.AppUITests;", {"a.b"}},
           {"PRODUCT_BUNDLE_IDENTIFIER = a.contest;", {"a.contest"}},
       }) {
    SCOPED_TRACE(project);
    TemporaryFolder folder;
    folder.write("A.xcodeproj/project.pbxproj", project);
    EXPECT_EQ(Project::appIDs(folder.path()), apps);
  }
}

TEST(AppChoice, ListsAreFolded) {
  TemporaryFolder folder;
  for (std::size_t count : {0U, 1U, 9U, 10U, 30U}) {
    std::vector<App> apps;
    for (std::size_t i = 1; i <= count; ++i) apps.push_back({static_cast<std::int64_t>(i), "", "A", {}, ""});
    try {
      AppChoice::ofRepository(folder.path(), apps);
      ADD_FAILURE() << "no project sets an ID";
    } catch (const CLIError& error) {
      std::string more = " and " + std::to_string(count - 8) + " more (kestu apps lists them)";
      EXPECT_EQ(error.description.ends_with(more), count > 9) << error.description;
      EXPECT_EQ(error.description.find("A (9)") != std::string::npos, count == 9);
    }
  }
}

TEST(Project, FindsWhatLiesElsewhere) {
  using enum Project::Contents;
  for (const auto& [contents, file, start] : std::vector<std::tuple<Project::Contents, std::string, std::string>>{
           {listing, "fastlane/metadata/ios/en-US/name.txt", "fastlane/metadata/ios holds a listing, and kestu reads"},
           {listing, "fastlane/metadata/android/en-US/title.txt", ""},
           {listing, "fastlane/metadata/en-US/name.txt", ""},
           {listing, "ios/fastlane/metadata/de-DE/name.txt",
            "ios/fastlane/metadata holds a listing: run kestu in ios, after kestu link --here there."},
           {listing, "android/fastlane/metadata/android/de-DE/name.txt", ""},
           {listing, "apps/a/metadata/listing/en-US.json",
            "apps/a/metadata/listing holds a listing: run kestu in apps/a,"},
           {listing, "a/b/c/d/metadata/listing/en-US.json", ""},
           {listing, "ios/fastlane/screenshots/de-DE/1.png", ""},
           {screenshots, "ios/fastlane/screenshots/de-DE/1.png", "ios/fastlane/screenshots holds screenshots: run"},
           {screenshots, "fastlane/screenshots/ios/ja/1.png", "fastlane/screenshots/ios holds screenshots, and"},
           {screenshots, "node_modules/x/fastlane/screenshots/ja/1.png", ""},
       }) {
    TemporaryFolder folder;
    folder.write(file, "");
    SCOPED_TRACE(file);
    auto found = Project::elsewhere(contents, folder.path());
    ASSERT_EQ(found.size(), start.empty() ? 0U : 1U);
    if (!found.empty()) EXPECT_TRUE(begins(found[0], start));
  }
}

TEST(AppChoice, MatchesByTheFirstRuleThatFinds) {
  const std::vector<App> apps = {{1234567890, "com.example.weather", "Weather Pro", {}, ""},
                                 {2, "com.example.lite", "Weather Lite", {}, ""},
                                 {3, "Weather Pro", "1234 Numbers", {}, ""},
                                 {4, "com.example.cafe", "Café Wächter", {}, ""},
                                 {5, "com.example.cafe2", "Café Wächter Plus", {}, ""}};
  for (const auto& [text, found] : std::vector<std::pair<std::string, std::string>>{
           {"1234567890", "1234567890"},
           {"1234", "3"},
           {"Weather Pro", "3"},
           {"weather pro", "1234567890"},
           {"cafe wachter", "4"},
           {"CAFÉ WÄCHTER P", "5"},
           {"weather", "weather could be Weather Pro or Weather Lite. Use its App Store ID."},
           {"eather", "None of your apps this sign-in covers is eather"},
           {"", "None of your apps this sign-in covers is "},
       }) {
    SCOPED_TRACE(text);
    try {
      EXPECT_EQ(std::to_string(AppChoice::match(text, apps).appId), found);
    } catch (const CLIError& error) {
      EXPECT_EQ(error.description, found);
    }
  }
}

class ProjectTest : public CommandTest {
 protected:
  std::string config() { return *Files::read(repo.path() / "kestu.json", 1 << 22); }
};

TEST_F(ProjectTest, LinksTheAppWhoseBundleIDTheRepositorySets) {
  signIn();
  const std::string yours =
      "\nYours: Daylight Weather (1234567890), Tidepool: Naturkunde für Kinder (2345678901), Ledger (3456789012)\n";
  EXPECT_EQ(run("link").err, "No Xcode project here sets a bundle ID. Name the app: kestu link <app>." + yours);
  auto set = [&](const std::string& ids) { repo.write("App.xcodeproj/project.pbxproj", ids); };
  set("PRODUCT_BUNDLE_IDENTIFIER = z.b; PRODUCT_BUNDLE_IDENTIFIER = a.b;");
  EXPECT_EQ(run("link").err,
            "None of your apps this sign-in covers is a.b, z.b. Name the app: kestu link <app>." + yours);
  set("PRODUCT_BUNDLE_IDENTIFIER = com.example.daylight; PRODUCT_BUNDLE_IDENTIFIER = com.example.tidepool;");
  EXPECT_EQ(
      run("link").err,
      "This repo has several of your apps: Daylight Weather (1234567890), Tidepool: Naturkunde für Kinder "
      "(2345678901). Name one: kestu link <app>.\nWhere each has a folder of its own: kestu link --here in each.\n");
  EXPECT_FALSE(fs::exists(repo.path() / "kestu.json"));
  set("PRODUCT_BUNDLE_IDENTIFIER = com.example.daylight; PRODUCT_BUNDLE_IDENTIFIER = com.example.daylight.widget;");
  EXPECT_EQ(run("link").out, "✓ Linked this repo to Daylight Weather (1234567890)\nNext: kestu status\n");
  EXPECT_EQ(*Files::read(repo.path() / "kestu.json", 1000),
            "{\n  \"appId\": 1234567890,\n  \"bundleId\": \"com.example.daylight\"\n}\n");
}

TEST_F(ProjectTest, ConfigKeepsWhatItDoesNotKnow) {
  EXPECT_EQ(run("config").err, "This repo has no kestu.json: kestu link writes it.\n");
  repo.write("kestu.json", R"({"appId": 1, "bundleId": "a/b", "later": [1]})");
  EXPECT_EQ(run("config screenshot-folders ids").out, "✓ Set screenshot-folders to ids\n");
  EXPECT_EQ(*Files::read(repo.path() / "kestu.json", 1000),
            "{\n  \"appId\": 1,\n  \"bundleId\": \"a/b\",\n  \"later\": [\n    1\n  ],\n  \"screenshotFolders\": "
            "\"ids\"\n}\n");
  EXPECT_EQ(run("config screenshot-folders both").status, 2);
  signIn();
  EXPECT_EQ(run("link Ledger").status, 0);
  EXPECT_EQ(run("config --json").out,
            "{\n  \"appId\": 3456789012,\n  \"bundleId\": \"com.example.ledger.mac\",\n  \"keywords\": \"bytes\",\n"
            "  \"screenshotFolders\": \"ids\"\n}\n");
  for (const std::string& bad :
       std::vector<std::string>{"", "[]", "{", R"({"appId": "1", "bundleId": "a"})", R"({"bundleId": "a"})",
                                R"({"appId": 1, "bundleId": "a", "keywords": 5})", std::string(2'000'000, ' ')}) {
    SCOPED_TRACE(bad.substr(0, 100));
    repo.write("kestu.json", bad);
    EXPECT_EQ(run("config").err, "kestu.json isn't a kestu.json this CLI can read. Run kestu link again.\n");
    EXPECT_EQ(config(), bad);
    run("link Ledger");
    EXPECT_EQ(run("config").status, 0);
  }
  repo.write("kestu.json", R"({"appId": 1, "bundleId": "a", "screenshotFolders": "x"})");
  EXPECT_EQ(
      run("config").err,
      "kestu.json's screenshotFolders is names (iPhone 6.9, to start with) or ids (Apple's placement groups): x\n");
}

TEST_F(ProjectTest, MarksTheLinkedAppFromASubfolderToo) {
  signIn();
  link();
  EXPECT_TRUE(has(run("apps").out, "●  Daylight Weather"));
  terminal.outIsTerminal = true;
  terminal.windowColumns = 50;
  EXPECT_TRUE(begins(TextStyle::plain(run("apps").out),
                     "●  Daylight Weather\n     App Store ID 1234567890\n     Bundle ID com.example.daylight\n"
                     "     Platforms ios, macos  Language en-US\n   Tidepool"));
  terminal.windowColumns = 40;
  EXPECT_TRUE(
      begins(run("config").out, "App                 com.example.daylight\n                    (1234567890)\n"));
}

TEST_F(ProjectTest, AFolderOfItsOwnIsLinkedOnItsOwn) {
  signIn();
  link();
  repo.write("apps/ledger/L.xcodeproj/project.pbxproj", "PRODUCT_BUNDLE_IDENTIFIER = com.example.ledger.mac;");
  here = repo.path() / "apps/ledger";
  EXPECT_EQ(run("link --here").out, "✓ Linked this folder to Ledger (3456789012)\nNext: kestu status\n");
  EXPECT_TRUE(has(run("apps").out, "●  Ledger"));
  EXPECT_EQ(run("config screenshot-folders ids").status, 0);
  EXPECT_TRUE(has(*Files::read(here / "kestu.json", 1000), "ids"));
  here = repo.path() / "apps";
  EXPECT_TRUE(has(run("apps").out, "●  Daylight Weather"));
}

} // namespace
} // namespace kestu::tests
