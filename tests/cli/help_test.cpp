#include "cli/command_tree.hpp"
#include "cli/help.hpp"
#include "cli/stored_pages.hpp"
#include "core/support/text.hpp"
#include "tests/support/command_test.hpp"

namespace kestu::tests {
namespace {

using Words = std::vector<std::string>;

TEST(StoredPages, AreThoseOfTheTree) {
  auto pages = allPages(rootCommand("*"));
  EXPECT_EQ(StoredPages::count, pages.size());
  for (const Page& page : pages) {
    SCOPED_TRACE(page.path);
    auto stored = StoredPages::find(page.path);
    ASSERT_TRUE(stored);
    for (int width : {20, 50, 80, 200}) EXPECT_EQ(laidOut(*stored, width), laidOut(page, width));
  }
}

class HelpTest : public CommandTest {};

TEST_F(HelpTest, ThatOfEachCommandIsTheSameWithoutTheProgram) {
  environment["COLUMNS"] = "61";
  for (const Page& page : allPages(rootCommand("*"))) {
    SCOPED_TRACE(page.path);
    Words words = Text::split(page.path + " --help", ' ');
    words.erase(words.begin());
    auto found = StoredPages::askedFor(words);
    ASSERT_TRUE(found);
    EXPECT_EQ(laidOut(*found, 61), run(words).out);
  }
}

TEST_F(HelpTest, OnlyACommandsWordsAndHelpAreAnsweredWithoutTheProgram) {
  struct Row {
    Words words;
    std::string path; // empty where the program is asked
  };
  for (const Row& row : std::vector<Row>{
           {{}, "kestu"},
           {{"-h"}, "kestu"},
           {{"help"}, "kestu"},
           {{"help", "assets", "push"}, "kestu assets push"},
           {{"assets", "push", "-h"}, "kestu assets push"},
           {{"assets"}, "kestu assets"}, // a group
           {{"reviews", "--help"}, "kestu reviews"},
           {{"reviews"}, ""},
           {{"assets", "push"}, ""},
           {{"config"}, ""},
           {{"asets", "--help"}, ""},
           {{"assets push", "--help"}, ""},
           {{"", "assets", "--help"}, ""},
           {{"assets", "push", "1.2", "--help"}, ""},
           {{"assets", "--help", "push"}, ""},
           {{"assets", "push", "--json", "--help"}, ""},
           {{"assets", "push", "--", "--help"}, ""},
           {{"assets", "help"}, ""},
           {{"help", "assets", "--help"}, ""},
           {{"help", "help"}, ""},
           {{"flags", "--help"}, ""}, // a retired word
           {{"prices", "ppp", "-h"}, ""},
       }) {
    SCOPED_TRACE(Text::joined(row.words, " "));
    auto found = StoredPages::askedFor(row.words);
    EXPECT_EQ(found ? found->path : "", row.path);
    if (found) EXPECT_EQ(run(row.words).out, laidOut(*found, 80));
  }
}

TEST(Page, FillsLinesByTheColumnsThatShow) {
  Page page{
      .path = "kestu x", .abstract = "Ein „Zitat“ – zählt, wie es erscheint, auf Zeilen.\n\nEnd.", .usage = "kestu x"};
  page.options = {{"-a, --äpp <ä>", "Four words of it."}, {"--much-longer-than-all-the-others", "Below it."}};
  EXPECT_EQ(laidOut(page, 42), "Ein „Zitat“ – zählt, wie es erscheint, auf\n"
                               "Zeilen.\n\nEnd.\n\nUsage: kestu x\n\nOptions\n"
                               "  -a, --äpp <ä>             Four words of\n"
                               "                            it.\n"
                               "  --much-longer-than-all-the-others\n"
                               "                            Below it.\n");
}

} // namespace
} // namespace kestu::tests
