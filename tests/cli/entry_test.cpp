#include "cli/arguments.hpp"
#include "cli/command_tree.hpp"
#include "tests/support/command_test.hpp"

namespace kestu::tests {
namespace {

TEST(Arguments, RewritesRetiredWords) {
  for (const auto& [before, after, notice] : std::vector<std::tuple<std::string, std::string, std::string>>{
           {"whatsnew list", "kit whats-new list", "kestu whatsnew is now kestu kit whats-new."},
           {"help flags", "help kit flags", "kestu flags is now kestu kit flags."},
           {"help", "help", ""},
           {"", "", ""},
           {"prices ppp --x", "prices parity --x", ""},
           {"help prices ppp", "help prices parity", ""},
           {"prices", "prices", ""},
           {"prices list ppp", "prices list ppp", ""},
           {"apps flags", "apps flags", ""},
       }) {
    Rewritten result = rewritten(wordsOf(before));
    EXPECT_EQ(result.arguments, wordsOf(after));
    EXPECT_EQ(result.notice, notice);
  }
}

TEST(CLIError, HelpListsElevenKinds) {
  std::string help = CLIError::help();
  EXPECT_TRUE(begins(
      help,
      "Exit codes: 1 failed, 2 used wrongly, 3 not signed in, 4 not allowed (the sign-in's scopes or apps), 5 denied"));
  EXPECT_TRUE(ends(help, ", 10 still waiting when the time ran out, 11 kestu needs updating."));
  for (int raw : {0, 12, -1}) EXPECT_FALSE(CLIError::kindOf(raw));
  EXPECT_EQ(CLIError::kindOf(11), CLIError::Kind::outdated);
  EXPECT_EQ(CLIError::notWritten("These differ", {"a", "b"}).description,
            "These differ, so nothing was written:\n  a\n  b\n--force writes over them.");
}

class EntryTest : public CommandTest {};

TEST_F(EntryTest, AnswersWhatNeedsNoServiceAndSendsNothing) {
  // With how both outputs begin.
  for (const auto& [arguments, status, out, err] : std::vector<std::tuple<std::string, int, std::string, std::string>>{
           {"--version", 0, "1.1.2\n", ""},
           {"", 0, "kestu from the terminal: your apps", ""},
           {"help assets push", 0, "Send the repo's assets to a version", ""},
           {"assets screenshots push --help", 0, "Send the repo's screenshots to a version", ""},
           {"assets", 0, "An app's App Store assets from its repo", ""},
           {"reviews list --whatever", 1, "", "kestu reviews isn't in this version of kestu yet.\n"},
           {"whatsnew list", 3, "", "kestu whatsnew is now kestu kit whats-new.\nNot signed in. Run kestu login.\n"},
           {"apps.", 3, "", "Not signed in. Run kestu login.\n"}, // copied from the end of a sentence
           {"kit flags. list.", 3, "", "Not signed in. Run kestu login.\n"},
           {"asets", 2, "", "kestu has no command asets. Did you mean assets?\n\nUsage: kestu"},
           {"xyzzy", 2, "", "kestu has no command xyzzy.\n"},
           {"assets psuh 1.2", 2, "", "kestu assets has no command psuh. Did you mean push?"},
           {"assets push", 2, "", "Missing <version>: "},
           {"assets push 1.2 1.3", 2, "", "Nothing is expected at 1.3."},
           {"assets push 1.2 --forse", 2, "", "There's no option --forse here."},
           {"assets push -- 1.2 --json", 2, "", "Nothing is expected at --json."},
           {"assets push 1.2 --locale -- x", 2, "", "--locale needs a value.\n"},
           {"assets push 1.2 --platform tvos", 2, "", "--platform is ios or macos, not tvos."},
           {"assets push 1.2 --locale", 2, "", "--locale needs a value.\n"},
           {"apps --json --output csv", 2, "",
            "--json is --output json: one or the other.\n\nUsage: kestu apps [options]"},
           {"whoami -oxml", 2, "", "--output is json, not xml."},
           {"assets previws pull -ojson", 2, "", "kestu assets has no command previws. Did you mean previews?"},
           {"--json buidls list", 2, "", "kestu has no command buidls. Did you mean builds?"},
           {"-- builds list", 2, "", "-- has no place before a command: kestu builds."},
           {"builds --yes expire 45", 2, "", "--yes goes after the command: kestu builds expire 45 --yes\n"},
           {"-a 'My App' --output=md builds list", 2, "",
            "-a goes after the command: kestu builds list -a 'My App' --output=md\n"},
           {"'--locale=de, fr' assets push 1.2 -- -x", 2, "",
            "--locale goes after the command: kestu assets push 1.2 --locale='de, fr' -- -x\n"},
           {"builds -o list", 2, "", "-o goes after the command: kestu builds list -o <format>\n"},
           {"--outptu json apps", 2, "", "There's no option --outptu here. Did you mean --output?"},
           {"config --json screenshot-folders ids", 2, "", "--json goes after the command: kestu config scr"},
           {"builds latest --app --json", 2, "", "--app needs a value.\n"},
           {"builds latest --app -x", 2, "", "--app needs a value. One that begins with a dash is joined: --app=-x."},
           {"builds latest -o=csv", 2, "", "--output is json, not csv.\n"},
           {"link ' '", 2, "", "The app is empty.\n"},
           {"builds expire 45 -yo -y", 2, "", "-o needs a value.\n"},
           {"-n builds expire 45", 2, "", "There's no option -n here.\n"},
           {"apps -json", 2, "", "There's no option -json here. Did you mean --json?"},
           {"builds ' '", 2, "", "kestu builds has no command \" \".\n"},
           {"builds expire 45 --yes=no", 2, "", "--yes takes no value.\n"},
           {"builds latest --platform=-20", 2, "", "--platform is ios, macos, tvos or visionos, not -20."},
           {"'x\x1b[2J'", 2, "", "kestu has no command x?[2J."},
       }) {
    SCOPED_TRACE(arguments);
    Ran ran = run(arguments);
    EXPECT_EQ(ran.status, status) << ran.err;
    EXPECT_EQ(ran.out.substr(0, out.size()), out);
    EXPECT_EQ(ran.err.substr(0, err.size()), err);
    EXPECT_EQ(ran.out.empty(), out.empty());
    EXPECT_EQ(ran.err.empty(), err.empty());
  }
  EXPECT_TRUE(server.requests().empty());
}

} // namespace
} // namespace kestu::tests
