#pragma once

#include "tests/support/command_test.hpp"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace kestu::tests {

/// A line, its status, and what it says on standard error: a row of a table.
struct ErrorRow {
  std::string line;
  int status;
  std::string err;
};

inline testing::AssertionResult equals(const std::string& text, const std::string& whole) {
  return testing::AssertionResult(text == whole) << text;
}

using Says = testing::AssertionResult(const std::string& text, const std::string& part);

/// Whether it ended so and says that, on standard output where it succeeds, else on standard error; `says` is `equals`,
/// `begins`, `ends` or `has`.
inline testing::AssertionResult ended(const Ran& ran, int status, Says& says, const std::string& text) {
  bool isSaid = says(status == 0 ? ran.out : ran.err, text);
  return testing::AssertionResult(isSaid && ran.status == status)
         << ran.status << "\n"
         << ran.out << ran.err << "\nwanted: " << status << "\n"
         << text;
}

/// Runs each line.
inline void expectErrors(const std::function<Ran(const std::string&)>& run, Says& says,
                         const std::vector<ErrorRow>& rows) {
  for (const ErrorRow& row : rows) {
    SCOPED_TRACE(row.line + ": " + row.err);
    Ran ran = run(row.line);
    EXPECT_EQ(ran.status, row.status);
    EXPECT_TRUE(says(ran.err, row.err));
  }
}

/// The same of lines that are all used wrongly, each with what it says.
inline void expectWrongUse(const std::function<Ran(const std::string&)>& run, Says& says,
                           const std::vector<std::pair<std::string, std::string>>& rows) {
  std::vector<ErrorRow> all;
  for (const auto& [line, err] : rows) all.push_back({line, 2, err});
  expectErrors(run, says, all);
}

} // namespace kestu::tests
