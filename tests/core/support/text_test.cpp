#include "core/support/text.hpp"
#include "tests/support/tables.hpp"

#include <gtest/gtest.h>

namespace kestu::tests {

TEST(Text, MeasuresCharactersAndColumns) {
  for (const auto& [text, characters, columns] : Rows<std::string_view, std::size_t, std::size_t>{
           {"", 0, 0},
           {"a\r\nb\n\n", 5, 2},
           {"e\u0301t\u00e9", 3, 3},
           {"日本", 2, 4},
           {"👩‍👩‍👧🇩🇪", 2, 4},
           {"❤\uFE0F!", 2, 3},
           {"\uD55C\u1100\u1161", 2, 4},
           {"a\xFF\xC3", 3, 3},
           {"\xF0\x9F\x98", 1, 1},
       }) {
    SCOPED_TRACE(text);
    EXPECT_EQ(Text::characters(text), characters);
    EXPECT_EQ(Text::columns(text), columns);
  }
}

TEST(Text, FitsWholeCharacters) {
  EXPECT_EQ(Text::fitting("a日本", 4), "a日");
  EXPECT_EQ(Text::fitting("e\u0301x", 1), "e\u0301");
  EXPECT_EQ(Text::fitting("ab", 2), "ab");
}

TEST(Text, FoldsLowersAndTrims) {
  EXPECT_EQ(Text::folded("ÀÉ Straße"), "ae strasse");
  EXPECT_EQ(Text::folded("CAFE\u0301"), Text::folded("Café"));
  EXPECT_NE(Text::folded("कि"), Text::folded("का")); // vowel signs are letters, not accents
  EXPECT_EQ(Text::lowercased("ÄΣ İ"), "äς i\u0307");
  EXPECT_EQ(Text::trimmed("\u3000\t a\u00a0b \r\n\u2028"), "a\u00a0b");
  EXPECT_EQ(Text::trimmed(" \u2003"), "");
}

TEST(Text, OrdersNaturally) {
  // In order; each pair is compared both ways, so that every transitivity between the rows is checked too.
  std::vector<std::string> sorted = {
      "",   "_x", "01.png", "1.png",  "2.png",  "10.png",           "a",   "A", "a 2", "a2", "A02", "a10", "äb",
      "Äb", "b",  "shot9",  "shot9a", "Shot10", "shot\u0661\u0661", "日本"};
  for (std::size_t i = 0; i < sorted.size(); ++i) {
    for (std::size_t j = 0; j < sorted.size(); ++j) {
      SCOPED_TRACE(sorted[i] + " < " + sorted[j]);
      EXPECT_EQ(Text::naturalLess(sorted[i], sorted[j]), i < j);
    }
  }
  EXPECT_NE(Text::naturalLess("\xFF", "\xFE"), Text::naturalLess("\xFE", "\xFF"));
}

TEST(Text, SplitsAndJoins) {
  using List = std::vector<std::string>;
  EXPECT_EQ(Text::words(" a\u00a0b\t\nc "), (List{"a", "b", "c"}));
  EXPECT_EQ(Text::split(",a,,", ','), (List{"", "a", "", ""}));
  EXPECT_EQ(Text::split("", ','), List{""});
  EXPECT_EQ(Text::joined({"", "b", ""}, "--"), "--b--");
  EXPECT_EQ(Text::orList({"a", "b"}), "a or b");
  EXPECT_EQ(Text::orList({"a", "b", "c"}), "a, b or c");
}

} // namespace kestu::tests
