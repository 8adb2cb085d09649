#include "core/support/error.hpp"
#include "tests/chaos/seed.hpp"

#include <fmt/format.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace kestu::chaos;

constexpr std::string_view help = R"(Runs commands while the service refuses, breaks off, answers nonsense, and while
they are killed, and looks for what that lost.

kestu-chaos [--seeds N] [--from K] [--program PATH]

  --seeds N       how many (100)
  --from K        the first one (1); --from K --seeds 1 repeats one
  --program PATH  a built kestu, whose waits take their time, in place of the one within
)";

struct Arguments {
  std::uint64_t seeds = 100, from = 1;
  std::string program;
};

class Table {
 public:
  void add(const Report& report) {
    ++seeds_[report.command];
    runs_ += report.runs;
    approvedAgain_[report.command] += report.approvedAgain;
    for (const auto& [outcome, count] : report.outcomes) outcomes_[report.command][outcome] += count;
    for (const auto& [name, count] : report.met) met_[name] += count;
    if (!report.wrong.empty()) ++failed_;
  }

  bool isClean() const { return failed_ == 0; }

  void print() const {
    for (const auto& [command, outcomes] : outcomes_) {
      fmt::print("{}: {} seeds", command, seeds_.at(command));
      for (const auto& [outcome, count] : outcomes) fmt::print(", {} × {}", count, outcome);
      if (approvedAgain_.at(command) > 0) fmt::print(", {} approved again", approvedAgain_.at(command));
      fmt::print("\n");
    }
    fmt::print("Met:");
    const char* before = " ";
    for (const auto& [name, count] : met_) {
      fmt::print("{}{} × {}", before, count, name);
      before = ", ";
    }
    fmt::print("\nRuns of the program: {}. ", runs_);
    if (isClean()) {
      fmt::print("Nothing was lost.\n");
    } else {
      fmt::print("Seeds that failed: {}.\n", failed_);
    }
  }

 private:
  std::map<std::string, int> seeds_, approvedAgain_, met_;
  std::map<std::string, std::map<std::string, int>> outcomes_;
  int runs_ = 0, failed_ = 0;
};

bool read(int count, char** words, Arguments& arguments) {
  for (int at = 1; at < count; at += 2) {
    const std::string_view name = words[at];
    if (at + 1 == count) return false;
    const std::string value = words[at + 1];
    if (name == "--program") {
      arguments.program = value;
      continue;
    }
    char* end = nullptr;
    const std::uint64_t number = std::strtoull(value.c_str(), &end, 10);
    if (value.empty() || *end != '\0' || (name != "--seeds" && name != "--from")) return false;
    (name == "--seeds" ? arguments.seeds : arguments.from) = number;
  }
  return true;
}

} // namespace

int main(int count, char** words) {
  if (count > 1 && std::string_view(words[1]) == "--as-kestu") {
    words[1] = words[0];
    return runQuickly(count - 1, words + 1);
  }
  Arguments arguments;
  if (!read(count, words, arguments)) {
    fmt::print(stderr, "{}", help);
    return 2;
  }
  try {
    Chaos chaos(arguments.program);
    Table table;
    for (std::uint64_t seed = arguments.from; seed < arguments.from + arguments.seeds; ++seed) {
      const Report report = chaos.seed(seed);
      table.add(report);
      if (report.wrong.empty()) continue;
      fmt::print("Seed {} ({}), again with --from {} --seeds 1:\n", seed, report.command, seed);
      for (const std::string& each : report.wrong) fmt::print("  {}\n", each);
      std::fflush(stdout);
    }
    table.print();
    return table.isClean() ? 0 : 1;
  } catch (const std::exception& error) {
    fmt::print(stderr, "kestu-chaos: {}\n", error.what());
    return 1;
  }
}
