#include "sandbox/page/difference.hpp"
#include "tests/support/tables.hpp"

#include <gtest/gtest.h>

namespace kestu::sandbox::Page {

TEST(WordDifference, MarksWhatGoesAndWhatComes) {
  for (const auto& [before, after, html] : tests::Rows<std::string, std::string, std::string>{
           {"", "", ""},
           {"", "a <b>", "<ins>a &lt;b&gt;</ins>"},
           {"gone", "", "<del>gone</del>"},
           {"The sky, hour by hour", "The sky, day by day",
            "The sky, <del>hour </del><ins>day </ins>by <del>hour</del><ins>day</ins>"},
           {"one two three", "zero one three", "<ins>zero </ins>one <del>two </del>three"},
           {"all of it", "nothing kept", "<del>all of it</del><ins>nothing kept</ins>"},
           {"a\n\nb", "a\nb", "<del>a\n\n</del><ins>a\n</ins>b"},
       })
    EXPECT_EQ(wordDifference(before, after), html) << before + " -> " + after;
}

} // namespace kestu::sandbox::Page
