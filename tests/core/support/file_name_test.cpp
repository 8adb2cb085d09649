#include "core/support/file_name.hpp"
#include "tests/support/tables.hpp"

#include <gtest/gtest.h>

namespace kestu::tests {

TEST(FileName, KnowsWhatAMacTakesForOne) {
  for (const auto& [a, b, sameKey, alike] : Rows<const char*, const char*, bool, bool>{
           {"01.png", "01.png", true, true},
           {"01.png", "01.PNG", false, true},
           {"caf\u00E9", "cafe\u0301", true, true},
           {"CAF\u00C9", "cafe\u0301", false, true},
           {"cafe", "caf\u00E9", false, false},
           {"stra\u00DFe", "STRASSE", false, true},
           {"\u1E9B\u0323", "\u017F\u0323\u0307", true, true},
           {"\uD55C", "\u1112\u1161\u11AB", true, true},
           {"\u2460", "1", false, false},
           {"a\xFF", "a\xFE", false, false},
           {"a\xFF", "a\uFFFD", false, false},
       }) {
    SCOPED_TRACE(a);
    FileName::Less less;
    EXPECT_EQ(!less(a, b) && !less(b, a), sameKey);
    EXPECT_EQ(FileName::alike(a, b), alike);
  }
  EXPECT_EQ(FileName::composed("o\u0308.md"), "\u00F6.md");
}

} // namespace kestu::tests
