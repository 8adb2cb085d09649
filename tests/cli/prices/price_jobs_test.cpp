#include "tests/support/command_test.hpp"

namespace kestu::tests {
namespace {

const std::string pro = "com.example.daylight.pro.monthly";

TEST_F(CommandTest, APriceChangeSaysWhatIsDoneAndWhatIsNot) {
  signIn();
  link();
  struct Row {
    std::vector<std::string> arguments;
    const char* says;
    const char* never;
  };
  for (const Row& row : std::vector<Row>{
           {{"set", "5.99", "--product", pro, "--yes"},
            "● Kestu sets com.example.daylight.pro.monthly: $5.99 in United States, country by country, as your key's "
            "hour allows.\nNext: kestu prices status ",
            "✓"},
           {{"set", "6.99", "--product", pro, "--yes", "--wait"}, "✓ Done, all 175 countries.\n", " \n"},
           {{"set", "2.99", "--product", "com.example.daylight.tip", "--from", "2026-12-24", "--until", "2027-01-01",
             "--dry-run"},
            "Daylight Weather (com.example.daylight), com.example.daylight.tip: $2.99 in United States, from 24 Dec "
            "2026, until 1 Jan 2027, after your approval:\n",
            "✓"},
           {{"parity", "--json", "--write", "--check"}, "{\n  \"base\": {\n", "✓"},
       }) {
    SCOPED_TRACE(row.says);
    server.scriptNextPlan({});
    std::vector<std::string> arguments = row.arguments;
    arguments.insert(arguments.begin(), "prices");
    Ran ran = run(arguments);
    EXPECT_EQ(ran.status, 0) << ran.err;
    EXPECT_NE(ran.out.find(row.says), std::string::npos) << ran.out;
    EXPECT_EQ(ran.out.find(row.never), std::string::npos) << ran.out;
  }
  EXPECT_FALSE(std::filesystem::exists(repo.path() / "metadata"));
}

} // namespace
} // namespace kestu::tests
