#include "core/console/console.hpp"
#include "core/console/printable.hpp"
#include "core/console/progress.hpp"
#include "core/console/qr.hpp"
#include "core/support/text.hpp"
#include "tests/support/fake_clock.hpp"
#include "tests/support/fake_terminal.hpp"
#include "tests/support/tables.hpp"

#include <gtest/gtest.h>

namespace kestu::tests {

using namespace std::chrono_literals;
using Variables = std::map<std::string, std::string, std::less<>>;

/// A console at a terminal of 100 columns.
class AtATerminal : public testing::Test {
 protected:
  FakeTerminal terminal{100};
  FakeClock clock;
  Console console{terminal, Environment(), clock};
};

TEST(Console, DecidesByTerminalAndEnvironment) {
  for (const auto& [name, out, err, variables, spins, redraws, styles] :
       Rows<const char*, bool, bool, Variables, bool, bool, bool>{
           {"both", true, true, {}, true, true, true},
           {"out piped", false, true, {}, false, true, false},
           {"err piped", true, false, {}, false, false, true},
           {"dumb", true, true, {{"TERM", "dumb"}}, false, false, false},
           {"empty TERM", true, true, {{"TERM", ""}}, true, true, true},
           {"empty NO_COLOR", true, true, {{"NO_COLOR", ""}}, true, true, false},
           {"CI", true, true, {{"CI", "true"}}, true, true, false},
       }) {
    SCOPED_TRACE(name);
    FakeTerminal terminal;
    terminal.outIsTerminal = out;
    terminal.errIsTerminal = err;
    FakeClock clock;
    Console console(terminal, Environment(variables), clock);
    EXPECT_EQ(console.spins(), spins);
    EXPECT_EQ(console.redraws(), redraws);
    EXPECT_EQ(console.styles(), styles);
    EXPECT_EQ(console.style().red("x"), styles ? "\x1B[31mx\x1B[39m" : "x");
    EXPECT_EQ(console.style().red(""), "");
  }
}

TEST(Console, BreaksSentencesBetweenWordsAtATerminal) {
  for (const auto& [columns, text, expected] : Rows<int, std::string_view, std::string_view>{
           {0, "One two three four", "One two three four"},
           {12, "One two", "One two"},
           {12, "One two three four", "One two\nthree four"},
           {12, "✓ One two three\nfour five six", "✓ One two\n  three\nfour five\nsix"},
           {12, "  One two three four", "  One two\n  three four"},
           {12, "Next: kestu builds list --app Daylight", "Next: kestu builds list --app Daylight"},
           {16, "To go on now: kestu builds wait 45", "To go on now:\nkestu builds wait 45"},
           {12, "Uninterruptible", "Uninterruptible"},
           {12, "日本語 日本語 日本語", "日本語\n日本語\n日本語"},
       }) {
    SCOPED_TRACE(text);
    FakeTerminal terminal(columns);
    terminal.outIsTerminal = terminal.errIsTerminal = columns > 0;
    FakeClock clock;
    Console console(terminal, Environment(Variables{{"NO_COLOR", ""}}), clock);
    console.line(text);
    console.error(text);
    console.failure(text);
    EXPECT_EQ(terminal.outText(), std::string(expected) + "\n");
    EXPECT_EQ(terminal.errText(), std::string(expected) + "\n" + std::string(expected) + "\n");
  }
}

TEST(Console, FailuresAreRedWhereBothStreamsAreATerminal) {
  for (auto [out, err] : {std::pair(true, true), {true, false}, {false, true}}) {
    FakeTerminal terminal(12);
    terminal.outIsTerminal = out;
    terminal.errIsTerminal = err;
    FakeClock clock;
    Console console(terminal, Environment(), clock);
    console.failure("It failed here today:\n  a.png\n");
    EXPECT_EQ(terminal.errText(), out && err ? "\x1B[31mIt failed\x1B[39m\n\x1B[31mhere today:\x1B[39m\n  a.png\n\n"
                                  : err      ? "It failed\nhere today:\n  a.png\n\n"
                                             : "It failed here today:\n  a.png\n\n");
  }
}

TEST(Console, FindsItsWidth) {
  for (const auto& [out, window, variables, expected] : Rows<bool, std::optional<int>, Variables, int>{
           {true, 120, {{"COLUMNS", "60"}}, 120},
           {false, 120, {{"COLUMNS", "60"}}, 60},
           {true, std::nullopt, {{"COLUMNS", "60"}}, 60},
           {false, 120, {{"COLUMNS", "abc"}}, 80},
           {false, 120, {{"COLUMNS", "60x"}}, 80},
           {false, 120, {{"COLUMNS", ""}}, 80},
           {false, 120, {}, 80},
       }) {
    FakeTerminal terminal;
    terminal.outIsTerminal = out;
    terminal.windowColumns = window;
    FakeClock clock;
    EXPECT_EQ(Console(terminal, Environment(variables), clock).width(), expected);
  }
}

TEST(Console, TakesOnlyAYesForAYes) {
  for (const auto& [answer, expected] : Rows<std::optional<std::string>, bool>{
           {"Yes ", true}, {"\tY\r", true}, {"", false}, {"yess", false}, {"n", false}, {std::nullopt, false}}) {
    SCOPED_TRACE(answer.value_or("(end)"));
    FakeTerminal terminal;
    FakeClock clock;
    Console console(terminal, Environment(), clock);
    if (answer) terminal.type(*answer);
    EXPECT_EQ(console.ask("Go?", {}), expected);
    EXPECT_EQ(terminal.errText(), "Go? [y/N] ");
    EXPECT_EQ(terminal.outText(), "");
  }
}

TEST_F(AtATerminal, LeavesAStoppedQuestionsLine) {
  std::stop_source stopping;
  stopping.request_stop();
  EXPECT_THROW(console.ask("Go?", stopping.get_token()), Stopped);
  EXPECT_EQ(terminal.errText(), "Go? [y/N] \n");
}

TEST_F(AtATerminal, SpinsWhileBusyAndKeepsWritesApart) {
  {
    Console::Busy first(console);
    console.during([&] { ASSERT_TRUE(terminal.awaitText("\r[|]\r[/]\r[─]")); });
    EXPECT_EQ(terminal.allText().find("\x1B[2K"), std::string::npos); // one call is still in flight
    console.line("done");
    EXPECT_NE(terminal.allText().find("]\r\x1B[2Kdone\n"), std::string::npos);
    EXPECT_EQ(terminal.outText(), "done\n");
    ASSERT_TRUE(terminal.awaitText("done\n\r["));
    console.out("no line feed");
  }
  EXPECT_TRUE(terminal.allText().ends_with("]\r\x1B[2Kno line feed")) << terminal.allText();
}

TEST_F(AtATerminal, ErasesTheSpinnerAtTheEnd) {
  EXPECT_EQ(console.during([&] { return terminal.awaitText("\r[|]"); }), true);
  EXPECT_TRUE(terminal.errText().ends_with("]\r\x1B[2K"));
}

TEST(Console, RedrawsItsStatus) {
  FakeTerminal terminal(8);
  FakeClock clock;
  {
    Console console(terminal, Environment(), clock);
    console.status("Uploading");
    console.line("x");
    console.clearStatus();
    console.clearStatus();
    EXPECT_EQ(terminal.allText(), "\r\x1B[2KUpload…\r\x1B[2Kx\n\r\x1B[2KUpload…\r\x1B[2K");
    console.status("a");
    console.out("no line feed");
    console.line("");
  }
  EXPECT_TRUE(terminal.allText().ends_with("\r\x1B[2Ka\r\x1B[2Kno line feed\n\r\x1B[2Ka\r\x1B[2K"));
}

TEST_F(AtATerminal, ShowsProgressAtMostTenTimesASecond) {
  Progress progress(console, clock, "Uploading", 1ULL << 30, 64);
  clock.advance(1000ms);
  progress.advance(45ULL << 20, 3);
  clock.advance(99ms);
  progress.advance(1ULL << 20, 1);
  progress.finish();
  clock.advance(1000ms);
  progress.advance(1, 1);
  EXPECT_EQ(terminal.errText(), "\r\x1B[2KUploading  0 KB of 1.0 GB  0 of 64 parts"
                                "\r\x1B[2KUploading  45 MB of 1.0 GB  3 of 64 parts  45 MB/s\r\x1B[2K");
}

TEST(Progress, TellsTheTimeLeftOnceItMeansSomething) {
  for (auto [seconds, bytes, end] : {std::tuple(2, 20 << 20, "  10 MB/s"),
                                     {3, 4 << 20, "  1 MB/s"},
                                     {3, 6 << 20, "  2 MB/s  0:47 left"},
                                     {10, 1 << 20, "  102 KB/s  16:30 left"},
                                     {10, 1000, "  1 KB of 100 MB"}}) {
    FakeTerminal terminal(100);
    FakeClock clock;
    Console console(terminal, Environment(), clock);
    Progress progress(console, clock, "Sending", 100ULL << 20, 0);
    clock.advance(seconds * 1000ms);
    progress.advance(bytes, 0);
    EXPECT_TRUE(terminal.errText().ends_with(end)) << terminal.errText();
  }
}

TEST_F(AtATerminal, KeepsTheTimeLeftInANarrowWindow) {
  terminal.windowColumns = 50;
  Progress progress(console, clock, "Uploading", 1ULL << 30, 64);
  clock.advance(3000ms);
  progress.advance(135ULL << 20, 3);
  EXPECT_TRUE(terminal.errText().ends_with("\x1B[2KUploading  135 MB of 1.0 GB  45 MB/s  0:20 left"));
}

TEST(Progress, TellsAScriptEveryFiveSeconds) {
  FakeTerminal terminal;
  FakeClock clock;
  Console console(terminal, Environment(), clock);
  {
    Progress progress(console, clock, "Reading", 100ULL << 20, 0);
    for (int i = 0; i < 11; ++i) {
      clock.advance(1000ms);
      progress.advance(1ULL << 20, 1);
    }
  }
  EXPECT_EQ(terminal.errText(), "Reading  5 MB of 100 MB  1 MB/s  1:35 left\n"
                                "Reading  10 MB of 100 MB  1 MB/s  1:30 left\n");
}

TEST(TextStyle, RemovesItsSequencesOnly) {
  EXPECT_EQ(TextStyle::plain("\x1B[1ma\x1B[38;5;1mb\x1B[mc\x1B[2Kd\x1B"), "abc\x1B[2Kd\x1B");
  EXPECT_EQ(TextStyle::width("\x1B[1mé日\x1B[22m"), 2U);
}

TEST(TextStyle, Wraps) {
  for (const auto& [text, width, indent, expected] : Rows<std::string_view, int, int, std::string_view>{
           {"aa bb cc", 5, 0, "aa bb\ncc"},
           {"aa bb cc d", 5, 2, "aa bb\n  cc\n  d"},
           {"a  b \n\n c ", 9, 4, "a  b\n\n c"},
           {"see https://example.com/long now", 10, 2, "see\n  https://example.com/long\n  now"},
           {"\x1B[1maa\x1B[22m bb", 5, 0, "\x1B[1maa\x1B[22m bb"},
           {"日本 日本", 8, 0, "日本\n日本"},
           {"a b", 0, 0, "a\nb"},
           {"ab \x1B[22m", 2, 0, "ab\x1B[22m"},
       })
    EXPECT_EQ(TextStyle::wrap(text, width, indent), expected) << text;
}

TEST(TextStyle, CutsToOneLine) {
  for (const auto& [text, width, expected] : Rows<std::string_view, int, std::string_view>{
           {"abcd", 4, "abcd"},
           {"abcde", 4, "abc…"},
           {"日本語", 4, "日…"},
           {"a\nb", 4, "a b"},
           {"ab", 0, ""},
           {"\x1B[31mabcd\x1B[39mef\x1B[1mg\x1B[22m", 4, "\x1B[31mabc…\x1B[39m\x1B[1m\x1B[22m"},
           {"ab\x1B[1mcd\x1B[22m", 3, "ab\x1B[1m…\x1B[22m"},
       })
    EXPECT_EQ(TextStyle::line(text, width), expected) << text;
}

TEST(Printable, MakesControlsVisible) {
  EXPECT_EQ(printable("a\r\nb\tc\rd"), "a b c\\u{d}d");
  EXPECT_EQ(printableText("a\r\nb\tc\rd"), "a\nb c\\u{d}d");
  for (const auto& [text, shown] : Rows<std::string_view, std::string_view>{
           {"👩‍👩‍👧 \u200Fعربي é", "👩‍👩‍👧 \u200Fعربي é"},
           {"a\x1B[2J\x7F", "a\\u{1b}[2J\\u{7f}"},
           {"\u009B2J\u2028\u202E\u2069", "\\u{9b}2J\\u{2028}\\u{202e}\\u{2069}"},
           {"a\xC3(\xED\xA0\x80\xF4\x90", "a\uFFFD(\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"},
           {"\xC0\xAFx\xF0\x9F\x98", "\uFFFD\uFFFDx\uFFFD"},
           {"\uFFFD\U0010FFFF\uD7FF", "\uFFFD\U0010FFFF\uD7FF"},
       }) {
    EXPECT_EQ(printable(text), shown);
    EXPECT_EQ(printableText(text), shown);
  }
}

TEST(QR, DrawsModulesInHalfBlocks) {
  EXPECT_EQ(qr("", true), "");
  EXPECT_EQ(qr(std::string(2954, 'x'), false), "");
  EXPECT_EQ(qrColumns(std::string(2954, 'x')), 0);
  auto dark = Text::split(qr("HELLO", true), '\n');
  auto light = Text::split(qr("HELLO", false), '\n');
  ASSERT_EQ(qrColumns("HELLO"), 29); // 21 modules and the quiet zones
  ASSERT_EQ(dark.size(), 15U);
  ASSERT_EQ(light.size(), 15U);
  for (std::size_t i = 0; i < 15; ++i) {
    EXPECT_EQ(TextStyle::width(dark[i]), 29U);
    EXPECT_EQ(Text::characters(light[i]), 29U);
  }
  // The upper rows of two finders: 7 dark modules, then a frame of one.
  EXPECT_EQ(light[1], Text::joined(std::vector<std::string>(29, "█"), ""));
  EXPECT_TRUE(light[2].starts_with("████ ▄▄▄▄▄ █")) << light[2];
  EXPECT_TRUE(TextStyle::plain(dark[2]).starts_with("    █▀▀▀▀▀█ ")) << dark[2];
  EXPECT_TRUE(dark[2].starts_with("\x1B[38;5;16;48;5;231m") && dark[2].ends_with("\x1B[39;49m"));
}

} // namespace kestu::tests
