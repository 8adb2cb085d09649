#include "cli/command_tree.hpp"
#include "core/support/text.hpp"
#include "tests/support/command_lines.hpp"
#include "tests/support/json_schema.hpp"
#include "tests/support/process_variables.hpp"
#include "tests/support/release_test.hpp"

#include <algorithm>
#include <functional>
#include <iterator>
#include <set>

namespace kestu::tests {
namespace {

using nlohmann::json;
using Words = std::vector<std::string>;

/// "kit-flags-list.json" of "kestu kit flags list".
std::string fileOf(const Command& command) {
  std::string path = command.path.substr(command.path.find(' ') + 1);
  std::replace(path.begin(), path.end(), ' ', '-');
  return path + ".json";
}

class SchemasTest : public ReleaseRoadTest {
 protected:
  const std::filesystem::path folder = std::filesystem::path(KESTU_SOURCES) / "docs/schemas";
  Command tree = rootCommand("*");
  JSONSchemas schemas{folder};
  std::set<std::string> used;
  json last; ///< answer

  SchemasTest() : ReleaseRoadTest(sandbox::Approve::all, false, 1 << 20) {}

  void begin() {
    server.withState([](sandbox::State& state) {
      auto tokens = state.tokens;
      state.reset();
      state.tokens = tokens;
    });
    for (const auto& entry : std::filesystem::directory_iterator(repo.path())) {
      if (entry.path().filename() != ".git") std::filesystem::remove_all(entry.path());
    }
    signIn();
    link();
    repo.write("page/en-US.md", "# New\n\nStorms. ![](a.png)\n");
    repo.write("page/a.png", png(10, 10));
    static const std::string shot = png(1290, 2796);
    repo.write("metadata/screenshots/en-US/iPhone 6.9/01.png", shot);
    repo.write("App/A.swift", "let on = KestuFlags.isOn(\"none\")\n");
  }

  void check(const Command& command, Words words, const std::string& more) {
    words.push_back("--json");
    if (!more.empty()) words.push_back(more);
    SCOPED_TRACE(Text::joined(words, " "));
    Ran ran = run(words);
    last = json::parse(ran.out, nullptr, false);
    ASSERT_FALSE(last.is_discarded()) << ran.status << ran.out << ran.err;
    EXPECT_LE(ran.status, 1) << ran.err;
    std::string file = fileOf(command);
    used.insert(file);
    if (!std::filesystem::exists(folder / file)) return; // told at the end
    EXPECT_EQ(Text::joined(schemas.problems(file, last), "\n"), "") << last.dump(1).substr(0, 1500);
    if (more == "--dry-run" && optionOf(command, "--yes")) {
      EXPECT_TRUE(last.contains("changes")) << last.dump();
    }
  }

