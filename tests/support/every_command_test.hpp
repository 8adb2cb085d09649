#pragma once

#include "cli/command_rows.hpp"
#include "tests/support/command_test.hpp"
#include "tests/support/every_command.hpp"

#include <string>
#include <vector>

namespace kestu::tests {

/// For each command in turn: everything is approved, and the service's time is that of the command.
class EveryCommandTest : public CommandTest {
 protected:
  explicit EveryCommandTest(bool examples = false)
      : CommandTest({.approve = sandbox::Approve::all,
                     .partSize = 1000,
                     .now = [this] { return clock.now(); },
                     .holdsWaits = false,
                     .examples = examples}) {
    environment["KESTU_API_URL"] = server.origin();
  }

  /// With the newest store job in the place of "{job}".
  Words resolved(Words words) {
    server.withState([&](sandbox::State& state) {
      for (std::string& word : words) {
        if (word == "{job}" && !state.plans.empty()) word = state.plans.back().job;
      }
    });
    return words;
  }
};

/// The first words of commands, and the name of a test that has one as its parameter.
inline std::vector<std::string> commandFamilies() {
  std::vector<std::string> words;
  for (const CommandRow& row : commandRows()) words.emplace_back(row.word);
  return words;
}
inline std::string familyName(const testing::TestParamInfo<std::string>& each) {
  std::string name = each.param;
  std::erase(name, '-');
  return name;
}

} // namespace kestu::tests
