#include "core/support/files.hpp"
#include "tests/support/command_test.hpp"
#include "tests/support/endings.hpp"
#include "tests/support/process_variables.hpp"

#include <nlohmann/json.hpp>

#include <sys/stat.h>

namespace kestu::tests {
namespace {

using nlohmann::json;

class PreviewTest : public CommandTest {
 protected:
  PreviewTest() : CommandTest({.approve = sandbox::Approve::all}) {
    link();
    environment["XDG_CACHE_HOME"] = (repo.path() / "cache").string();
    repo.write("metadata/listing/en-US.json", R"({"name": "Daylight", "subtitle": "TODO"})");
    repo.write("metadata/listing/he.json", R"({"name": "אור יום"})");
    repo.write("metadata/screenshots/en-US/iPhone 6.9/01.png", png(1290, 2796));
  }

  const std::filesystem::path usual =
      repo.path() / "cache/kestu/previews/com.example.daylight/kestu-preview-1.2-ios.html";
  static std::string textOf(const std::filesystem::path& path) { return Files::read(path, 50'000'000).value_or(""); }
  Ran preview(const std::string& options = "") { return run("release preview 1.2 " + options); }
};

TEST_F(PreviewTest, WithTheServiceWhatDiffersIsMarked) {
  signIn();
  Ran ran = preview();
  EXPECT_EQ(ran.status, 0);
  EXPECT_EQ(ran.err, "");
  EXPECT_TRUE(begins(
      ran.out, "✓ Daylight Weather 1.2 for iOS: 4 languages, 1 screenshot, 4 differences from App Store Connect, "));
  EXPECT_TRUE(ends(ran.out, "Next: kestu release prepare 1.2\n"));
  std::string html = textOf(usual);
  for (const char* part : {"</del> <ins>", "<article lang=\"he\" dir=\"rtl\">", "reads as placeholder text",
                           "data:image/png;base64,", "デイライト天気", "new language"}) {
    EXPECT_TRUE(has(html, part)) << part;
  }
  struct stat facts {};
  ASSERT_EQ(stat(usual.c_str(), &facts), 0);
  EXPECT_EQ(facts.st_mode & 0777U, 0600U);

  ASSERT_EQ(run("assets push 1.2 --yes").status, 0);
  ASSERT_EQ(run("metadata push 1.2 --yes").status, 0);
  auto answer = json::parse(preview("--json").out);
  EXPECT_EQ(answer["differences"], 0);
  EXPECT_EQ(answer["path"], usual.string());
  EXPECT_EQ(answer["languages"][0]["displays"][0]["assets"][0]["standing"], "same");
  EXPECT_EQ(answer["bytes"], textOf(usual).size());
}

TEST_F(PreviewTest, WithoutItThereIsTheRepositorysPart) {
  for (const std::string why : {"Not signed in", "Couldn't reach kestu"}) {
    SCOPED_TRACE(why);
    if (why != "Not signed in") {
      environment["KESTU_API_URL"] = "http://127.0.0.1:9";
      environment["KESTU_TOKEN"] = "kst_token";
    }
    Ran ran = preview();
    EXPECT_TRUE(ended(ran, 0, begins, "✓ Daylight 1.2 for iOS: 2 languages, 1 screenshot, 1 warning.\n"));
    EXPECT_TRUE(begins(ran.err, "Only what the repo has, compared with nothing: " + why));
    std::string html = textOf(usual);
    EXPECT_TRUE(has(html, why.substr(0, 6)));
    EXPECT_TRUE(has(html, "data:image/png;base64,"));
    EXPECT_FALSE(has(html, "id=\"marks\""));
  }
  EXPECT_EQ(preview("--app Daylight --json").status, 0); // who can't be asked about it
}

TEST_F(PreviewTest, OnlyAPageOfItsOwnIsWrittenOver) {
  signIn();
  repo.write("mine.html", "<!doctype html><p>Mine");
  repo.write("folder/.keep", "");
  std::filesystem::create_symlink(repo.path() / "mine.html", repo.path() / "link.html");
  const std::string folder = repo.path().string() + "/";
  const std::string taken =
      " is there already and isn't a preview that kestu wrote, so nothing was written: name another file with --out.\n";
  for (const auto& [options, status, path, err] : std::vector<std::tuple<std::string, int, std::string, std::string>>{
           {"--out page.html", 0, "page.html", ""},
           {"--out page.html", 0, "page.html", ""}, // again
           {"--out folder", 0, "folder/kestu-preview-1.2-ios.html", ""},
           {"--out mine.html", 1, "", folder + "mine.html" + taken},
           {"--out link.html", 1, "", folder + "mine.html" + taken},
           {"--out none/page.html", 1, "", folder + "none/page.html can't be written (No such file or directory).\n"},
           {"--locale fr-FR", 7, "", "Neither the repo nor App Store Connect has fr-FR, so nothing was written.\n"},
           {"--app Nope", 7, "", "None of your apps this sign-in covers is Nope\n"},
       }) {
    SCOPED_TRACE(options);
    Ran ran = preview(options);
    EXPECT_EQ(ran.status, status);
    EXPECT_EQ(ran.err, err);
    if (!path.empty()) EXPECT_TRUE(has(ran.out, "  " + folder + path + " ("));
  }
  EXPECT_EQ(textOf(repo.path() / "mine.html"), "<!doctype html><p>Mine");
  stopping.request_stop();
  EXPECT_THROW(preview("--out stopped.html"), Stopped);
  EXPECT_FALSE(std::filesystem::exists(repo.path() / "stopped.html"));
}

TEST_F(PreviewTest, OnStandardOutputThereIsThePageAlone) {
  signIn();
  repo.write("metadata/listing/xx-YY.json", R"({"name": "Nowhere"})");
  Ran ran = preview("--out -");
  EXPECT_TRUE(ran.status == 0 && ran.out.starts_with("<!doctype html>") && ran.out.ends_with("</html>\n")) << ran.out;
  EXPECT_EQ(ran.err,
            "xx-YY isn't one of Apple's languages, so Apple may not take it: it's shown since a push sends it.\n");
  EXPECT_FALSE(std::filesystem::exists(repo.path() / "-"));
  for (const std::string more : {"--open", "--json"}) EXPECT_EQ(preview("--out - " + more).status, 2) << more;
}

TEST_F(PreviewTest, OpenTakesTheSystemsOpener) {
#ifdef __APPLE__
  const std::string opener = "open";
#else
  const std::string opener = "xdg-open";
#endif
  auto program = repo.write("bin/" + opener, "#!/bin/sh\nprintf %s \"$1\" > \"${0%/*}/opened\"\nexit ${STATUS:-0}\n");
  std::filesystem::permissions(program, std::filesystem::perms::owner_all);
  ProcessVariables variables;
  variables.setTools(repo.path() / "bin");
  preview("--out 'a b;$(c).html'");
  EXPECT_FALSE(std::filesystem::exists(repo.path() / "bin/opened"));
  EXPECT_EQ(preview("--open --out 'a b;$(c).html'").status, 0);
  EXPECT_EQ(textOf(repo.path() / "bin/opened"), (repo.path() / "a b;$(c).html").string());
  variables.set("STATUS", "3");
  EXPECT_TRUE(ended(preview("--open"), 1, ends,
                    "It's written, and can't be opened from here (" + opener + " ended with 3).\n"));
}

} // namespace
} // namespace kestu::tests
