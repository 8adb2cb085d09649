#include "core/changes/plan.hpp"
#include "core/support/json_data.hpp"
#include "tests/support/tables.hpp"

#include <gtest/gtest.h>

namespace kestu::tests {

TEST(StoreJob, SaysHowFarItIs) {
  for (const auto& [state, done, total, more, line] : Rows<const char*, int, int, const char*, const char*>{
           {"running", 0, 175, "", "0 of 175 countries, 175 left"},
           {"running", 0, 1, "", "0 of 1 country, 1 left"},
           {"done", 175, 175, "", "done, all 175 countries"},
           {"done", 1, 1, "", "done, all 1 country"},
           {"failed", 12, 175, R"(,"error":"No.\u001b[2J")", "stopped at 12 of 175 countries: No.\\u{1b}[2J"},
           {"failed", 0, 2, "", "stopped at 0 of 2 countries"},
           {"undoing", 12, 175, R"(,"undoUntil":"2026-12-01T10:00:00Z")", "being undone, 12 left"},
           {"undone", 0, 175, R"(,"details":{"countries":["se","no"],"price":4.90,"currency":7})",
            "undone in all 175 countries"},
           {"odd\n", 1, 2, "", "odd , 1 of 2 countries"},
       }) {
    SCOPED_TRACE(line);
    auto job = StoreJob::read(JSONValue::parse(R"({"state":)" + JSONData(state).compact() + R"(,"done":)" +
                                               std::to_string(done) + R"(,"total":)" + std::to_string(total) +
                                               R"(,"canUndo":true,"kind":"price")" + more + "}"));
    EXPECT_EQ(Format::job(job), line);
    if (job.details) {
      EXPECT_EQ(job.details->countries, 2);
      EXPECT_EQ(job.details->price->text(), "4.9");
      EXPECT_FALSE(job.details->currency) << "a detail of another type is left out, not the answer lost";
    }
  }
}

TEST(StoreJob, ComesWithTheChangeThatStartedIt) {
  auto read = [](const std::string& text) { return ChangeAnswer::read(JSONValue::parse(text)); };
  auto answer = read(R"({"waits":true,"details":{"product":"pro"},"job":"0F8FAD5B-D9CB-469F-A165-70867728950E"})");
  EXPECT_EQ(answer.job, "0f8fad5b-d9cb-469f-a165-70867728950e");
  EXPECT_EQ(answer.details->product, "pro");
  EXPECT_THROW(read(R"({"waits":true,"job":"0f8fad5b-d9cb-469f-a165-70867728950e/../x"})"), JSONError);
}

} // namespace kestu::tests
