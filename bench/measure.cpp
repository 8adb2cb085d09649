#include <fmt/format.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

extern char** environ;

namespace {

constexpr std::string_view help = R"(Runs commands in turns and tells how long each took.

kestu-measure [--first-byte] RUNS , COMMAND… [, COMMAND…]…

A comma of its own stands before each command. A line for each: the median of its
wall-clock times in milliseconds, and the most memory that a run held, in KiB.
Standard output goes to /dev/null; a command that fails ends everything.

--first-byte  the time up to the first byte that a command sends to a service on this
              machine, which KESTU_API_URL names; it is killed then. One that sends
              nothing is timed to its end.
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

std::system_error failure(const char* what) { return {errno, std::generic_category(), what}; }

/// Where commands send their first byte: accepts, reads nothing and answers nothing.
class Service {
 public:
  Service() : listener_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (listener_ < 0 || bind(listener_, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
        listen(listener_, 16) != 0 || getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
      throw failure("a listening socket");
    }
    setenv("KESTU_API_URL", ("http://127.0.0.1:" + std::to_string(ntohs(address.sin_port))).c_str(), 1);
  }

  /// Waits until a byte has come (true) or the other end of `ended` is closed, which a child's exit does.
  bool byteBefore(int ended) const {
    int connection = -1;
    bool came = false;
    for (;;) {
      pollfd watched[] = {{connection < 0 ? listener_ : connection, POLLIN, 0}, {ended, POLLIN, 0}};
      if (poll(watched, 2, -1) < 0) throw failure("poll");
      if (watched[0].revents != 0 && connection >= 0) came = true;
      if (came || watched[1].revents != 0) break;
      connection = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    }
    if (connection >= 0) close(connection);
    return came;
  }

 private:
  int listener_;
};

Run run(const Command& command, const Service* service) {
  int ended[2]; // open in the child alone, so that its end is seen
  if (pipe(ended) != 0 || fcntl(ended[0], F_SETFD, FD_CLOEXEC) != 0) throw failure("pipe");
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  const auto begun = std::chrono::steady_clock::now();
  pid_t child = 0;
  const int failed = posix_spawnp(&child, command.words.front(), &actions, nullptr, command.words.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(ended[1]);
  if (failed != 0) throw std::system_error(failed, std::generic_category(), command.words.front());
  std::optional<std::chrono::duration<double, std::milli>> sent;
  if (service && service->byteBefore(ended[0])) {
    sent = std::chrono::steady_clock::now() - begun;
    kill(child, SIGKILL);
  }
  close(ended[0]);
  int status = 0;
  rusage usage{};
  if (wait4(child, &status, 0, &usage) != child) {
    throw failure("wait4");
  }
  if (sent) return {sent->count(), usage.ru_maxrss};
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

std::vector<Command> commandsOf(int first, int count, char** words) {
  std::vector<Command> commands;
  for (int index = first; index < count; ++index) {
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
    std::optional<Service> service;
    int next = 1;
    if (count > 1 && std::strcmp(words[1], "--first-byte") == 0) {
      service.emplace();
      next = 2;
    }
    int runs = 0;
    if (count > next) std::from_chars(words[next], words[next] + std::strlen(words[next]), runs);
    auto commands = commandsOf(next + 1, count, words);
    if (runs < 1 || commands.empty()) {
      fmt::print(stderr, "{}", help);
      return 2;
    }
    for (int turn = 0; turn < runs; ++turn) {
      for (Command& command : commands) {
        const Run one = run(command, service ? &*service : nullptr);
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
