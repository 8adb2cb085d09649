#include "core/kit/markdown.hpp"
#include "core/support/text.hpp"
#include "tests/support/endings.hpp"
#include "tests/support/kit_test.hpp"

namespace kestu::tests {
namespace {

/// The demo app has a draft of 1.2 and a published page of 1.1, each for every platform.
class WhatsNewTest : public KitTest {
 protected:
  Ran pages(const std::string& line) { return run("kit whats-new " + line); }
  std::string stateOf(const std::string& version, const std::string& platform = "") {
    std::string found = "gone";
    server.withState([&](sandbox::State& state) {
      for (const auto& page : state.kit.pages[1234567890]) {
        if (page.version == version && page.platform == platform) found = page.state;
      }
    });
    return found;
  }
};

TEST(Markdown, TakesTheTitleOutAndFindsImages) {
  for (const auto& [text, title, body, images] :
       std::vector<std::tuple<const char*, const char*, const char*, const char*>>{
           {"# What's new ##\n\nText\n", "What's new", "Text\n", ""},
           {"Before\n\nTitle\n=====\r\nAfter", "Title", "Before\n\nAfter\n", ""},
           {"```\n# code ![](no.png)\n```\n### C#\n![a](b.png \"t\") `![](no.png)`", "C#",
            "```\n# code ![](no.png)\n```\n![a](b.png \"t\") `![](no.png)`\n", "b.png"},
           {"#tag\n# T\n![[x]](<a b.png>)![r][L] ![l] ![gone]\n\n[l]: c(1).png\n<IMG alt=x\nSRC='d.jpg'>", "T",
            "#tag\n![[x]](<a b.png>)![r][L] ![l] ![gone]\n\n[l]: c(1).png\n<IMG alt=x\nSRC='d.jpg'>\n",
            "a b.png|c(1).png|d.jpg"},
           {"# T\n<picture><source srcset='https://x.test/1.png 1x, b.png'></picture><img alt=\"a>b\" "
            "src=//h/2.png>\n` ![](3.png)\n\n` \\` ![](<4.png>) ` ![a][L  x]\n\n> [l x]:\n  5.png\n",
            "T",
            "<picture><source srcset='https://x.test/1.png 1x, b.png'></picture><img alt=\"a>b\" src=//h/2.png>\n"
            "` ![](3.png)\n\n` \\` ![](<4.png>) ` ![a][L  x]\n\n> [l x]:\n  5.png\n",
            "3.png|4.png|5.png|https://x.test/1.png|b.png|//h/2.png"},
           {"# T\n![](a(1).png) \\![](no.png) ![](\\(x.png)", "T", "![](a(1).png) \\![](no.png) ![](\\(x.png)\n",
            "a(1).png|(x.png"},
       }) {
    SCOPED_TRACE(text);
    auto titled = Markdown::titled(text);
    ASSERT_TRUE(titled);
    EXPECT_EQ(titled->title, title);
    EXPECT_EQ(titled->body, body);
    EXPECT_EQ(Text::joined(Markdown::images(titled->body), "|"), images);
  }
  for (const char* text : {"", "Text", "#\n# Later", "    # code", "- a\n---", "#######", "~~~\n# a"}) {
    EXPECT_FALSE(Markdown::titled(text)) << text;
  }
}

TEST_F(WhatsNewTest, TellsAllThatIsWrongBeforeAnyCall) {
  repo.write("outside.png", png(10, 10));
  repo.write("page/en-US.md", "# New\n![](a.png) ![](https://x.test/b.png) ![](../outside.png) ![](link.png)\n"
                              "![](text.png) ![](a.png) ![](/etc/passwd) ![]()");
  repo.write("page/text.png", "no image");
  repo.write("page/de-DE.md", "kein Titel");
  repo.write("page/README.md", "# Read\x1b me");
  repo.write("page/fr-FR.md", "# \xff");
  repo.write("page/.hidden.md", "");
  repo.write("page/en-US.MD", "# Again");
  std::filesystem::create_symlink(repo.path() / "outside.png", repo.path() / "page/link.png");
  auto ran = pages("upload page/ --version 1.3 --yes");
  EXPECT_EQ(ran.status, 1);
  for (const char* line : {
           "page/README.md: README can't be a language",
           "page/de-DE.md: has no heading",
           "page/en-US.md: is en-US again, which en-US.MD is too.\n",
           "page/en-US.md: the image a.png isn't there.\n",
           "page/en-US.md: the image https://x.test/b.png is an address.",
           "page/en-US.md: the image ../outside.png leaves the folder.\n",
           "page/en-US.md: the image link.png leaves the folder.\n",
           "page/en-US.md: the image text.png is no PNG or JPEG.\n",
           "page/en-US.md: the image /etc/passwd leaves the folder.\n",
           "page/en-US.md: has an image without a name.\n",
           "page/fr-FR.md: isn't UTF-8 text.\n",
       }) {
    EXPECT_TRUE(has(ran.err, line)) << line << "\n" << ran.err;
  }
  EXPECT_EQ(std::count(ran.err.begin(), ran.err.end(), '\n'), 12) << ran.err;
  EXPECT_EQ(pages("upload none --version 1.3").err, "There is no folder none.\n");
  std::filesystem::create_directory(repo.path() / "empty");
  EXPECT_EQ(pages("upload empty --version 1.3").status, 1);
  EXPECT_EQ(pages("upload page").status, 2);
  for (const std::string version : {"..", "1.x", "1\n2", "1/2"}) {
    EXPECT_EQ(pages("upload page --version '" + version + "'").status, 2) << version;
  }
  EXPECT_EQ(paths(), std::vector<std::string>{});
}

TEST_F(WhatsNewTest, SendsTextsAndImages) {
  repo.write("page/en-US.md", "# New\n![](img/a%20b.png) ![](./c.png)");
  repo.write("page/de-DE.md", "Neu\n===\n![](c.png)");
  repo.write("page/img/a b.png", png(10, 10));
  repo.write("page/c.png", png(20, 10));
  auto dry = pages("upload page --version 1.3 --platform ios --dry-run");
  ASSERT_EQ(dry.status, 0) << dry.err;
  EXPECT_EQ(dry.out, "  de-DE  Neu  1 image\n  en-US  New  2 images\nDry run: would upload the What's New page of 1.3 "
                     "for iOS of Daylight Weather (com.example.daylight), 2 languages, 2 images (" +
                         dry.out.substr(dry.out.find("images (") + 8));
  EXPECT_EQ(calls("PUT"), 0U);
  EXPECT_EQ(stateOf("1.3", "ios"), "gone");
  auto ran = pages("upload page --version 1.3 --platform ios --yes");
  EXPECT_TRUE(ended(ran, 0, ends, "\nNext: kestu kit whats-new publish 1.3 --platform ios\n"));
  EXPECT_EQ(calls("PUT"), 2U) << "each image once";
  EXPECT_TRUE(ends(paths().back(), "/kit/whats-new/1.3/commit"));
  auto sent = lastBody("/kit/whats-new/1.3");
  EXPECT_EQ(sent["languages"]["en-US"],
            (nlohmann::json{{"title", "New"}, {"body", "![](img/a%20b.png) ![](./c.png)\n"}}));
  EXPECT_EQ(sent["images"].size(), 3U);
  EXPECT_EQ(sent["images"][1]["name"], "c.png");
  EXPECT_EQ(stateOf("1.3", "ios"), "draft");
  repo.write("page/c.png", png(30, 10));
  ran = pages("upload page --version 1.3 --platform ios --yes --json");
  EXPECT_EQ(nlohmann::json::parse(ran.out)["uploads"].size(), 1U);
  EXPECT_FALSE(has(ran.out, "signature"));
  server.withState([](sandbox::State& state) { state.nextPlan = sandbox::Script{1}; });
  EXPECT_EQ(pages("publish 1.3 --platform ios --yes").status, 0);
  EXPECT_EQ(stateOf("1.3", "ios"), "published");
  ran = pages("upload page --version 1.3 --platform ios");
  EXPECT_TRUE(begins(ran.err, "Replace "));
  EXPECT_TRUE(has(ran.err, "--yes to send it for approval")) << "a published page waits";
}

TEST_F(WhatsNewTest, PagesArePublishedTakenBackAndDeleted) {
  for (const auto& [row, after] : std::vector<std::pair<Row, std::string>>{
           {{"publish 1.2 --platform ios --yes", 7,
             "There's no What's New page of 1.2 for iOS. There's one with no --platform, as it's every platform's.\n"},
            "draft"},
           {{"publish 1.2", 6, "--yes to send it for approval in the kestu app.\n"}, "draft"},
           {{"publish 1.2 --yes", 0, "✓ Published the What's New page of 1.2 for every platform.\n"}, "published"},
           {{"publish 1.2 --yes", 0, "✓ It's published already: nothing sent.\n"}, "published"},
           {{"unpublish 1.2 --yes", 0, "it's a draft again.\n"}, "draft"},
           {{"delete 1.2", 6, "--yes to make it.\n"}, "draft"},
           {{"delete 1.2 --yes", 0, "✓ Deleted the What's New page of 1.2 for every platform.\n"}, "gone"},
       }) {
    expectKit("whats-new", {row});
    EXPECT_EQ(stateOf("1.2"), after) << row.line;
  }
  EXPECT_EQ(pages("list").out, "Version  Platform  State      Languages\n1.1      every     published  de-DE, en-US\n");
}

} // namespace
} // namespace kestu::tests
