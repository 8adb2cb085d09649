#include "cli/completion.hpp"
#include "core/service/answer_memory.hpp"
#include "core/support/text.hpp"
#include "tests/support/command_test.hpp"

#include <chrono>
#include <filesystem>

namespace kestu::tests {
namespace {

class CompletionTest : public CommandTest {
 protected:
  TemporaryFolder cache;

  CompletionTest() {
    environment["XDG_CACHE_HOME"] = cache.path().string();
    link();
  }

  /// What the shell is told for the words: "files:… | value value …".
  std::string offered(const std::string& typed) {
    Ran ran = run("--complete bash " + typed);
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.err, "");
    std::vector<std::string> values;
    for (const std::string& line : Text::split(ran.out, '\n')) {
      if (!line.empty()) values.push_back(line.substr(0, line.find('\t')));
    }
    return Text::joined(values, " | ");
  }

  /// An answer as a command would have left it.
  void remember(const std::string& path, const std::string& body) {
    AnswerMemory(cache.path() / "kestu", server.origin()).keep(server.origin() + path + "?platform=ios", body);
  }
};

TEST_F(CompletionTest, OffersWhatTheWordMayBecome) {
  repo.write("metadata/releases/1.2/en-US.json", "{}");
  repo.write("metadata/releases/1.10/en-US.json", "{}");
  repo.write("metadata/listing/en-US.json", "{}");
  repo.write("metadata/screenshots/de-DE/iPhone 6.9/01.png", "");
  repo.write("metadata/header/de-DE/Header/header.png", "");
  remember("/v1/apps", R"({"apps": [{"appId": 7, "bundleId": "com.x.tide", "name": "Tide", "platforms": [],
      "primaryLocale": "en-US"}]})");
  remember("/v1/apps/1234567890/testflight/groups", R"({"groups": [{"groupId": "1", "name": "Team A", "internal": true,
      "kestu": false}, {"groupId": "2", "name": "a\u001b[2Jb", "internal": false, "kestu": false}]})");
  remember("/v1/apps/7/testflight/groups",
           R"({"groups": [{"groupId": "3", "name": "Tide's", "internal": true, "kestu": false}]})");
  auto build = [](const std::string& platform, const std::string& version, const std::string& number) {
    return R"({"buildId": "b", "uploadedAt": "2026-11-01T00:00:00Z", "expiresAt": "2027-01-30T00:00:00Z",
        "state": "readyforinternal", "upload": false, "stuck": false, "canSubmit": false, "canDeclareExempt": false,
        "groupIds": [], "platform": ")" +
           platform + R"(", "version": ")" + version + R"(", "number": ")" + number + "\"}";
  };
  remember("/v1/apps/1234567890/testflight/builds",
           R"({"groups": [], "primaryLocale": "en-US", "builds": [)" + build("ios", "1.3", "45") + "," +
               build("macos", "1.2", "45") + "," + build("ios", "1.2", "44") + "," + build("ios", "1.1", "9") + "," +
               build("macos", "1.1", "9") + "]}");
  for (const auto& [line, values] : std::vector<std::pair<std::string, std::string>>{
           {"asse", "files: | assets"},
           {"assets p", "files: | push | pull | previews"},
           {"assets push 1", "files: | 1.2 | 1.10"},
           {"assets push 1.2 ''", "files:"},
           {"assets push 1.2 --dr", "files: | --dry-run"},
           {"assets push --display ''", "files: | Header | iPhone 6.9"},
           {"assets push --locale '' ''", "files: | 1.2 | 1.10"},
           {"assets push --locale 1.2 --locale=", "files: | --locale=de-DE | --locale=en-US"},
           {"assets push --yes= ''", "files: | 1.2 | 1.10"},
           {"assets push -- -", "files:"},
           {"builds expire 45 -yo ''", "files: | json"},
           {"builds expire 45 -ojson --dr", "files: | --dry-run"},
           {"builds list -o ''", "files: | json | csv | md"},
           {"apps -oc", "files: | -ocsv"},
           {"builds expire 45 -yoj", "files: | -yojson"},
           {"assets push 1.2 --locale en-US,d", "files: | en-US,de-DE"},
           {"assets push 1.2 --locale=de-DE,", "files: | --locale=de-DE,en-US"},
           {"events localize x --language en-US,d", "files:"},
           {"prices ppp --stren", "files: | --strength"},
           {"prices parity --countries se,d", "files: | se,de | se,dk | se,dm | se,do | se,dz"},
           {"offer-codes create --eligibility new,ex", "files: | new,existing | new,expired"},
           {"release prepare 1.2 --build l", "files: | latest"},
           {"builds expire ''", "files: | 1.3 (45) | 1.2 (45) | 44 | 1.1 (9)"},
           {"builds expire --platform ios ''", "files: | 45 | 44 | 9"},
           {"builds expire '1.2 (4'", "files: | 1.2 (45) | 1.2 (44)"},
           {"assets header push --display ''", "files: | Header"},
           {"logout -", "files: | -o | --output | --help"},
           {"builds list --platform=t", "files: | --platform=tvos"},
           {"builds upload ''", "files:files ipa pkg"},
           {"kit whats-new upload ''", "files:folders"},
           {"builds distribute 45 --add ''", "files: | Team A"},
           {"builds distribute 45 --app tide --add ''", "files: | Tide's"},
           {"apps --app com", "files:"},
           {"status --app ''", "files: | com.x.tide"},
           {"status --app com", "files: | com.x.tide"},
           {"status --app Ti", "files: | Tide"},
           {"status --app=Ti", "files: | --app=Tide"},
           {"--generate-completion-script b", "files: | bash"},
           {"--generate-completion-script=z", "files: | --generate-completion-script=zsh"},
           {"--generate-completion-script zsh ''", "files:"},
           {"--ge", "files: | --generate-completion-script"},
           {"help ex", "files: | exit-codes"},
           {"help kit wh", "files: | whats-new"},
           {"nothing x ''", "files:"},
       }) {
    SCOPED_TRACE(line);
    EXPECT_EQ(offered(line), values);
  }
  EXPECT_TRUE(server.requests().empty());
}

