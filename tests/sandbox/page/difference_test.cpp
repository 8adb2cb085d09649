#include "sandbox/page/difference.hpp"

#include <gtest/gtest.h>

#include <string>

namespace kestu::sandbox::Page {

TEST(WordDifference, MarksWhatGoesAndWhatComes) {
  const struct {
    std::string before, after, html;
  } rows[] = {
      {"", "", ""},
      {"", "a <b>", "<ins>a &lt;b&gt;</ins>"},
      {"gone", "", "<del>gone</del>"},
      {"The sky, hour by hour", "The sky, day by day",
       "The sky, <del>hour </del><ins>day </ins>by <del>hour</del><ins>day</ins>"},
      {"one two three", "zero one three", "<ins>zero </ins>one <del>two </del>three"},
      {"all of it", "nothing kept", "<del>all of it</del><ins>nothing kept</ins>"},
      {"a\n\nb", "a\nb", "<del>a\n\n</del><ins>a\n</ins>b"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.before + " -> " + row.after);
    EXPECT_EQ(wordDifference(row.before, row.after), row.html);
  }
}

} // namespace kestu::sandbox::Page
