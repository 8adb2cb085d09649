#include "core/console/format.hpp"
#include "core/console/table.hpp"
#include "core/support/json.hpp"
#include "core/support/moments.hpp"
#include "tests/support/tables.hpp"

#include <gtest/gtest.h>

#include <cstdlib>

namespace kestu::tests {

namespace {

// ICU reads the locale once, so it is set before any test. Of a POSIX locale itself it would group no digits.
const bool localeIsSet = setenv("LC_ALL", "C.UTF-8", 1) == 0;

struct ZoneIs {
  explicit ZoneIs(const char* name) {
    setenv("TZ", name, 1);
    tzset();
  }
  ~ZoneIs() {
    unsetenv("TZ");
    tzset();
  }
};

} // namespace

TEST(Format, AlignsTables) {
  EXPECT_EQ(Format::table(std::vector<std::vector<std::string>>{}), "");
  EXPECT_EQ(Format::table({{"a"}, {"long"}}), "a\nlong");
  EXPECT_EQ(Format::table(
                {{"é", "日", "x"}, {"\x1B[1;31mabc\x1B[39m"}, {"ab", "👩‍👩‍👧y", "z"}, {"", "\x1B[K", "w"}}),
            "é    日    x\n\x1B[1;31mabc\x1B[39m\nab   👩‍👩‍👧y   z\n     \x1B[K  w");
  EXPECT_EQ(Format::table(Table{{"NAME", "N"}, {{"a", "1"}}}), "NAME  N\na     1");
}

TEST(Format, ShowsNumbers) {
  ASSERT_TRUE(localeIsSet);
  for (const auto& [shown, expected] : Rows<std::string, std::string>{
           {Format::userLocale(), "en_US"},
           {Format::number(-1234567), "-1,234,567"},
           {Format::bytes(0), "0 KB"},
           {Format::bytes(1536), "2 KB"},
           {Format::bytes(1048576), "1 MB"},
           {Format::bytes(1073741823), "1,024 MB"},
           {Format::bytes(1073741824), "1.0 GB"},
           {Format::percent(12.34), "12.3%"},
           {Format::percent(99.96), "100%"},
           {Format::percent(-0.01), "0%"},
       })
    EXPECT_EQ(shown, expected);
}

TEST(Format, WordsDurations) {
  struct {
    std::string shown, expected;
  } rows[] = {
      {Format::minutes(0), "0 minutes"},    {Format::minutes(1), "1 minute"},
      {Format::minutes(59), "59 minutes"},  {Format::minutes(60), "1 hour"},
      {Format::minutes(125), "2 h 5 min"},  {Format::minutes(2879), "47 h 59 min"},
      {Format::minutes(2880), "2 days"},    {Format::minutes(2999), "2 days 1 h"},
      {Format::seconds(1), "1 second"},     {Format::seconds(60), "1 minute"},
      {Format::seconds(119), "1 min 59 s"}, {Format::seconds(3599), "59 min 59 s"},
      {Format::seconds(3661), "1 h 1 min"},
  };
  for (const auto& row : rows) EXPECT_EQ(row.shown, row.expected);
}

TEST(Format, WordsMoments) {
  ZoneIs berlin("CET-1CEST,M3.5.0,M10.5.0/3");
  for (const auto& [date, now, moment, ago] :
       Rows<std::string_view, std::string_view, std::string_view, std::string_view>{
           {"2026-11-21T22:59:00Z", "2026-11-20T23:00:00Z", "23:59", "just now"},
           {"2026-11-21T23:00:00Z", "2026-11-21T12:00:00Z", "tomorrow, 0:00", "just now"},
           {"2026-11-19T23:30:00Z", "2026-11-21T12:00:00Z", "yesterday, 0:30", "1 day ago"},
           {"2026-11-19T22:59:59Z", "2026-11-21T12:00:00Z", "19 Nov, 23:59", "1 day ago"},
           {"2026-10-25T01:30:00Z", "2026-10-24T12:00:00Z", "tomorrow, 2:30", "just now"},
           {"2027-11-24T13:05:00Z", "2026-11-21T12:00:00Z", "24 Nov 2027, 14:05", "just now"},
           {"2026-01-02T12:00:00Z", "2026-11-21T12:00:00Z", "2 Jan, 13:00", "2 Jan"},
           {"2025-12-24T12:00:00Z", "2026-11-21T12:00:00Z", "24 Dec 2025, 13:00", "24 Dec 2025"},
           {"2026-11-21T11:01:00Z", "2026-11-21T12:00:00Z", "12:01", "59 minutes ago"},
           {"2026-11-21T10:59:00Z", "2026-11-21T12:00:00Z", "11:59", "1 hour ago"},
           {"1969-12-31T23:59:59.500Z", "1970-01-01T12:00:00Z", "0:59", "12 hours ago"},
       }) {
    SCOPED_TRACE(date);
    EXPECT_EQ(Format::moment(*Moments::parse(date), *Moments::parse(now)), moment);
    EXPECT_EQ(Format::ago(*Moments::parse(date), *Moments::parse(now)), ago);
  }
  EXPECT_EQ(Format::day("2028-02-29"), "29 Feb 2028");
  for (std::string_view other : {"2026-02-29", "2026-1-02", "2026-11-211", "today", ""})
    EXPECT_EQ(Format::day(other), other);
}

TEST(Format, QuotesForShells) {
  for (const auto& [text, expected] : Rows<std::string_view, std::string_view>{
           {"", "''"},
           {"a-b_1./x:y@z", "a-b_1./x:y@z"},
           {"two words", "'two words'"},
           {"it's", "'it'\\''s'"},
           {"~", "'~'"},
           {"=ls", "'=ls'"},
           {"$(x)`", "'$(x)`'"},
       })
    EXPECT_EQ(Format::shellWord(text), expected);
}

TEST(Format, LeavesKeysOut) {
  EXPECT_EQ(Format::json(R"({"b":{"plan":1},"plan":2,"a":"x/y"})", {"plan", "none"}),
            "{\n  \"a\": \"x/y\",\n  \"b\": {\n    \"plan\": 1\n  }\n}\n");
  EXPECT_THROW(Format::json("{"), JSONError);
}

} // namespace kestu::tests