TEST_F(CompletionTest, AnAnswerIsForADayAndForItsService) {
  const std::string body = "{}", path = "/v1/apps/7/testflight/builds";
  AnswerMemory memory(cache.path(), "https://a.b:1");
  Moment now = std::chrono::system_clock::now();
  for (const auto& [url, kept] : std::vector<std::pair<std::string, bool>>{
           {"https://a.b:1" + path, true},
           {"https://a.b:12" + path, false},
           {"https://a.b:1/v1/apps/7/../../x/testflight/builds", false},
           {"https://a.b:1/v1/apps/7/prices", false},
           {"https://a.b:1/v1/apps//testflight/builds", false},
       }) {
    SCOPED_TRACE(url);
    std::filesystem::remove_all(cache.path());
    memory.keep(url, body);
    EXPECT_EQ(std::filesystem::exists(cache.path()), kept);
  }
  memory.keep("https://a.b:1" + path, body);
  EXPECT_EQ(memory.find(path, now), body);
  EXPECT_EQ(memory.find(path, now + std::chrono::hours(25)), std::nullopt);
  EXPECT_EQ(AnswerMemory(cache.path(), "https://a.c").find(path, now), std::nullopt);
  EXPECT_EQ(AnswerMemory(std::nullopt, "https://a.b:1").find(path, now), std::nullopt);
  auto mode = std::filesystem::status(cache.path() / "https___a.b_1").permissions();
  EXPECT_EQ(mode & (std::filesystem::perms::group_all | std::filesystem::perms::others_all),
            std::filesystem::perms::none);
}

} // namespace
} // namespace kestu::tests
