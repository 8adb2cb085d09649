#include "cli/command_tree.hpp"
#include "cli/help.hpp"
#include "cli/topics.hpp"
#include "core/support/files.hpp"
#include "core/support/text.hpp"
#include "tests/support/build_files.hpp"
#include "tests/support/every_command_test.hpp"
#include "tests/support/process_variables.hpp"
#include "tests/support/release_test.hpp"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

// The command lines that the documents and the help show have to work as they stand: a document's one after the other,
// the help's each on its own.
namespace kestu::tests {
namespace {

/// A line after "$ " in a block of ```console, as a shell takes it apart; "# exits 1 …" behind it names its status.
struct Shown {
  std::string line;
  std::vector<std::string> words;
  int status = 0;
};

Shown shown(const std::string& line) {
  std::size_t comment = line.find(" #"), exits = line.find("exits ", std::min(comment, line.size()));
  return {line, wordsOf(line.substr(0, comment)), exits == std::string::npos ? 0 : std::stoi(line.substr(exits + 6))};
}

std::vector<Shown> shownIn(const std::filesystem::path& document) {
  std::vector<Shown> lines;
  bool inside = false;
  for (const std::string& line : Text::split(Files::read(document, 1'000'000).value_or(""), '\n')) {
    if (line.starts_with("```")) inside = line == "```console";
    if (inside && line.starts_with("$ ")) lines.push_back(shown(line.substr(2)));
  }
  return lines;
}

struct Page {
  const char* name;
  std::map<std::string, std::string> files;
};

void PrintTo(const Page& page, std::ostream* stream) { *stream << page.name; }

class Documents : public ReleaseRoadTest, public ::testing::WithParamInterface<Page> {
 protected:
  /// What happens outside of the tool before a line can be run.
  void meanwhile(const std::string& line) {
    if (line.starts_with("kestu release now")) setState("1.2", "pendingdeveloperrelease");
    if (line.starts_with("kestu release phased")) {
      set("1.2", [](auto& version) {
        version.state = "readyfordistribution";
        if (version.phasedState == "inactive" || version.phasedState.empty()) version.phasedState = "active";
      });
    }
  }

  void perform(const Shown& step) {
    meanwhile(step.line);
    const std::string& program = step.words.at(0);
    if (program == "mkdir" || program == "cp" || program == "rm") {
      auto done = Process::run({.arguments = step.words, .folder = here}, {});
      EXPECT_TRUE(done.succeeded()) << done.err;
      return;
    }
    ASSERT_EQ(program, "kestu");
    terminal.inIsTerminal = true;
    terminal.type("y");
    Ran ran = run(std::vector<std::string>(step.words.begin() + 1, step.words.end()));
    EXPECT_EQ(ran.status, step.status) << ran.out << ran.err;
  }
};

TEST_P(Documents, EveryLineRuns) {
  environment["XDG_CACHE_HOME"] = (repo.path() / ".cache").string();
  repo.write("App/Daylight.xcodeproj/project.pbxproj", "PRODUCT_BUNDLE_IDENTIFIER = com.example.daylight;\n");
  for (const auto& [path, text] : GetParam().files) repo.write(path, text);
  auto lines = shownIn(std::filesystem::path(KESTU_SOURCES) / GetParam().name);
  ASSERT_GT(lines.size(), 4);
  for (const Shown& step : lines) {
    SCOPED_TRACE(step.line);
    perform(step);
  }
}

const std::string contact = R"({"contactPhone": "+43 1 234 5678"})";

INSTANTIATE_TEST_SUITE_P(
    Pages, Documents,
    ::testing::Values(Page{"README.md", {{"today.png", png(1290, 2796)}}},
                      Page{"docs/fastlane.md",
                           {{"fastlane/metadata/en-US/subtitle.txt", "Light, hour by hour\n"},
                            {"fastlane/metadata/en-US/release_notes.txt", "Storms, minutes ahead.\n"},
                            {"fastlane/screenshots/en-US/01.png", png(1290, 2796)}}},
                      Page{"docs/pricing.md", {}},
                      Page{"docs/release-day.md",
                           {{"metadata/review.json", contact},
                            {"metadata/listing/en-US.json", R"({"keywords": "cloud,storm"})"},
                            {"metadata/listing/de-DE.json", R"({"keywords": "wolken,sturm"})"},
                            {"metadata/releases/1.2/en-US.json", R"({"whatsNew": "Storms, minutes ahead."})"},
                            {"metadata/releases/1.2/de-DE.json", R"({"whatsNew": "Gewitter, Minuten voraus."})"},
                            {"metadata/releases/1.2/ja.json", R"({"whatsNew": "嵐を数分前にお知らせします。"})"},
                            {"metadata/screenshots/en-US/iPhone 6.9/01.png", png(1290, 2796)}}}),
    [](const auto& row) {
      std::string name = row.param.name;
      std::erase_if(name, [](unsigned char c) { return std::isalnum(c) == 0; });
      return name;
    });

/// The examples of the help, each in the repository that they are about and against the sandbox as it starts.
class HelpExamples : public EveryCommandTest, public ::testing::WithParamInterface<std::string> {
 protected:
  TemporaryFolder files;
  ProcessVariables variables;

