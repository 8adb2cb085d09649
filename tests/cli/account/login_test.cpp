#include "tests/support/command_test.hpp"
#include "tests/support/endings.hpp"

#include <nlohmann/json.hpp>

#include <set>

namespace kestu::tests {
namespace {

class LoginTest : public CommandTest {
 protected:
  const std::string token = "/v1/auth/token";
};

TEST_F(LoginTest, FollowsTheSignInToItsEnd) {
  for (const auto& [words, status, err, waits] :
       std::vector<std::tuple<std::string, int, std::string, std::vector<int>>>{
           {"", 0, "", {5}},
           {"authorization_pending authorization_pending", 0, "", {5, 5, 5}},
           {"slow_down authorization_pending", 0, "", {5, 10, 10}},
           {"access_denied", 5, "Denied in the kestu app. Nothing was signed in.\n", {5}},
           {"expired_token", 1, "The code expired before it was approved. Run it again for a new one.\n", {5}},
           {"invalid_grant", 1, "kestu no longer knows this sign-in. Run it again.\n", {5}},
       }) {
    SCOPED_TRACE(words);
    store.items.clear();
    server.scriptNextSignIn(wordsOf(words));
    std::size_t before = clock.sleeps().size();
    Ran ran = run("login");
    EXPECT_EQ(ran.status, status);
    EXPECT_EQ(ran.err, err);
    EXPECT_EQ(store.items.size(), status == 0 ? 1U : 0U);
    auto sleeps = clock.sleeps();
    ASSERT_EQ(sleeps.size() - before, waits.size());
    for (std::size_t i = 0; i < waits.size(); ++i) EXPECT_EQ(sleeps[before + i], std::chrono::seconds(waits[i]));
  }
}

TEST_F(LoginTest, WhatPassesAtAPollIsPolledAgain) {
  // With how standard error begins.
  for (const auto& [fault, status, err, polls] : std::vector<std::tuple<sandbox::Fault, int, std::string, std::size_t>>{
           {{.path = token, .times = 2, .status = 503, .body = "<html>"}, 0, "", 3},
           {{.path = token, .cut = true}, 0, "", 2},
           {{.path = token, .status = 429}, 0, "", 2},
           {{.path = token, .status = 426}, 11, "kestu CLI 1.1.2 is too old to use now. Update it: kestu update\n", 1},
           {{.path = token, .status = 500, .body = R"({"error":"access_denied"})"}, 5, "Denied in the kestu app.", 1},
           {{.path = token, .status = 404}, 1, "kestu no longer knows this sign-in. Run it again.\n", 1},
           {{.path = token, .status = 200, .body = "{}"}, 9, "kestu's answer wasn't what this version", 1},
           {{.path = token, .times = -1, .status = 502}, 9, "kestu couldn't answer (502). Try again in a moment.\n", 9},
       }) {
    SCOPED_TRACE(err + std::to_string(fault.status));
    server.faults().clear();
    server.forgetRequests();
    server.scriptNextSignIn({});
    server.onNext(fault);
    Ran ran = run("login");
    EXPECT_EQ(ran.status, status);
    EXPECT_TRUE(begins(ran.err, err));
    EXPECT_GE(calls("POST " + token), polls);
    if (polls == 1) EXPECT_EQ(calls("POST " + token), 1U);
  }
}

TEST_F(LoginTest, SaysWhoIsSignedInBeforeAndAfter) {
  server.scriptNextSignIn({});
  std::string first = run("login").out;
  EXPECT_FALSE(has(first, "so far"));
  std::size_t start = first.find("✓ Signed in as ") + 17;
  std::string who = first.substr(start, first.find('\n', start) - start);
  EXPECT_TRUE(who.ends_with(")") && first.ends_with("\nNext: kestu link\n")) << first;
  server.scriptNextSignIn({});
  EXPECT_TRUE(begins(run("login --json").err, "Signed in as " + who + " so far: a new sign-in takes its"));
}

TEST_F(LoginTest, NoKeyringIsSaidBeforeAnybodyIsAsked) {
  store.broken = true;
  for (const char* command : {"login", "apps", "whoami", "logout"}) {
    SCOPED_TRACE(command);
    EXPECT_TRUE(ended(run({command}), 3, equals,
                      "Not signed in: this machine's keyring can't be reached (no keyring here). Set KESTU_TOKEN, or "
                      "sign in where there is one.\n"));
  }
  environment["KESTU_TOKEN"] = "any";
  EXPECT_TRUE(ended(run("login"), 1, equals,
                    "This machine's keyring can't be reached (no keyring here), so a sign-in can't be kept here. "
                    "Commands use KESTU_TOKEN, which is set: give it another token to sign in otherwise.\n"));
  EXPECT_TRUE(server.requests().empty());
}

TEST_F(LoginTest, TheProbeOfTheKeyringHasANameOfItsOwn) {
  std::set<std::string> names;
  store.saved = [&](std::string_view name) { names.insert(std::string(name)); };
  for (int i = 0; i < 3; ++i) store.check();
  EXPECT_EQ(names.size(), 3U);
  EXPECT_TRUE(store.items.empty());
}

TEST_F(LoginTest, ATokenThatIsRefusedIsNamedAsTheThingToMend) {
  const std::string mend = "\nKESTU_TOKEN is this sign-in: set it to another token, or unset it.\n";
  environment["KESTU_TOKEN"] = "stale";
  EXPECT_TRUE(ended(run("apps"), 3, ends, "Run kestu login." + mend));
  environment["KESTU_TOKEN"] = server.tokenFor({"sales"});
  link();
  EXPECT_TRUE(ends(run("builds list").err, "as you approve it." + mend));
  environment.erase("KESTU_TOKEN");
  store.items.insert_or_assign("token@" + server.origin(), "stale");
  EXPECT_TRUE(ends(run("apps").err, "Run kestu login.\n"));
}

TEST_F(LoginTest, TheEnvironmentWins) {
  environment["KESTU_TOKEN"] = " \n ";
  EXPECT_EQ(run("whoami").status, 3);
  signIn();
  EXPECT_EQ(run("whoami").status, 0);
  environment["KESTU_TOKEN"] = " " + server.tokenFor({"apps"}) + "\n";
  EXPECT_EQ(nlohmann::json::parse(run("whoami --json").out)["grant"]["scopes"], nlohmann::json({"apps"}));
  EXPECT_EQ(run("logout").err, "KESTU_TOKEN is set, so commands keep using it.\n");
  EXPECT_TRUE(store.items.empty());
  server.scriptNextSignIn({});
  run("login");
  std::string seen = terminal.allText();
  std::size_t wins = seen.find("commands keep using it rather than this sign-in.\n");
  EXPECT_LT(wins, seen.find("Approve in kestu: ")) << "before anybody approves it";
  environment["KESTU_TOKEN"] = "a b";
  EXPECT_EQ(run("whoami").status, 2);
}

TEST_F(LoginTest, ATokenStaysWithTheOriginThatIssuedIt) {
  signIn();
  sandbox::Server other;
  environment["KESTU_API_URL"] = other.origin();
  EXPECT_EQ(run("apps").err, "Not signed in. Run kestu login.\n");
  EXPECT_TRUE(other.requests().empty());
}

TEST_F(LoginTest, LogoutRevokesThenForgets) {
  signIn();
  environment["KESTU_TOKEN"] = store.items.begin()->second;
  EXPECT_EQ(run("whoami").status, 0);
  server.onNext({.path = "/v1/auth/revoke", .status = 503});
  EXPECT_EQ(run("logout").status, 9);
  EXPECT_EQ(store.items.size(), 1U);
  EXPECT_EQ(run("logout").status, 0);
  EXPECT_EQ(server.requests().back().path, "/v1/auth/revoke");
  EXPECT_FALSE(server.requests().back().headers.contains("content-type")) << "there is no body";
  EXPECT_TRUE(store.items.empty());
  EXPECT_EQ(run("whoami").status, 3) << "the token still worked";
  environment.erase("KESTU_TOKEN");
  EXPECT_EQ(run("logout").status, 3);
}

TEST_F(LoginTest, DrawsTheCodeAtATerminalOnly) {
  terminal.windowColumns = 100;
  for (auto [line, atTerminal] : {std::pair("login", true), {"login", false}, {"login --json", true}}) {
    const bool isPlain = line == std::string("login");
    terminal.outIsTerminal = atTerminal;
    server.scriptNextSignIn({});
    Ran ran = run(line);
    EXPECT_EQ(has(ran.out, "▀"), isPlain && atTerminal);
    EXPECT_TRUE(has(isPlain ? ran.out : ran.err, "● Waiting for your approval in the kestu app, until "));
  }
}

TEST_F(LoginTest, TheLinkStaysInSightBesideTheCode) {
  terminal.outIsTerminal = true;
  terminal.windowColumns = 100;
  auto lines = [](const std::string& text) { return static_cast<int>(std::count(text.begin(), text.end(), '\n')); };
  auto shown = [&] {
    server.scriptNextSignIn({});
    store.items.clear();
    std::string text = run("login").out;
    return text.substr(0, text.find("✓"));
  };
  const int all = lines(shown()) + 1; // the cursor's too
  for (auto [fewer, drawn, linkFirst] :
       {std::tuple(0, true, true), {1, true, false}, {3, true, false}, {4, false, true}}) {
    SCOPED_TRACE(fewer);
    terminal.windowRows = all - fewer;
    std::string text = shown();
    std::size_t link = text.find("Approve in kestu: "), code = text.find("▀");
    EXPECT_EQ(code != std::string::npos, drawn);
    EXPECT_EQ(link < code, linkFirst);
    EXPECT_LE(lines(text.substr(link)) + 1, all - fewer);
  }
}

} // namespace
} // namespace kestu::tests
