#pragma once

#include "tests/chaos/trouble.hpp"
#include "tests/chaos/world.hpp"

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace kestu::chaos {

/// How a run of the program ended, and what it met on its way.
struct Ended {
  int status = 0;
  int signal = 0; ///< 0 where it wasn't one that ended it
  bool hung = false;
  bool limited = false; ///< its requests may take a short time only
  std::string out, err;
  std::vector<std::pair<const Trouble*, std::string>> met; ///< with the call's path
  std::size_t calls = 0;
};

/// Runs the program in a process of its own while the service makes the troubles. An empty `program` is this one, with
/// a clock whose waits take a thousandth of their time; else it is a built kestu, in its own time.
Ended run(World& world, const std::filesystem::path& program, const std::vector<std::string>& words,
          const std::vector<Trouble>& troubles);

/// The program as it is run by `run`: all of it but for the clock.
int runQuickly(int count, char** words);

} // namespace kestu::chaos
