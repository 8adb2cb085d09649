#pragma once

#include "cli/command.hpp"
#include "sandbox/server.hpp"
#include "tests/support/temporary_folder.hpp"

#include <string>
#include <vector>

namespace kestu::tests {

using Words = std::vector<std::string>;

/// A command of the tree with arguments that suit the demo's account and the repository of `layRepository`.
struct SomeCommand {
  std::string path;                 ///< "assets push"
  Words words;                      ///< "{job}" stands for the store job that was made last
  Words before;                     ///< another command, with --yes, that has to run first; none when empty
  int status = 0;                   ///< of `words` where nothing goes wrong
  bool asks = false, tries = false; ///< has --yes, --dry-run
  std::vector<Words> forms;         ///< that it tells its answer in: {"--output", "json"}

  Words with(const Words& more) const;
};

/// All that can be run, in the tree's order; a command without a row in the table fails the test that asks.
std::vector<SomeCommand> everyCommand();

/// Files for each of them; texts go into the listing, App Review's information and a page.
void layRepository(const TemporaryFolder& folder, const std::string& text, const std::string& password);

/// The demo's state, with something for each command to do.
void laySandbox(sandbox::State& state);

} // namespace kestu::tests