  /// A line: first as a dry run where the command has one, then confirmed. "<job>" is the last answer's, and at
  /// a "+" five seconds pass.
  void perform(std::string line) {
    if (line == "+") return clock.advance(std::chrono::seconds(5));
    if (std::size_t at = line.find("<job>"); at != std::string::npos) {
      json job = last.value("job", json());
      if (job.is_null() && last.contains("plan")) job = last["plan"].value("job", json());
      line.replace(at, 5, job.is_string() ? job.get<std::string>() : "none");
    }
    Words words = wordsOf(line);
    const Command& command = commandOf(tree, words);
    bool only = line.ends_with(" --dry-run");
    if (optionOf(command, "--dry-run") && !only) check(command, words, "--dry-run");
    check(command, words, optionOf(command, "--yes") && !only ? "--yes" : "");
  }
};

TEST_F(SchemasTest, EachAnswerIsAsItsSchemaSays) {
  const std::string pro = " --product com.example.daylight.pro.monthly";
  auto build = [&](const std::string& number, const std::string& state) {
    return [=, this] { setBuild(number, [&](auto& each) { each.state = state; }); };
  };
  ProcessVariables variables;
  variables.setTools(repo.path() / "tools");
  auto released = [this] { setState("1.2", "pendingdeveloperrelease"); };
  struct Scene {
    Words lines; // one after the other
    std::function<void()> before = {};
  };
  for (const Scene& row : std::vector<Scene>{
           {{"whoami", "apps", "link 'Daylight Weather'", "config", "config screenshot-folders ids",
             "config keywords characters", "status", "doctor", "update", "logout"}},
           {{"login"}, [this] { server.scriptNextSignIn({}); }},
           {{"update", "status"}, [this] { server.withState([](auto& state) { state.announced = "9.9.9"; }); }},
           {{"ci token --provider github"},
            [this] {
              server.scriptNextSignIn({});
              std::filesystem::permissions(repo.write("tools/gh", "#!/bin/sh\ncat >/dev/null\n"),
                                           std::filesystem::perms::owner_all);
            }},
           {{"kit flags list", "kit flags check", "kit flags create sun --type text --value x",
             "kit flags set new-radar --rollout 5", "kit flags set new-radar --rollout 5", "kit flags delete sun"}},
           {{"kit flags list", "kit experiments list", "kit update-prompts list", "kit whats-new list"},
            [this] { server.withState([](auto& state) { state.kit = {}; }); }},
           {{"kit experiments list", "kit experiments view exp-radar",
             "kit experiments create R --flag hourly-limit --metric m --variant a=24:40 --variant b=48:60",
             "kit experiments start exp-limit", "kit experiments start exp-limit",
             "kit experiments stop exp-radar --keep radar", "kit experiments delete exp-radar"}},
           {{"kit update-prompts list", "kit update-prompts create --platform macos --below 1.2 --message de-DE=Neu",
             "kit update-prompts set macos --on", "kit update-prompts set macos --on",
             "kit update-prompts delete macos"}},
           {{"kit whats-new list", "kit whats-new upload page --version 1.3", "kit whats-new publish 1.3",
             "kit whats-new publish 1.3", "kit whats-new unpublish 1.3", "kit whats-new delete 1.3"}},
           {{"builds list", "builds latest", "builds next-number", "builds wait 43", "builds test-notes 44 Sun.",
             "builds compliance 44", "builds expire 42 --no-wait"}},
           {{"builds submit 43", "builds distribute 43 --add Team"}, build("43", "readyforinternal")},
           {{"builds upload Mac.pkg --version 1.3 --build 50", "builds upload Mac.pkg --version 1.3 --build 51 --wait"},
            [this] { repo.write("Mac.pkg", "xar!"); }},
           {{"builds remove 50"},
            [this] {
              server.withState([](auto& state) {
                state.testFlight.uploads.push_back({"u", 1234567890, "ios", "1.3", "50", state.clock()});
              });
            }},
           {{"versions list", "versions list --platform macos", "versions delete 1.2 --platform macos",
             "versions create 2.0 --platform macos", "versions create 2.0 --platform macos"}},
           {{"metadata pull 1.2", "metadata pull 1.2", "metadata push 1.2"}},
           {{"metadata validate", "metadata push 1.2", "metadata push 1.2"},
            [this] {
              repo.write("metadata/listing/en-US.json", R"({"subtitle": "Sun", "supportUrl": "https://a.b"})");
            }},
           {{"metadata validate"}, [this] { repo.write("metadata/listing/fy.json", R"({"supportUrl": "x"})"); }},
           {{"metadata content-rights", "metadata content-rights show",
             "metadata content-rights set --third-party-content no",
             "metadata content-rights set --third-party-content no", "metadata content-rights"}},
           {{"assets sizes", "assets push 1.2", "assets push 1.2", "assets pull 1.2", "assets pull 1.2 --force"}},
           {{"assets screenshots sizes", "assets screenshots push 1.2", "assets screenshots pull 1.2"}},
           {{"assets previews sizes", "assets previews push 1.2", "assets previews pull 1.2"},
            [this] { repo.write("metadata/previews/en-US/iPhone 6.9/01.mov", "moov"); }},
           {{"assets header sizes", "assets header push 1.2", "assets header pull 1.2"},
            [this] { repo.write("metadata/header/en-US/HEADER_IPHONE/01.png", png(3840, 1600)); }},
           {{"assets search-results sizes", "assets search-results push 1.2", "assets search-results pull 1.2"},
            [this] { repo.write("metadata/search-results/en-US/Search Results/01.png", png(3840, 2160)); }},
           {{"release preview 1.2 --out p.html", "release prepare 1.2", "release check 1.2", "submit 1.2 --no-check",
             "submit 1.2 --withdraw"},
            [this] { attach("43"); }},
           {{"release now 1.2"}, released},
           {{"release phased pause", "release phased resume", "release phased complete"},
            [this] { putOutInPhases("active"); }},
           {{"events", "events list",
             "events create Cup --starts '2026-12-01 10:00' --ends 2026-12-05 --badge challenge",
             "events localize Cup --display-name Cup --short-description Be. --long-description Better.",
             "events card Cup card.png", "events details Cup page.png", "events view Cup",
             "events set Cup --priority high", "events set Cup --priority high", "+",
             "events submit Cup --with-version", "events cancel Cup", "events delete Cup"},
            [this] {
              repo.write("card.png", png(1920, 1080));
              repo.write("page.png", png(1080, 1920));
            }},
           {{"prices parity", "prices tiers --country se" + pro, "prices set 5.99" + pro + " --wait",
             "prices set 6.99" + pro, "prices status <job>"}},
           {{"prices set 5.99 --wait" + pro, "prices undo <job>"}},
           {{"prices set 5.99 --wait" + pro, "prices undo <job> --wait"}},
           {{"intro-offers list", "intro-offers create --mode free --duration 1w --countries se" + pro,
             "intro-offers status <job>"}},
           {{"intro-offers create --mode pay-as-you-go --periods 3 --price 1.99 --from 2026-12-24 --wait" + pro,
             "intro-offers undo <job>"}},
           {{"intro-offers delete --product com.example.daylight.pro.yearly --wait"}},
           {{"offer-codes list", "offer-codes create Spring --mode pay-as-you-go --periods 3 --price 1.99" + pro,
             "offer-codes generate Spring --count 3 --expires 2027-01-01 --to new.txt",
             "offer-codes generate Spring --custom SUN26 --count 1000", "offer-codes view Spring", "offer-codes list",
             "offer-codes download Spring --to codes.txt", "offer-codes deactivate Spring",
             "offer-codes deactivate Spring"}},
       }) {
    begin();
    if (row.before) row.before();
    for (const std::string& line : row.lines) perform(line);
  }
  std::set<std::string> commands, files;
  eachGiving(tree, "json", [&](const Command& each) { commands.insert(fileOf(each)); });
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    std::string name = entry.path().filename().string();
    if (name.ends_with(".json") && name != "shared.json") files.insert(name);
  }
  auto lacking = [](const std::set<std::string>& of, const std::set<std::string>& in) {
    std::vector<std::string> names;
    std::set_difference(of.begin(), of.end(), in.begin(), in.end(), std::back_inserter(names));
    return Text::joined(names, " ");
  };
  EXPECT_EQ(lacking(commands, files), "") << "have no schema";
  EXPECT_EQ(lacking(files, commands), "") << "are of no command";
  EXPECT_EQ(lacking(files, used), "") << "were never held against an answer";
}

TEST(JSONSchemas, RefuseWhatDoesntFitAndWhatTheyDontKnow) {
  TemporaryFolder folder;
  folder.write("shared.json",
               R"({"$defs": {"name": {"type": "string"}, "names": {"items": {"$ref": "#/$defs/name"}}}})");
  // The problem is "!" for a schema that is refused.
  for (const auto& [schema, value, problem] : std::vector<std::tuple<const char*, const char*, const char*>>{
           {R"({"type": "integer"})", "1.5", "$ is 1.5, not \"integer\""},
           {R"({"properties": {"a": {"enum": [1]}}, "required": ["a", "b"]})", R"({"a": 2})",
            "$ has no b; $.a is 2, not of [1]"},
           {R"({"properties": {"a": true}, "additionalProperties": false})", R"({"a": 1, "c": 2})", "$.c isn't known"},
           {R"({"$ref": "shared.json#/$defs/names"})", R"(["x", 7])", "$[1] is 7, not \"string\""},
           {R"({"anyOf": [{"type": "string"}, {"const": 1}]})", "1", ""},
           {R"({"anyOf": [{"type": "string"}, {"const": 1}]})", "2",
            "$ fits none of its forms:; $ is 2, not \"string\"; $ isn't 1"},
           {R"({"format": "date-time"})", R"("2026-11-22 02:10")", "$ is \"2026-11-22 02:10\", no date-time"},
           {R"({"format": "date"})", R"("2026-11-2")", "$ is \"2026-11-2\", no date"},
           {R"({"properties": {"a": {"pattern": "x"}}})", "{}", "!"},
       }) {
    SCOPED_TRACE(std::string(schema) + " " + value);
    folder.write("schema.json", schema);
    JSONSchemas schemas(folder.path());
    std::string found;
    try {
      found = Text::joined(schemas.problems("schema.json", json::parse(value)), "; ");
    } catch (const std::exception&) {
      found = "!";
    }
    EXPECT_EQ(found, problem);
  }
}

} // namespace
} // namespace kestu::tests
