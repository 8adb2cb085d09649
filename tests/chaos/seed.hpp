#pragma once

#include "tests/chaos/program.hpp"
#include "tests/chaos/roads.hpp"

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace kestu::chaos {

/// What came of a seed.
struct Report {
  std::string command;
  std::vector<std::string> wrong;      ///< each a loss or a fault of the program; empty when all is well
  std::map<std::string, int> outcomes; ///< of the runs that were troubled: "done", "status 9", "SIGKILL"
  std::map<std::string, int> met;      ///< troubles by name
  int runs = 0;
  int approvedAgain = 0; ///< changes approved beyond those of a run without trouble
};

/// Runs seeds, each in a world of its own.
class Chaos {
 public:
  /// An empty program is this one itself (see `run`).
  explicit Chaos(std::filesystem::path program) : program_(std::move(program)), roads_(allRoads()) {}

  Report seed(std::uint64_t number);

 private:
  /// How things stand before and after a run without trouble.
  struct Plain {
    nlohmann::json before, after;
    Tree treeBefore, treeAfter;
    std::size_t calls = 0, approved = 0;
  };
  const Plain& plain(std::size_t command, std::size_t variant);

  std::filesystem::path program_;
  std::vector<std::vector<Road>> roads_;
  std::map<std::pair<std::size_t, std::size_t>, Plain> plain_;
};

} // namespace kestu::chaos
