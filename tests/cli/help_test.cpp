#include "cli/args.hpp"
#include "cli/command_tree.hpp"
#include "cli/help.hpp"
#include "cli/manual.hpp"
#include "cli/stored_pages.hpp"
#include "cli/topics.hpp"
#include "core/support/files.hpp"
#include "core/support/plain_columns.hpp"
#include "core/support/text.hpp"
#include "tests/support/command_test.hpp"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <utility>

namespace kestu::tests {
namespace {

using Words = std::vector<std::string>;

std::vector<Page> everyPage() {
  auto pages = allPages(rootCommand("*"));
  pages.insert(pages.end(), topics().begin(), topics().end());
  return pages;
}

Page pageOf(const std::string& path, const std::string& abstract = "", const std::string& usage = "") {
  Page page;
  page.path = path;
  page.abstract = abstract;
  page.usage = usage;
  return page;
}

void eachCommand(const Command& command, const std::function<void(const Command&)>& each) {
  each(command);
  for (const Command& sub : command.subcommands) eachCommand(sub, each);
}

/// Whether this version has it, or anything below it.
bool isBuilt(const Command& command) {
  const auto& below = command.subcommands;
  return below.empty() ? !command.takesAnything : std::any_of(below.begin(), below.end(), isBuilt);
}

/// The words of an example after the program's own.
Words typed(const std::string& line) {
  Words words = wordsOf(line);
  words.erase(words.begin());
  return words;
}

TEST(StoredPages, AreThoseOfTheTree) {
  auto pages = everyPage();
  EXPECT_EQ(StoredPages::count, pages.size());
  for (const Page& page : pages) {
    SCOPED_TRACE(page.path);
    auto stored = StoredPages::find(page.path);
    ASSERT_TRUE(stored);
    for (int width : {20, 50, 80, 200}) EXPECT_EQ(laidOut(*stored, width), laidOut(page, width));
  }
}

class HelpTest : public CommandTest {};

TEST(Pages, NoLineIsWiderThanTheWindow) {
  for (const Page& page : everyPage()) {
    SCOPED_TRACE(page.path);
    for (int width : {50, 80}) {
      for (const std::string& line : Text::split(laidOut(page, width), '\n')) {
        EXPECT_LE(Text::columns(line), static_cast<std::size_t>(width)) << line;
        EXPECT_EQ(Text::columns(line), plainColumns(line)) << line;
      }
    }
  }
}

TEST(Examples, EachCommandHasSomeThatItTakes) {
  eachCommand(rootCommand("*"), [](const Command& command) {
    SCOPED_TRACE(command.path);
    EXPECT_GE(command.examples.size(), isBuilt(command) ? 1U : 0U);
    EXPECT_LE(command.examples.size(), isBuilt(command) ? 3U : 0U);
    for (const Example& example : command.examples) {
      EXPECT_TRUE(ends(example.text, "."));
      Command root = rootCommand("*"); // what a line sets stays set
      try {
        EXPECT_TRUE(begins(parse(root, typed(example.line)).command->path + " ", command.path + " "));
      } catch (const std::exception& error) {
        ADD_FAILURE() << example.line << ": " << error.what();
      }
    }
  });
}

TEST_F(HelpTest, WhatIsRequiredIsRefusedWhenLeftOut) {
  link();
  std::size_t count = 0;
  eachCommand(rootCommand("*"), [&](const Command& command) {
    for (const Words& names : command.needed) {
      const Words whole = typed(command.examples[0].line);
      Words words;
      bool isDropped = false;
      for (const std::string& word : whole) {
        bool isValue = std::exchange(isDropped, false);
        isDropped = std::find(names.begin(), names.end(), word) != names.end();
        if (!isDropped && !isValue) words.push_back(word);
      }
      if (names[0].starts_with('<')) words.pop_back();
      SCOPED_TRACE(Text::joined(words, " "));
      EXPECT_NE(words, whole);
      Ran ran = run(words);
      EXPECT_EQ(ran.status, 2);
      EXPECT_TRUE(std::any_of(names.begin(), names.end(), [&](const auto& name) { return has(ran.err, name); }))
          << ran.err;
      ++count;
    }
  });
  EXPECT_GT(count, 10U);
  EXPECT_TRUE(server.requests().empty());
}

TEST(Topics, TellEveryVariableThatIsRead) {
  auto source = Files::read(std::filesystem::path(KESTU_SOURCES) / "core/support/environment.cpp", 65'536);
  std::string told = laidOut(*topicCalled("environment"), 100);
  std::size_t count = 0;
  for (const std::string& word : Text::split(source.value_or(""), '"')) {
    if (word.size() < 2 || word.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ_") != std::string::npos) continue;
    EXPECT_TRUE(has(told, word)) << word;
    ++count;
  }
  EXPECT_GT(count, 10U);
}

TEST_F(HelpTest, OnlyACommandsWordsAndHelpAreAnsweredWithoutTheProgram) {
  // Each with the page's path, empty where the program is asked.
  for (const auto& [line, path] : std::vector<std::pair<std::string, std::string>>{
           {"", "kestu"},
           {"-h", "kestu"},
           {"help", "kestu"},
           {"help assets push", "kestu assets push"},
           {"assets push -h", "kestu assets push"},
           {"assets", "kestu assets"}, // a group
           {"reviews --help", "kestu reviews"},
           {"reviews", ""},
           {"assets push", ""},
           {"asets --help", ""},
           {"'assets push' --help", ""},
           {"'' assets --help", ""},
           {"assets push 1.2 --help", ""},
           {"assets --help push", ""},
           {"assets push --json --help", ""},
           {"assets push -- --help", ""},
           {"help assets --help", ""},
           {"help files", "kestu help files"},
           {"files --help", ""},
           {"help files --help", ""},
           {"flags --help", ""}, // a retired word
           {"prices ppp -h", ""},
       }) {
    SCOPED_TRACE(line);
    auto found = StoredPages::askedFor(wordsOf(line));
    EXPECT_EQ(found ? found->path : "", path);
    if (found) EXPECT_EQ(run(line).out, laidOut(*found, 80));
  }
}

TEST_F(HelpTest, ATopicThatIsNearlyOneIsNamed) {
  EXPECT_TRUE(has(run("help enviroment").err, "Did you mean environment?"));
  EXPECT_TRUE(begins(run("help environment files").err, "Nothing is expected at files."));
  EXPECT_TRUE(begins(run("help kit flags list extra").err, "Nothing is expected at extra."));
  EXPECT_EQ(run("help help").out, run("help").out);
  EXPECT_FALSE(has(run("enviroment").err, "Did you mean environment?"));
}

TEST(Page, FillsLinesByTheColumnsThatShow) {
  Page page = pageOf("kestu x", "Ein „Zitat“ – zählt, wie es erscheint, auf Zeilen.\n\nEnd.",
                     "kestu x <one thing> --two <two things> (--three <3> | --four <4>) [options]");
  page.sections = {
      {"Options",
       {{"-a, --äpp <ä>", "Four words of it, and then some more."}, {"--much-longer-than-the-others", "Below."}}},
      {"Words", {{"名前", "漢字 漢字 漢字 漢字 漢字 漢字 漢字 漢字"}, {"e\u0301", "One."}}},
      {"Examples", {{"kestu x \"a b c d e f\" --two 2 --three \"3 3 3 3 3\"", "It does."}}, true}};
  page.closing = "The end.";
  EXPECT_EQ(laidOut(page, 42), "Ein „Zitat“ – zählt, wie es erscheint, auf\n"
                               "Zeilen.\n\nEnd.\n\n"
                               "Usage: kestu x <one thing>\n"
                               "       --two <two things> (--three <3> |\n"
                               "       --four <4>) [options]\n\n"
                               "Options\n"
                               "  -a, --äpp <ä>\n"
                               "      Four words of it, and then some\n"
                               "      more.\n"
                               "  --much-longer-than-the-others\n"
                               "      Below.\n\n"
                               "Words\n"
                               "  名前  漢字 漢字 漢字 漢字 漢字 漢字 漢字\n"
                               "        漢字\n"
                               "  e\u0301     One.\n\n"
                               "Examples\n"
                               "  kestu x \"a b c d e f\" --two 2 \\\n"
                               "      --three \"3 3 3 3 3\"\n"
                               "    It does.\n\n"
                               "The end.\n");
}

TEST(Manual, EscapesWhatRoffTakesForItsOwn) {
  Page page = pageOf("kestu a-b", ".dot: one two and 'quote': more.", "kestu a-b <\\x y> --z <z>");
  page.discussion = "'first\n.second\n\n\"third\" `4` ^5 ~6 −";
  page.sections = {{"Options", {{"--x", "…"}}},
                   {"Examples", {{"kestu a-b \"1\"", "One."}, {"kestu a-b --y 2", "Two."}}, true}};
  Page group = pageOf("kestu"), below = pageOf("kestu a-b c"), lower = pageOf("kestu a-b c d");
  Page topic = pageOf("kestu help files");
  EXPECT_EQ(Manual::fileName(page), "kestu-a-b.1");
  EXPECT_EQ(Manual::fileName(topic), "kestu-files.7");
  EXPECT_EQ(Manual::text(page, {group, page, below, lower, topic}),
            ".TH KESTU\\-A\\-B 1 \"\" \"kestu 1.1.2\" kestu\n.nh\n.ad l\n.SH NAME\n"
            "kestu\\-a\\-b \\- \\&.dot: one two and \\(aqquote\\(aq: more\n"
            ".SH SYNOPSIS\n\\fBkestu a\\-b\\fR <\\(rsx\\~y> \\-\\-z\\~<z>\n"
            ".SH DESCRIPTION\n\\&.dot: one two and \\(aqquote\\(aq: more.\n"
            ".PP\n\\&\\(aqfirst\n.br\n\\&.second\n.PP\n\\(dqthird\\(dq \\(ga4\\(ga \\(ha5 \\(ti6 \\[u2212]\n"
            ".SH OPTIONS\n.TP\n\\fB\\-\\-x\\fR\n\\[u2026]\n"
            ".SH EXAMPLES\n\\fBkestu a\\-b \\(dq1\\(dq\\fR\n.RS 4\nOne.\n.RE\n"
            ".PP\n\\fBkestu a\\-b \\-\\-y\\~2\\fR\n.RS 4\nTwo.\n.RE\n"
            ".SH SEE ALSO\n.BR kestu (1),\n.BR kestu\\-a\\-b\\-c (1),\n.BR kestu\\-files (7)\n");
}

} // namespace
} // namespace kestu::tests
