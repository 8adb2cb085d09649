#include "core/support/files.hpp"
#include "core/support/text.hpp"
#include "tests/support/release_test.hpp"

#include <cctype>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

// The command lines that the documents show have to work as they stand, one after the other.
namespace kestu::tests {
namespace {

/// A line after "$ " in a block of ```console, as a shell takes it apart; "# exits 1 …" behind it names its status.
struct Shown {
  std::string line;
  std::vector<std::string> words;
  int status = 0;
};

Shown shown(const std::string& line) {
  Shown result{line, {}, 0};
  char quote = 0;
  bool inWord = false;
  for (std::size_t at = 0; at < line.size(); ++at) {
    char c = line[at];
    if (quote == 0 && c == '#' && !inWord) {
      if (std::size_t exits = line.find("exits ", at); exits != std::string::npos) {
        result.status = std::stoi(line.substr(exits + 6));
      }
      break;
    }
    if (quote == 0 && c == ' ') {
      inWord = false;
      continue;
    }
    if (!inWord) result.words.emplace_back();
    inWord = true;
    if (c == quote) {
      quote = 0;
    } else if (quote == 0 && (c == '"' || c == '\'')) {
      quote = c;
    } else {
      result.words.back() += c;
    }
  }
  return result;
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
    if (step.words.size() > 2 && step.words[0] == "rm" && step.words[1] == "-r") {
      for (std::size_t i = 2; i < step.words.size(); ++i) {
        EXPECT_GT(std::filesystem::remove_all(here / step.words[i]), 0) << step.words[i];
      }
      return;
    }
    ASSERT_EQ(step.words.at(0), "kestu");
    terminal.inIsTerminal = true;
    terminal.type("y");
    Ran ran = run({step.words.begin() + 1, step.words.end()});
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
    ::testing::Values(Page{"README.md",
                           {{"metadata/screenshots/en-US/iPhone 6.9/01.png", png(1290, 2796)},
                            {"metadata/screenshots/de-DE/iPhone 6.9/01.png", png(1290, 2796, PNGColours::palette, 7)}}},
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

} // namespace
} // namespace kestu::tests
