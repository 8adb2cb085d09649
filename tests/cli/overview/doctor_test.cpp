#include "tests/support/command_test.hpp"

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
  EXPECT_TRUE(has(run("doctor").out, "→ See that KESTU_API_URL is right"));
  environment["KESTU_API_URL"] = "https://127.0.0.1:1";
  environment["ALL_PROXY"] = "http://127.0.0.1:1";
  EXPECT_TRUE(has(run("doctor").out, "→ See that KESTU_API_URL and ALL_PROXY are right"));
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
  Ran ran = run("doctor");
  for (const char* part :
       {"This machine\n✓ Service", "✓ Sign-in            from the keyring\n", "In kestu: Daylight Weather\n",
        "! Support email      no address yet\n", "→ Feedback → Email, in the kestu app\n", "kestu update\n"}) {
    EXPECT_TRUE(has(ran.out, part)) << part << "\n" << ran.out;
  }
  repo.write("kestu.json", "{");
  EXPECT_FALSE(states({}, 1).contains("app")) << "told once";
  repo.write("kestu.json", R"({"appId": 1, "bundleId": "x"})");
  EXPECT_EQ(states({}, 1)["link"], "problem");
  EXPECT_EQ(states({"--app", "Ledger"}, 0)["kestuKit"], "todo");
  EXPECT_EQ(run("doctor --app nothing").status, 7);
  server.withState([](sandbox::State& state) { state.tokens.clear(); });
  found = states({}, 1);
  EXPECT_EQ(found["signin"], "problem");
  EXPECT_EQ(found["service"], "ok") << "it answered";
  EXPECT_TRUE(has(run("doctor").out, "→ kestu login\n"));
  for (const char* token : {"kst_gone", "a b"}) {
    SCOPED_TRACE(token);
    environment["KESTU_TOKEN"] = token;
    EXPECT_EQ(states({}, 1)["signin"], "problem");
    Ran refused = run("doctor");
    EXPECT_TRUE(has(refused.out, "→ Set KESTU_TOKEN right, or unset it.\n"));
    EXPECT_FALSE(has(refused.out, "kestu login"));
  }
}

} // namespace
} // namespace kestu::tests
