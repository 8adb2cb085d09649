#include <fmt/format.h>

#include <sys/resource.h>
#include <sys/wait.h>

#include <fcntl.h>
#include <spawn.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <vector>

extern char** environ;

namespace {

constexpr std::string_view help = R"(Runs commands in turns and tells how long each took.

kestu-measure RUNS , COMMAND… [, COMMAND…]…

A comma of its own stands before each command. A line for each: the median of its
wall-clock times in milliseconds, and the most memory that a run held, in KiB.
Standard output goes to /dev/null; a command that fails ends everything.
)";

/// A small program of its own, and no shell: a child's peak begins with the memory of whoever started it.
struct Run {
  double milliseconds;
  long peak; ///< KiB
};

struct Command {
  std::vector<char*> words; ///< ends with a null, as execvp wants it
  std::vector<double> times;
  long peak = 0;
};

Run run(const Command& command) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  const auto begun = std::chrono::steady_clock::now();
  pid_t child = 0;
  const int failed = posix_spawnp(&child, command.words.front(), &actions, nullptr, command.words.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (failed != 0) throw std::system_error(failed, std::generic_category(), command.words.front());
  int status = 0;
  rusage usage{};
  if (wait4(child, &status, 0, &usage) != child) {
    throw std::system_error(errno, std::generic_category(), "wait4");
  }
  const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - begun;
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    throw std::runtime_error(fmt::format("{} failed (wait status {}).", command.words.front(), status));
  }
  return {took.count(), usage.ru_maxrss};
}

double median(std::vector<double> times) {
  std::sort(times.begin(), times.end());
  const auto middle = times.size() / 2;
  return times.size() % 2 == 1 ? times[middle] : (times[middle - 1] + times[middle]) / 2;
}

std::vector<Command> commandsOf(int count, char** words) {
  std::vector<Command> commands;
  for (int index = 2; index < count; ++index) {
    if (std::strcmp(words[index], ",") == 0) {
      commands.emplace_back();
    } else if (!commands.empty()) {
      commands.back().words.push_back(words[index]);
    }
  }
  for (Command& command : commands) {
    if (command.words.empty()) return {};
    command.words.push_back(nullptr);
  }
  return commands;
}

} // namespace

int main(int count, char** words) {
  try {
    int runs = 0;
    if (count > 1) std::from_chars(words[1], words[1] + std::strlen(words[1]), runs);
    auto commands = commandsOf(count, words);
    if (runs < 1 || commands.empty()) {
      fmt::print(stderr, "{}", help);
      return 2;
    }
    for (int turn = 0; turn < runs; ++turn) {
      for (Command& command : commands) {
        const Run one = run(command);
        command.times.push_back(one.milliseconds);
        command.peak = std::max(command.peak, one.peak);
      }
    }
    for (const Command& command : commands) fmt::print("{:.3f} {}\n", median(command.times), command.peak);
    return 0;
  } catch (const std::exception& error) {
    fmt::print(stderr, "kestu-measure: {}\n", error.what());
    return 1;
  }
}