  HelpExamples() : EveryCommandTest(true) {
    environment["XDG_CACHE_HOME"] = (repo.path() / ".cache").string();
    variables.setTools(files.path() / "tools");
    files.write("kestu.json", R"({"appId": 1234567890, "bundleId": "com.example.daylight"})");
    files.write("App/Daylight.xcodeproj/project.pbxproj", "PRODUCT_BUNDLE_IDENTIFIER = com.example.daylight;\n");
    files.write("Sources/Radar.swift", "import KestuKit\nlet radar = KestuFlags.isOn(\"new-radar\")\n");
    files.write("notes.txt", "Bitte das Radar ansehen.\n");
    layAssets();
    layListing();
    for (const char* line : {"git init -q", "git remote add origin https://github.com/example/daylight.git"}) {
      EXPECT_TRUE(Process::run({.arguments = wordsOf(line), .folder = files.path()}, {}).succeeded());
    }
    files.write("Daylight.pkg", "xar!" + std::string(3000, 'k'));
    ipa(files.path() / "Daylight.ipa", {{"Payload/Daylight.app/Info.plist", plist("1.2", "45", "iPhoneOS")}});
    for (const char* name : {"gh", "xdg-open", "open"}) {
      std::filesystem::permissions(files.write(std::string("tools/") + name, "#!/bin/sh\nexit 0\n"),
                                   std::filesystem::perms::owner_all);
    }
  }

  void layAssets() {
    for (const std::string locale : {"/en-US/", "/de-DE/"}) {
      files.write("metadata/screenshots" + locale + "iPhone 6.9/01.png", png(1290, 2796));
      files.write("metadata/previews" + locale + "iPhone 6.9/01.mov", "a video");
      files.write("metadata/header" + locale + "HEADER_IPHONE/header.png", png(4320, 1620));
      files.write("metadata/search-results" + locale + "Search Results/results.png", png(3840, 2160));
    }
    files.write("card.png", png(1920, 1080));
    files.write("page.png", png(1080, 1920));
    for (const char* name : {"card.mov", "page.mov"}) files.write(name, "a video");
  }
  void layListing() {
    for (const std::string locale : {"en-US", "de-DE", "ja"})
      files.write("metadata/releases/1.2/" + locale + ".json", R"({"whatsNew": "Storms, minutes ahead."})");
    files.write("metadata/listing/en-US.json", R"({"subtitle": "Light, hour by hour"})");
    files.write("metadata/review.json", R"({"contactPhone": "+43 1 234 5678"})");
    files.write("metadata/releases/1.2/whatsnew/en-US.md", "# The radar\n\nIt has colours.\n");
    files.write("metadata/pricing.json", R"({"com.example.daylight.pro.yearly": {"countries": {"se": "-10%"}}})");
  }

  /// What has to be done before a line, which its page says.
  void prepare(const std::string& line) {
    std::vector<std::string> before;
    if (line.starts_with("kestu metadata pull")) std::filesystem::remove_all(repo.path() / "metadata");
    if (line.starts_with("kestu submit")) {
      before = {"release prepare 1.2 --build 43 --yes", "metadata content-rights set --third-party-content no --yes"};
    }
    if (line.ends_with("--withdraw")) before.emplace_back("submit 1.2 --yes");
    for (const std::string& each : before) {
      Ran ran = run(each);
      EXPECT_EQ(ran.status, 0) << each << "\n" << ran.out << ran.err;
    }
  }

  Ran perform(const std::string& line) {
    auto before = environment;
    server.withState([](sandbox::State& state) { state.reset(); });
    signIn();
    std::filesystem::remove_all(repo.path());
    // What a command writes takes the file's place, so that links to the files are enough.
    std::filesystem::copy(files.path(), repo.path(),
                          std::filesystem::copy_options::recursive | std::filesystem::copy_options::create_hard_links);
    prepare(line);
    Words words;
    for (const std::string& word : shown(line).words) {
      if (word == "||" || word.starts_with('>')) break;
      std::size_t equals = word.find('=');
      if (words.empty() && equals != std::string::npos) {
        environment[word.substr(0, equals)] = word.substr(equals + 1);
      } else {
        words.push_back(word.ends_with(';') ? word.substr(0, word.size() - 1) : word);
        if (word.ends_with(';')) break;
      }
    }
    terminal.inIsTerminal = true;
    terminal.type("y");
    EXPECT_EQ(words.at(0), "kestu");
    Ran ran = run(std::vector<std::string>(words.begin() + 1, words.end()));
    environment = before;
    return ran;
  }
};

/// The examples' lines by the family that they are on the pages of; "kestu" for the first page, "help" for the topics.
std::map<std::string, std::set<std::string>> examples() {
  auto pages = allPages(rootCommand("*"));
  pages.insert(pages.end(), topics().begin(), topics().end());
  std::map<std::string, std::set<std::string>> lines;
  for (const ::kestu::Page& page : pages) {
    std::vector<std::string> path = Text::split(page.path + " kestu", ' ');
    for (const auto& section : page.sections) {
      for (const auto& entry : section.entries) {
        if (section.examples) lines[path[1]].insert(entry.head);
      }
    }
  }
  return lines;
}

std::vector<std::string> families() {
  std::vector<std::string> words;
  for (const auto& [word, lines] : examples()) words.push_back(word);
  return words;
}

TEST_P(HelpExamples, EachRunsOnItsOwn) {
  // A check that finds something, as it does in the demo's listing, has done its work.
  const std::set<std::string> finds = {"kestu release check 1.2", "kestu release check 1.2 --strict -o json",
                                       "kestu metadata validate 1.2 --strict",
                                       "kestu prices parity --product com.example.daylight.pro.yearly --check",
                                       "kestu release check 1.2 || echo \"1.2 isn't ready.\""};
  const std::set<std::string> lines = examples()[GetParam()];
  for (const std::string& line : lines) {
    SCOPED_TRACE(line);
    Ran ran = perform(line);
    EXPECT_EQ(ran.status, finds.count(line)) << ran.out << ran.err;
  }
}

INSTANTIATE_TEST_SUITE_P(Families, HelpExamples, ::testing::ValuesIn(families()), familyName);

} // namespace
} // namespace kestu::tests
