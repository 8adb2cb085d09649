#include "tests/support/command_test.hpp"

#include <nlohmann/json.hpp>

namespace kestu::tests {
namespace {

class DoctorTest : public CommandTest {
 protected:
  /// The items' states by their keys; `options` go to the command, which has to end so.
  std::map<std::string, std::string> states(int status, const std::string& options = "") {
    Ran ran = run("doctor --json " + options);
    EXPECT_EQ(ran.status, status) << ran.out << ran.err;
    std::map<std::string, std::string> found;
    auto answer = nlohmann::json::parse(ran.out);
    for (const auto& item : answer["items"]) found[item["key"]] = item["state"];
    return found;
  }
  /// Whether all of these are in such a state.
  static void expectIn(std::map<std::string, std::string> found, const std::string& state, const std::string& keys) {
    for (const std::string& key : wordsOf(keys)) EXPECT_EQ(found[key], state) << key;
  }
};

TEST_F(DoctorTest, WorksWithoutSignInAndNetwork) {
  auto found = states(0);
  expectIn(found, "ok", "service repo");
  expectIn(found, "todo", "signin link listing");
  EXPECT_FALSE(found.contains("scopes"));
  store.broken = true;
  expectIn(states(0), "todo", "keyring signin");
  environment["KESTU_API_URL"] = "http://127.0.0.1:1";
  environment["KESTU_TOKEN"] = "kst_x";
  repo.write("kestu.json", "{");
  repo.write("metadata/listing/en-US.json", "{}");
  repo.write("fastlane/screenshots/en-US/1.png", "");
  found = states(1);
  expectIn(found, "problem", "service link");
  expectIn(found, "unknown", "version"); // nothing told whether there is a newer one
  expectIn(found, "ok", "signin listing assets");
  EXPECT_TRUE(has(run("doctor").out, "→ See that KESTU_API_URL is right"));
  environment["KESTU_API_URL"] = "https://127.0.0.1:1";
  environment["ALL_PROXY"] = "http://127.0.0.1:1";
  EXPECT_TRUE(has(run("doctor").out, "→ See that KESTU_API_URL and ALL_PROXY are right"));
  environment["KESTU_API_URL"] = "http://example.com";
  expectIn(states(1), "problem", "service");
}

TEST_F(DoctorTest, TellsWhatIsBrokenAndWhatToDo) {
  signIn();
  link();
  server.withState([](sandbox::State& state) { state.announced = "9.0"; });
  auto found = states(0);
  expectIn(found, "ok", "link scopes");
  expectIn(found, "todo", "version supportEmail");
  std::string out = run("doctor").out;
  for (const char* part :
       {"This machine\n✓ Service", "✓ Sign-in            from the keyring\n", "In kestu: Daylight Weather\n",
        "! Support email      no address yet\n", "→ Feedback → Email, in the kestu app\n", "kestu update\n"}) {
    EXPECT_TRUE(has(out, part)) << part;
  }
  repo.write("kestu.json", "{");
  EXPECT_FALSE(states(1).contains("app")) << "told once";
  repo.write("kestu.json", R"({"appId": 1, "bundleId": "x"})");
  expectIn(states(1), "problem", "link");
  expectIn(states(0, "--app Ledger"), "todo", "kestuKit");
  EXPECT_EQ(run("doctor --app nothing").status, 7);
  server.withState([](sandbox::State& state) { state.tokens.clear(); });
  found = states(1);
  expectIn(found, "problem", "signin");
  expectIn(found, "ok", "service"); // it answered
  EXPECT_TRUE(has(run("doctor").out, "→ kestu login\n"));
  for (const char* token : {"kst_gone", "a b"}) {
    SCOPED_TRACE(token);
    environment["KESTU_TOKEN"] = token;
    expectIn(states(1), "problem", "signin");
    out = run("doctor").out;
    EXPECT_TRUE(has(out, "→ Set KESTU_TOKEN right, or unset it.\n"));
    EXPECT_FALSE(has(out, "kestu login"));
  }
}

} // namespace
} // namespace kestu::tests
