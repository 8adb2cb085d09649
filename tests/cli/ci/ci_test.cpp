#include "core/overview/ci_secrets.hpp"
#include "core/support/files.hpp"
#include "tests/support/endings.hpp"
#include "tests/support/process_variables.hpp"

#include <algorithm>
#include <fstream>
#include <thread>

#include <sys/stat.h>

namespace kestu::tests {
namespace {

/// A made-up gh and glab, before all others on the PATH, that keep what they are given.
class CITest : public CommandTest {
 protected:
  TemporaryFolder tools;
  ProcessVariables variables;

  CITest() {
    variables.setTools(tools.path());
    link();
  }

  void tool(const std::string& name, const std::string& onList, const std::string& onSet) {
    std::string folder = tools.path().string();
    tools.write(name, "#!/bin/sh\necho \"$@ ${KESTU_TOKEN-unset}\" >>" + folder + "/calls\ncase \"$2\" in\nlist) " +
                          onList + ";;\nset) cat >" + folder + "/input; " + onSet + ";;\nesac\n");
    std::filesystem::permissions(tools.path() / name, std::filesystem::perms::owner_all);
  }
  std::string kept(const std::string& name) { return Files::read(tools.path() / name, 65536).value_or(""); }
  std::vector<std::string> tokens() {
    std::vector<std::string> all;
    server.withState([&](sandbox::State& state) {
      for (const auto& [token, grant] : state.tokens) {
        if (grant.appIds) all.push_back(token);
      }
    });
    return all;
  }
};

TEST_F(CITest, TheTokenGoesToTheToolsInputAlone) {
  for (const auto& [program, provider, call] :
       {std::tuple<std::string, std::string, std::string>("gh", "github", "secret set KESTU_TOKEN unset\n"),
        {"glab", "gitlab", "variable set KESTU_TOKEN --masked unset\n"}}) {
    SCOPED_TRACE(program);
    tool(program, "exit 0", "exit 0");
    server.scriptNextSignIn({});
    auto before = tokens();
    Ran ran = run("ci token --scopes testflight,release --provider " + provider);
    EXPECT_EQ(ran.status, 0) << ran.err;
    auto after = tokens();
    ASSERT_EQ(after.size(), before.size() + 1);
    std::string token = kept("input");
    EXPECT_NE(std::find(after.begin(), after.end(), token), after.end());
    EXPECT_TRUE(ends(kept("calls"), call));
    EXPECT_FALSE(has(kept("calls") + ran.out + ran.err, token));
    server.withState([&](sandbox::State& state) {
      EXPECT_EQ(state.tokens[token].scopes, (std::vector<std::string>{"testflight", "release"}));
      EXPECT_EQ(state.tokens[token].appIds, (std::vector<std::int64_t>{1234567890}));
    });
  }
  server.scriptNextSignIn({});
  Ran ran = run("ci token --print");
  EXPECT_EQ(ran.status, 0);
  auto all = tokens();
  EXPECT_NE(std::find(all.begin(), all.end(), ran.out.substr(0, ran.out.size() - 1)), all.end()) << ran.out;
  EXPECT_TRUE(has(ran.err, "● Waiting for your approval"));
}

TEST_F(CITest, NobodyIsAskedWhereTheTokenHasNowhereToGo) {
  tool("gh", "echo 'not logged in' >&2; exit 4", "exit 0");
  terminal.outIsTerminal = true;
  expectErrors([&](const auto& options) { return run("ci token " + options); }, begins,
               {
                   {"--print", 2, "--print would show the token on this terminal."},
                   {"", 2, "This repo's origin is at neither GitHub nor GitLab"},
                   {"--provider github", 1, "gh can't get at the repository's secrets for Actions (not logged in)."},
                   {"--provider jenkins", 2, "--provider is github or gitlab, not jenkins."},
                   {"--scopes testflight,ads --print", 2, "There's no scope ads: "},
                   {"--force", 2, "--force is for --print."},
                   {"--print --json", 2, "--print writes the token alone"},
               });
  variables.set("PATH", "/nowhere");
  EXPECT_TRUE(begins(run("ci token --provider gitlab").err, "GitLab's tool glab couldn't be run ("));
  EXPECT_EQ(paths(), std::vector<std::string>{});
  EXPECT_EQ(run("ci token --print --force --app Ledger").status, 3);
}

TEST_F(CITest, ATokenThatIsNotKeptIsTakenBack) {
  for (auto [says, shown] :
       {std::pair("cat", "it failed"), {"fold -w 20", "it failed"}, {"sed 's/kst_.*/no room/'", "no room"}}) {
    SCOPED_TRACE(says);
    tool("gh", "exit 0", says + (" " + (tools.path() / "input").string()) + " >&2; exit 1");
    server.scriptNextSignIn({});
    EXPECT_TRUE(ended(run("ci token --provider github"), 1, equals,
                      "gh didn't take KESTU_TOKEN (" + std::string(shown) +
                          ").\nThe token was taken back, so approve another next time.\n"));
    EXPECT_TRUE(tokens().empty());
  }
}

TEST_F(CITest, ATokenThatNobodySurelyGotIsTakenBack) {
  std::string reached = (tools.path() / "reached").string();
  ASSERT_EQ(::mkfifo(reached.c_str(), 0600), 0);
  tool("gh", "exit 0", ": >" + reached + "; exec tail -f /dev/null");
  server.scriptNextSignIn({});
  std::jthread person([&] {
    std::ifstream wait(reached); // until the tool opens it
    stopping.request_stop();
  });
  EXPECT_THROW(run("ci token --provider github"), Stopped);
  std::fstream release(reached); // the tool may never have run
  EXPECT_TRUE(ends(terminal.errText(), "The token was taken back, so approve another next time.\n"));
  EXPECT_TRUE(tokens().empty());
}

TEST(CISecrets, KnowsTheProviderByTheRemote) {
  for (auto [address, word] : std::vector<std::pair<const char*, const char*>>{
           {"git@github.com:a/b.git", "github"},
           {"https://robin:x@GitHub.com/a/gitlab.com", "github"},
           {"ssh://git@gitlab.com:22/a/b", "gitlab"},
           {"https://notgithub.com/a", ""},
           {"/srv/github.com", ""},
       }) {
    const CIProvider* found = CISecrets::ofRemote(address);
    EXPECT_EQ(found ? found->word : "", word) << address;
  }
}

} // namespace
} // namespace kestu::tests
