#include "tests/support/command_test.hpp"

#include "core/console/text_style.hpp"
#include "core/support/text.hpp"

#include <nlohmann/json.hpp>

namespace kestu::tests {
namespace {

class DoctorTest : public CommandTest {
 protected:
  /// The state of each item by its key.
  std::map<std::string, std::string> states(const std::vector<std::string>& more, int status) {
    std::vector<std::string> arguments = {"doctor", "--json"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    Ran ran = run(arguments);
    EXPECT_EQ(ran.status, status) << ran.out << ran.err;
    std::map<std::string, std::string> found;
    auto answer = nlohmann::json::parse(ran.out);
    for (const auto& item : answer["items"]) found[item["key"]] = item["state"];
    return found;
  }
};

TEST_F(DoctorTest, WorksWithoutSignInAndNetwork) {
  auto found = states({}, 0);
  EXPECT_EQ(found["service"], "ok");
  EXPECT_EQ(found["signin"], "todo");
  EXPECT_EQ(found["repo"], "ok");
  EXPECT_EQ(found["link"], "todo");
  EXPECT_EQ(found["listing"], "todo");
  EXPECT_FALSE(found.contains("scopes"));
  store.broken = true;
  found = states({}, 0);
  EXPECT_EQ(found["keyring"], "todo");
  EXPECT_EQ(found["signin"], "todo");
  environment["KESTU_API_URL"] = "http://127.0.0.1:1";
  environment["KESTU_TOKEN"] = "kst_x";
  repo.write("kestu.json", "{");
  repo.write("metadata/listing/en-US.json", "{}");
  repo.write("fastlane/screenshots/en-US/1.png", "");
  found = states({}, 1);
  EXPECT_EQ(found["service"], "problem");
  EXPECT_EQ(found["version"], "unknown") << "nothing told whether there is a newer one";
  EXPECT_NE(run({"doctor"}).out.find("→ See that KESTU_API_URL is right"), std::string::npos);
  environment["KESTU_API_URL"] = "https://127.0.0.1:1";
  environment["ALL_PROXY"] = "http://127.0.0.1:1";
  EXPECT_NE(run({"doctor"}).out.find("→ See that KESTU_API_URL and ALL_PROXY are right"), std::string::npos);
  EXPECT_EQ(found["signin"], "ok");
  EXPECT_EQ(found["link"], "problem");
  EXPECT_EQ(found["listing"], "ok");
  EXPECT_EQ(found["assets"], "ok");
  environment["KESTU_API_URL"] = "http://example.com";
  EXPECT_EQ(states({}, 1)["service"], "problem");
}

TEST_F(DoctorTest, TellsWhatIsBrokenAndWhatToDo) {
  signIn();
  link();
  server.withState([](sandbox::State& state) { state.announced = "9.0"; });
  auto found = states({}, 0);
  EXPECT_EQ(found["link"], "ok");
  EXPECT_EQ(found["scopes"], "ok");
  EXPECT_EQ(found["version"], "todo");
  EXPECT_EQ(found["supportEmail"], "todo");
  Ran ran = run({"doctor"});
  for (const char* part :
       {"This machine\n✓ Service", "✓ Sign-in            from the keyring\n", "In kestu: Daylight Weather\n",
        "! Support email      no address yet\n", "→ Feedback → Email, in the kestu app\n", "kestu update\n"}) {
    EXPECT_NE(ran.out.find(part), std::string::npos) << part << "\n" << ran.out;
  }
  repo.write("kestu.json", "{");
  EXPECT_FALSE(states({}, 1).contains("app")) << "told once";
  repo.write("kestu.json", R"({"appId": 1, "bundleId": "x"})");
  EXPECT_EQ(states({}, 1)["link"], "problem");
  EXPECT_EQ(states({"--app", "Ledger"}, 0)["kestuKit"], "todo");
  EXPECT_EQ(run({"doctor", "--app", "nothing"}).status, 7);
  server.withState([](sandbox::State& state) { state.tokens.clear(); });
  found = states({}, 1);
  EXPECT_EQ(found["signin"], "problem");
  EXPECT_EQ(found["service"], "ok") << "it answered";
  EXPECT_NE(run({"doctor"}).out.find("→ kestu login\n"), std::string::npos);
  for (const char* token : {"kst_gone", "a b"}) {
    SCOPED_TRACE(token);
    environment["KESTU_TOKEN"] = token;
    EXPECT_EQ(states({}, 1)["signin"], "problem");
    Ran refused = run({"doctor"});
    EXPECT_NE(refused.out.find("→ Set KESTU_TOKEN right, or unset it.\n"), std::string::npos);
    EXPECT_EQ(refused.out.find("kestu login"), std::string::npos) << refused.out;
  }
  terminal.outIsTerminal = true;
  for (int width : {50, 80}) {
    terminal.windowColumns = width;
    for (const std::string& line : Text::split(TextStyle::plain(run({"doctor"}).out), '\n')) {
      // A path of the machine's is one word.
      if (line.find(repo.path().string()) != std::string::npos) continue;
      EXPECT_LE(Text::columns(line), static_cast<std::size_t>(width)) << line;
    }
  }
}

} // namespace
} // namespace kestu::tests
