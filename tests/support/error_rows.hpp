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

/// Runs each line; `says` is `equals`, `begins`, `ends` or `has`.
inline void expectErrors(const std::function<Ran(const std::string&)>& run,
                         testing::AssertionResult (*says)(const std::string&, const std::string&),
                         const std::vector<ErrorRow>& rows) {
  for (const ErrorRow& row : rows) {
    SCOPED_TRACE(row.line + ": " + row.err);
    Ran ran = run(row.line);
    EXPECT_EQ(ran.status, row.status);
    EXPECT_TRUE(says(ran.err, row.err));
  }
}

/// The same of lines that are all used wrongly, each with what it says.
inline void expectWrongUse(const std::function<Ran(const std::string&)>& run,
                           testing::AssertionResult (*says)(const std::string&, const std::string&),
                           const std::vector<std::pair<std::string, std::string>>& rows) {
  std::vector<ErrorRow> all;
  for (const auto& [line, err] : rows) all.push_back({line, 2, err});
  expectErrors(run, says, all);
}

} // namespace kestu::tests
