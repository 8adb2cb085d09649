#include "core/listing/listing_change.hpp"
#include "core/listing/word_difference.hpp"
#include "tests/support/tables.hpp"

#include <gtest/gtest.h>

namespace kestu::tests {

TEST(WordDifference, IsOfWholeWordsAndOfSingleWideCharacters) {
  for (const auto& [before, after, text] : Rows<std::string, std::string, std::string>{
           {"one two three", "one 2 three", "one [-two-]{+2+} three"},
           {"one two", "one two three", "one two{+ three+}"},
           {"a b c", "c a b", "{+c +}a b[- c-]"},
           {"", "new", "{+new+}"},
           {"Now with the northern lights 🌌", "Now with meteors ☄️",
            "Now with [-the northern lights-]{+meteors+} [-🌌-]{+☄️+}"},
           {"old", "", "[-old-]"},
           {"don't stop", "dont stop", "[-don't-]{+dont+} stop"},
           {"今日は晴れ", "今日は雨", "今日は[-晴れ-]{+雨+}"},
           {"caf\u00E9s", "cafe\u0301s", "[-caf\u00E9s-]{+cafe\u0301s+}"},
           {"a\nb", "a\nc", "a\n    [-b-]{+c+}"},
           {"\x1b[2J a", "\x1b[2J b", "\\u{1b}[2J [-a-]{+b+}"},
       })
    EXPECT_EQ(wordDifferencesText({{"ja", "keywords", before, after}}, {}, TextStyles(false)),
              "  ja  keywords\n    " + text)
        << before.substr(0, 20);
}

TEST(WordDifference, LeavesOutWhatStaysFarFromAChangeAndHidesWhatIsPersonal) {
  std::string words;
  for (int i = 0; i < 60; ++i) words += "word" + std::to_string(i) + " ";
  std::string text = wordDifferencesText(
      {{"en-US", "description", words + "a", words + "b"}, {"App Review", "contact's phone", "1", "2", true}}, 60,
      TextStyles(true));
  EXPECT_EQ(text.find("word0 "), std::string::npos) << text;
  EXPECT_NE(text.find("word59 \x1b[31ma\x1b[39m \x1b[32mb\x1b[39m"), std::string::npos) << text;
  EXPECT_TRUE(text.ends_with("contact's phone\n    changes, not shown")) << text;
}

} // namespace kestu::tests
