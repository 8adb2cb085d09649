#include "tests/support/command_test.hpp"

#include <nlohmann/json.hpp>

namespace kestu::tests {
namespace {

class LoginTest : public CommandTest {};

TEST_F(LoginTest, FollowsTheSignInToItsEnd) {
  struct Row {
    std::vector<std::string> words;
    int status;
    std::string err;
    std::vector<int> waits;
  };
  for (const Row& row : std::vector<Row>{
           {{}, 0, "", {5}},
           {{"authorization_pending", "authorization_pending"}, 0, "", {5, 5, 5}},
           {{"slow_down", "authorization_pending"}, 0, "", {5, 10, 10}},
           {{"access_denied"}, 5, "Denied in the kestu app. Nothing was signed in.\n", {5}},
           {{"expired_token"}, 1, "The code expired before it was approved. Run it again for a new one.\n", {5}},
           {{"invalid_grant"}, 1, "kestu no longer knows this sign-in. Run it again.\n", {5}},
       }) {
    SCOPED_TRACE(row.words.empty() ? "approved" : row.words.front());
    store.items.clear();
    server.scriptNextSignIn(row.words);
    std::size_t before = clock.sleeps().size();
    Ran ran = run({"login"});
    EXPECT_EQ(ran.status, row.status);
    EXPECT_EQ(ran.err, row.err);
    EXPECT_EQ(store.items.size(), row.status == 0 ? 1U : 0U);
    auto sleeps = clock.sleeps();
    ASSERT_EQ(sleeps.size() - before, row.waits.size());
    for (std::size_t i = 0; i < row.waits.size(); ++i)
      EXPECT_EQ(sleeps[before + i], std::chrono::seconds(row.waits[i]));
  }
}

TEST_F(LoginTest, NoKeyringIsSaidBeforeAnybodyIsAsked) {
  store.broken = true;
  Ran ran = run({"login"});
  EXPECT_EQ(ran.status, 1);
  EXPECT_EQ(ran.err, "Couldn't keep the token in the Keychain (no keyring here). Unlock it (security unlock-keychain) "
                     "and run kestu login again.\n");
  EXPECT_TRUE(server.requests().empty());
}

TEST_F(LoginTest, TheEnvironmentWins) {
  environment["KESTU_TOKEN"] = " \n ";
  EXPECT_EQ(run({"whoami"}).status, 3);
  signIn();
  EXPECT_EQ(run({"whoami"}).status, 0);
  environment["KESTU_TOKEN"] = " " + server.tokenFor({"apps"}) + "\n";
  Ran ran = run({"whoami", "--json"});
  EXPECT_EQ(nlohmann::json::parse(ran.out)["grant"]["scopes"], nlohmann::json({"apps"}));
  Ran login = run({"logout"});
  EXPECT_EQ(login.err, "KESTU_TOKEN is set, so commands keep using it.\n");
  EXPECT_TRUE(store.items.empty());
  environment["KESTU_TOKEN"] = "a b";
  EXPECT_EQ(run({"whoami"}).status, 2);
}

TEST_F(LoginTest, ATokenStaysWithTheOriginThatIssuedIt) {
  signIn();
  sandbox::Server other;
  environment["KESTU_API_URL"] = other.origin();
  EXPECT_EQ(run({"apps"}).err, "Not signed in. Run kestu login.\n");
  EXPECT_TRUE(other.requests().empty());
}

TEST_F(LoginTest, LogoutRevokesThenForgets) {
  signIn();
  environment["KESTU_TOKEN"] = store.items.begin()->second;
  EXPECT_EQ(run({"whoami"}).status, 0);
  server.onNext({.path = "/v1/auth/revoke", .status = 503});
  EXPECT_EQ(run({"logout"}).status, 9);
  EXPECT_EQ(store.items.size(), 1U);
  EXPECT_EQ(run({"logout"}).status, 0);
  EXPECT_TRUE(store.items.empty());
  EXPECT_EQ(run({"whoami"}).status, 3) << "the token still worked";
  environment.erase("KESTU_TOKEN");
  EXPECT_EQ(run({"logout"}).status, 3);
}

TEST_F(LoginTest, DrawsTheCodeAtATerminalOnly) {
  for (auto [terminals, machine, drawn] : {std::tuple(true, false, true), {false, false, false}, {true, true, false}}) {
    FakeTerminal& screen = terminal;
    screen.outIsTerminal = terminals;
    screen.windowColumns = 100;
    server.scriptNextSignIn({});
    Ran ran = run(machine ? std::vector<std::string>{"login", "--json"} : std::vector<std::string>{"login"});
    EXPECT_EQ(ran.out.find("▀") != std::string::npos, drawn);
    EXPECT_NE((machine ? ran.err : ran.out).find("● Waiting for your approval in the kestu app, until "),
              std::string::npos);
  }
}

} // namespace
} // namespace kestu::tests
