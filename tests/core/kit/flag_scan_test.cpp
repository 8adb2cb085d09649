#include "core/kit/flag_scan.hpp"
#include "core/kit/source_blanker.hpp"
#include "tests/support/tables.hpp"
#include "tests/support/temporary_folder.hpp"

#include <gtest/gtest.h>

namespace kestu::tests {
namespace {

using Files = std::vector<std::pair<std::string, std::string>>;

/// "key file:line" for each read, with blanks between; without their files "key:line".
std::string shown(const std::vector<FlagRead>& reads, bool withFiles = true) {
  std::string text;
  for (const FlagRead& read : reads) {
    text += (text.empty() ? "" : " ") + read.key + (withFiles ? " " + read.file : "") + ":" + std::to_string(read.line);
  }
  return text;
}

std::string readsOf(const std::string& source) { return shown(FlagScan::reads(Files{{"a.swift", source}}), false); }

TEST(SourceBlanker, BlanksCommentsAndNothingElse) {
  for (const auto& [source, blanked] : Rows<const char*, const char*>{
           {"a // b\nc", "a     \nc"},
           {"a /* b\n c */ d", "a     \n      d"},
           {"/* a /* b */ c */", "             c */"},
           {"a /*/ b */ c", "a          c"},
           {"a /* b *", "a       "},
           {"a / b * / c", "a / b * / c"},
           {"/* \" */ a // \"", "        a     "},
           {R"("http://a" // b)", R"("http://a"     )"},
           {R"("a\" // b" // c)", R"("a\" // b"     )"},
           {R"("a\\" // b)", R"("a\\"     )"},
           {"\"a // b\nc // d", "\"a // b\nc     "},
           {"\"a\\\n// b", "\"a\\\n    "},
           {"\"\"\"\n  http://a\n  \"\"\" // b", "\"\"\"\n  http:   \n  \"\"\" // b"},
           {"\"", "\""},
           {"", ""},
       })
    EXPECT_EQ(SourceBlanker::withoutComments(source), blanked) << source;
}

TEST(FlagScan, ReadsKeysThatAreLiterals) {
  for (const auto& [source, reads] : Rows<const char*, const char*>{
           {R"(KestuFlags.isOn("a"); KestuFlags.string("b", or: "c"))", "a:1 b:1"},
           {R"(KestuFlags.number("a") KestuFlags.int("b") KestuFlags.value("c") KestuFlags.force("d"))",
            "a:1 b:1 c:1 d:1"},
           {"\r\nKestuFlags\r\n . \t isOn\n( \n\"a b\" )\r\nKestuFlags.isOn(\"c\")", "a b:2 c:6"},
           {"\xEF\xBB\xBFKestuFlags.isOn(\"gr\xC3\xBC\xC3\x9F\")", "gr\xC3\xBC\xC3\x9F:1"},
           {"KestuFlagsKestuFlags.isOn(\"a\")", "a:1"},
           {"log(\"// off\"); KestuFlags.isOn(\"a\")", "a:1"},
           {"KestuFlags.isOn(\"KestuFlags.isOn(\"a\")", "KestuFlags.isOn(:1"},
           {"KestuFlags.isOn(\"\") KestuFlags.isOn(\"a\nb\") KestuFlags.isOn(\"c\r\n\")", ""},
           {R"-(KestuFlags.isOn("a\(b)") KestuFlags.isOn("\u{61}") KestuFlags.isOn(key))-", ""},
           {R"(KestuFlags.isOnce("a") KestuFlags.integer("b") KestuFlags.is("c") KestuFlags.isOn["d"])", ""},
           {R"(KestuFlag.isOn("a") KestuFlags.shared.isOn("b") kestuFlags.isOn("c"))", ""},
           {R"(KestuFlags.isOn("""a"""))", ""},
       })
    EXPECT_EQ(readsOf(source), reads) << source;
}

TEST(FlagScan, ReadsEnumerationsOfFlags) {
  for (const auto& [source, reads] : Rows<const char*, const char*>{
           {"enum F: String, KestuFlag { case a\n case b = \"bee\" }", "a:1 bee:2"},
           {"enum F: KestuFlag, String { case a = \"x\", b\n, c=\"y\" ; case d }", "x:1 b:1 y:1 d:2"},
           {"enum F\n:\tString ,KestuFlag\r\n{\r\ncase a}", "a:4"},
           {"extension F: KestuFlag {}\npublic indirect enum F: String { case a }", "a:2"},
           {"enum F: String { case a }\nextension F: Hashable, KestuFlag, Sendable {}", "a:1"},
           {"enum F: Int, KestuFlag { case a = 1 }", ""},
           {"struct F: String, KestuFlag { case a }", ""},
           {"enum Gr\xC3\xB6\xC3\x9F"
            "e: String, KestuFlag { case h\xC3\xB6her, \xF0\x9D\x94\xB8 }",
            "h\xC3\xB6her:1 \xF0\x9D\x94\xB8:1"},
           {"enum F: String, KestuFlag { case `default`, `in` = \"inside\"; case`self` }", "default:1 inside:1 self:1"},
           {"enum F: String, KestuFlag { @available(iOS 17, *) case a /* , x */ = /* \"y\" */ \"b\" // , c\n, d }",
            "b:1 d:1"},
           {"enum F: String, KestuFlag { case a = #\"b\"#, c; case d = \"\\u{65}\", f = \"\", g }", "b:1 c:1 g:1"},
           {"enum F: String, KestuFlag { case a = \"{\"; case b = \"}\"; case c = \"//\" }", "{:1 }:1 //:1"},
           {"enum F: String, KestuFlag { case a\nvar on: Bool { switch self { case .a: true\ncase \"q\", let r: false\n"
            "case z: 1 } }\ncase b }",
            "a:1 b:5"},
           {"enum F: String, KestuFlag { case a; enum G: String { case b }; struct S { enum H { case c } }; case d }",
            "a:1 d:1"},
           {"enum G { enum F: String, KestuFlag { case a }\ncase b }\ncase c", "a:1"},
           {"enum F: String, KestuFlag { var s: String { \"\\(x ?? \"}\") {\" }\ncase a }", "a:2"},
           {"enum F: String, KestuFlag { var s = \"it's { \"\ncase a }\ncase b", "a:2"},
           {"enum F: String, KestuFlag { let lowercase = 1, case1 = 2, `case` = a\n#if DEBUG\ncase b\n#endif\n", "b:3"},
           {"enum F: String, KestuFlag { case a", "a:1"},
       })
    EXPECT_EQ(readsOf(source), reads) << source;
}

TEST(FlagScan, SortsReadsAndFindsConformancesOfOtherFiles) {
  EXPECT_EQ(shown(FlagScan::reads(Files{
                {"b/z.swift", "\n\nenum F: String { case b, a }\nKestuFlags.isOn(\"x\")"},
                {"b.swift", "KestuFlags.isOn(\"a\")"},
                {"a.swift", "extension F: KestuFlag {}\n\nKestuFlags.isOn(\"z\"); KestuFlags.isOn(\"y\")"},
            })),
            "z a.swift:3 y a.swift:3 a b.swift:1 b b/z.swift:3 a b/z.swift:3 x b/z.swift:4");
}

TEST(FlagScan, WalksAFolderAsItReadsTexts) {
  TemporaryFolder folder, elsewhere;
  const std::string read = "KestuFlags.isOn(\"a\")";
  for (const char* file : {"a.swift", ".hidden/b.swift", "App.xcodeproj/c.swift", "d.Swift", "e.swift.txt", ".swift",
                           "f.swift/g.swift", "deep/er/App.xcodeproj/h.swift", "xcodeproj/i.swift"}) {
    folder.write(file, read);
  }
  folder.write("bytes.swift", read + "\xFF");
  folder.write("nul.swift", read + std::string("\0", 1));
  elsewhere.write("j.swift", read);
  std::filesystem::create_directory_symlink(elsewhere.path(), folder.path() / "linked");
  std::filesystem::create_directory_symlink("..", folder.path() / "deep" / "loop");
  std::filesystem::create_symlink(elsewhere.path() / "j.swift", folder.path() / "k.swift");
  std::filesystem::create_symlink("nowhere", folder.path() / "l.swift");
  // Names that stand in the way of a search before comments are blanked.
  folder.write("flags/conform.swift", "extension F: KestuFlag {}\nextension /**/ G : /* { */ KestuFlag {}");
  folder.write("flags/declare.swift", std::string(300, ' ') + "enum/**/ F: String { case m }");
  folder.write("flags/declared.swift", "enum // {\n G: String { case n }");
  folder.write("flags/broken.swift", "enum F: String { case o } // \xC3");
  EXPECT_EQ(shown(FlagScan::reads(folder.path(), {})),
            "a .hidden/b.swift:1 a a.swift:1 a f.swift/g.swift:1 m flags/declare.swift:1 n flags/declared.swift:2 a "
            "k.swift:1 a nul.swift:1 a xcodeproj/i.swift:1");
  std::stop_source stopped;
  stopped.request_stop();
  EXPECT_THROW(FlagScan::reads(folder.path(), stopped.get_token()), std::exception);
}

/// What takes quadratic time on any of these would run for a minute or more.
TEST(FlagScan, TakesLinearTime) {
  auto reads = [](std::string_view piece, std::size_t times, const std::string& end = "") {
    return FlagScan::reads(Files{{"a.swift", repeated(piece, times) + end}});
  };
  EXPECT_EQ(reads("KestuFlags.isOn(\"a\"); ", 9000).size(), 9000U);
  EXPECT_EQ(reads("KestuFlags.isOn(\"a\")\n", 9000).back().line, 9000);
  for (const char* piece : {"enum F: String, KestuFlag ", "enum F: String, KestuFlag {", "extension enum F :", "\"\\(",
                            "/*/", "KestuFlags.isOn(", "enum", "enum F: String, KestuFlag { case a = \"", "{}}",
                            "enum F: String, KestuFlag {\ncase a, "}) {
    const std::size_t size = std::string_view(piece).size(), times = 200'000 / size;
    EXPECT_LE(reads(piece, times, "\nextension F: KestuFlag {}").size(), times * size / 8) << piece;
  }
}

TEST(FlagScan, ComparesWithWhatTheServiceHas) {
  std::vector<FlagRead> reads = {{"b", "a.swift", 1}, {"a", "a.swift", 2}, {"b", "b.swift", 1}, {"A", "b.swift", 2}};
  auto flags = FlagScan::compare(reads, {"z", "a", "c"});
  EXPECT_EQ(flags.keys, 3U);
  EXPECT_EQ(shown(flags.missing), "b a.swift:1 A b.swift:2");
  EXPECT_EQ(flags.unread, (std::vector<std::string>{"z", "c"}));
}

} // namespace
} // namespace kestu::tests
