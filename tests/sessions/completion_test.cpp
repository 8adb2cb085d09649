#include "cli/completion.hpp"
#include "tests/support/shell_session.hpp"
#include "tests/support/temporary_folder.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

// The shells themselves, with the built program beside them.
namespace kestu::tests {
namespace {

struct Keys {
  std::string typed, shown;
};

class ShellCompletion : public ::testing::Test {
 protected:
  TemporaryFolder folder;
  std::vector<std::string> variables;

  ShellCompletion() {
    std::filesystem::create_directory(folder.path() / ".git");
    folder.write("metadata/screenshots/en-US/iPhone 6.9/01.png", "");
    folder.write("metadata/releases/1.2/en-US.json", "{}");
    folder.write("Daylight.ipa", "");
    folder.write("Daylight.txt", "");
    folder.write("Notes/en-US.md", "");
    std::string beside = std::filesystem::path(KESTU_PROGRAM).parent_path().string();
    variables = {"PATH=" + beside + ":/usr/bin:/bin", "HOME=" + folder.path().string(), "TERM=dumb", "PS1=> ",
                 "LC_ALL=C.UTF-8"};
  }

  std::string script(const std::string& shell) {
    return folder.write(".completion", completionScript(shell).value_or("")).string();
  }

  void expectKeys(ShellSession& session, const std::vector<Keys>& rows) {
    for (const Keys& row : rows) {
      SCOPED_TRACE(row.typed);
      session.type(row.typed);
      EXPECT_TRUE(session.shows(row.shown)) << session.shown();
      session.type("\x15");
    }
  }
};

const std::vector<Keys> common = {
    {"kestu asse\t", "kestu assets "},
    {"kestu assets push \t", "kestu assets push 1.2 "},
    {"kestu assets push 1.2 --disp\t", "--display "},
    {"kestu assets push 1.2 --display \t", "iPhone\\ 6.9 "},
    {"kestu assets push 1.2 --locale=en-\t", "--locale=en-US "},
    {"kestu assets push 1.2 --locale de-DE,en-\t", "--locale de-DE,en-US "},
    {"kestu builds list --output=js\t", "--output=json"},
    {"kestu builds upload Day\t", "Daylight.ipa "},
    {"kestu kit whats-new upload No\t", "Notes/"},
    {"kestu logout \tX", "kestu logout X"},
};

TEST_F(ShellCompletion, InBash) {
  if (!std::filesystem::exists("/bin/bash")) GTEST_SKIP() << "no bash here";
  ShellSession session({"/bin/bash", "--norc", "--noprofile", "-i"}, variables, folder.path().string());
  session.type("source " + script("bash") + "; bind 'set bell-style none'; echo ready-$((1+1))\r");
  ASSERT_TRUE(session.shows("ready-2")) << session.shown();
  expectKeys(session, common);
  expectKeys(session, {{"kestu assets push 1.2 --display \"iP\t", "\"iPhone 6.9"}, {"kestu kit \t\t", "whats-new"}});
}

TEST_F(ShellCompletion, InZsh) {
  if (!std::filesystem::exists("/bin/zsh")) GTEST_SKIP() << "no zsh here";
  ShellSession session({"/bin/zsh", "-f", "-i"}, variables, folder.path().string());
  session.type("autoload -Uz compinit; compinit -u -D; source " + script("zsh") + "; echo ready-$((1+1))\r");
  ASSERT_TRUE(session.shows("ready-2")) << session.shown();
  expectKeys(session, common);
  expectKeys(session, {{"kestu kit \t", "whats-new"}, {"kestu builds lat\t", "latest"}});
}

TEST_F(ShellCompletion, InFish) {
  if (!std::filesystem::exists("/usr/bin/fish")) GTEST_SKIP() << "no fish here";
  for (const Keys& row : std::vector<Keys>{
           {"kestu asse", "assets\tAn app's"},
           {"kestu assets push 1.2 --disp", "--display\t"},
           {"kestu assets push 1.2 --display ", "iPhone 6.9\r"},
           {"kestu assets push 1.2 --locale=en-", "--locale=en-US\tEnglish"},
           {"kestu builds list --output=js", "--output=json"},
           {"kestu builds upload Day", "Daylight.ipa"},
           {"kestu kit whats-new upload No", "Notes/"},
           {"kestu kit flags set x --o", "--off\t"},
       }) {
    SCOPED_TRACE(row.typed);
    ShellSession session({"/usr/bin/fish", "--no-config", "-c",
                          "source " + script("fish") + "; complete -C '" + row.typed + "'; echo ready-(math 1+1)"},
                         variables, folder.path().string());
    session.type("");
    ASSERT_TRUE(session.shows("ready-2")) << session.shown();
    EXPECT_NE(session.shown().find(row.shown), std::string::npos) << session.shown();
  }
}

} // namespace
} // namespace kestu::tests
