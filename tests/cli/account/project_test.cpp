#include "core/project/project.hpp"

#include "core/project/app_choice.hpp"
#include "core/support/files.hpp"
#include "tests/support/command_test.hpp"

namespace fs = std::filesystem;

namespace kestu::tests {
namespace {

TEST(Project, ReadsBundleIDs) {
  const std::string key = "PRODUCT_BUNDLE_IDENTIFIER = ";
  for (const auto& [text, ids] : std::vector<std::pair<std::string, std::set<std::string>>>{
           {key + "com.example.app;\n\t" + key + "\"com.example.app.widget\";",
            {"com.example.app", "com.example.app.widget"}},
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

class ProjectTest : public CommandTest {};

TEST_F(ProjectTest, LinksTheAppWhoseBundleIDTheRepositorySets) {
  signIn();
  EXPECT_EQ(run({"link"}).err, "No Xcode project here sets a bundle ID. Name the app: kestu link <app>.\n");
  auto set = [&](const std::string& ids) { repo.write("App.xcodeproj/project.pbxproj", ids); };
  set("PRODUCT_BUNDLE_IDENTIFIER = z.b; PRODUCT_BUNDLE_IDENTIFIER = a.b;");
  EXPECT_EQ(run({"link"}).err, "None of your apps this sign-in covers is a.b, z.b. Name the app: kestu link <app>.\n");
  set("PRODUCT_BUNDLE_IDENTIFIER = com.example.daylight; PRODUCT_BUNDLE_IDENTIFIER = com.example.tidepool;");
  EXPECT_EQ(run({"link"}).err, "This repo has several of your apps: Daylight Weather (1234567890), Tidepool: "
                               "Naturkunde für Kinder (2345678901). Name one: kestu link <app>.\n");
  EXPECT_FALSE(fs::exists(repo.path() / "kestu.json"));
  set("PRODUCT_BUNDLE_IDENTIFIER = com.example.daylight; PRODUCT_BUNDLE_IDENTIFIER = com.example.daylight.widget;");
  Ran ran = run({"link"});
  EXPECT_EQ(ran.out, "✓ Linked this repo to Daylight Weather (1234567890)\nNext: kestu status\n");
  EXPECT_EQ(*Files::read(repo.path() / "kestu.json", 1000),
            "{\n  \"appId\": 1234567890,\n  \"bundleId\": \"com.example.daylight\"\n}\n");
}

TEST_F(ProjectTest, ConfigKeepsWhatItDoesNotKnow) {
  EXPECT_EQ(run({"config"}).err, "This repo has no kestu.json: kestu link writes it.\n");
  repo.write("kestu.json", R"({"appId": 1, "bundleId": "a/b", "later": [1]})");
  Ran ran = run({"config", "screenshot-folders", "ids"});
  EXPECT_EQ(ran.out, "✓ Set screenshot-folders to ids\n");
  EXPECT_EQ(*Files::read(repo.path() / "kestu.json", 1000),
            "{\n  \"appId\": 1,\n  \"bundleId\": \"a/b\",\n  \"later\": [\n    1\n  ],\n  \"screenshotFolders\": "
            "\"ids\"\n}\n");
  EXPECT_EQ(run({"config", "screenshot-folders", "both"}).status, 2);
  signIn();
  EXPECT_EQ(run({"link", "Ledger"}).status, 0);
  EXPECT_EQ(run({"config", "--json"}).out, "{\n  \"appId\": 3456789012,\n  \"bundleId\": \"com.example.ledger.mac\",\n "
                                           " \"screenshotFolders\": \"ids\"\n}\n");
  for (const std::string bad : {"", "[]", "{", R"({"appId": "1", "bundleId": "a"})", R"({"bundleId": "a"})"}) {
    SCOPED_TRACE(bad);
    repo.write("kestu.json", bad);
    EXPECT_EQ(run({"config"}).err, "kestu.json isn't a kestu.json this CLI can read. Run kestu link again.\n");
    EXPECT_EQ(*Files::read(repo.path() / "kestu.json", 1000), bad);
  }
  repo.write("kestu.json", R"({"appId": 1, "bundleId": "a", "screenshotFolders": "x"})");
  EXPECT_EQ(
      run({"config"}).err,
      "kestu.json's screenshotFolders is names (iPhone 6.9, to start with) or ids (Apple's placement groups): x\n");
}

TEST_F(ProjectTest, MarksTheLinkedAppFromASubfolderToo) {
  signIn();
  link();
  EXPECT_NE(run({"apps"}).out.find("●  Daylight Weather"), std::string::npos);
  EXPECT_TRUE(
      run({"apps", "-ocsv"})
          .out.starts_with("Linked,App,App Store ID,Bundle ID,Platforms,Language\n●,Daylight Weather,1234567890,"));
  EXPECT_TRUE(run({"apps", "--output", "MARKDOWN"}).out.starts_with("| Linked |"));
  fs::create_directories(repo.path() / "a/b");
  EXPECT_EQ(Project::root(repo.path() / "a/b"), repo.path());
}

} // namespace
} // namespace kestu::tests
