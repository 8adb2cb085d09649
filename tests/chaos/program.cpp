#include "tests/chaos/program.hpp"

#include "cli/program.hpp"
#include "core/platform/executable.hpp"
#include "core/support/clock.hpp"
#include "core/support/files.hpp"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <functional>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>

namespace kestu::chaos {

namespace {

using namespace std::chrono_literals;
const std::string limited = "KESTU_CHAOS_LIMITED=1";

/// Waits pass as they should for whoever looks at a clock, and quickly for who waits.
class QuickClock final : public Clock {
 public:
  Moment now() const override { return real_.now(); }
  std::chrono::nanoseconds continuous() const override {
    return real_.continuous() + std::chrono::milliseconds(skipped_);
  }
  void sleep(std::chrono::milliseconds duration, const std::stop_token& stop) override {
    real_.sleep(std::chrono::ceil<std::chrono::milliseconds>(duration / 1000.0), stop);
    skipped_ += duration.count();
  }

 private:
  SystemClock real_;
  std::atomic<std::int64_t> skipped_ = 0;
};

/// A run that is on its way; the service's threads may still look at it when it is over.
class Running {
 public:
  explicit Running(World& world) : world_(world) {}

  void begin(const std::function<pid_t()>& start) {
    std::lock_guard lock(mutex_);
    process_ = start();
  }

  /// `known` is what it is called by in `met`.
  void meet(const Trouble& trouble, const Trouble* known, const std::string& path) {
    {
      std::lock_guard lock(mutex_);
      if (isOver_) return;
      met_.emplace_back(known, path);
    }
    if (trouble.expires) world_.expireAddresses();
    if (trouble.signal == 0) return;
    if (trouble.later == 0ms) return strike(trouble.signal);
    std::lock_guard lock(mutex_);
    strikes_.emplace_back([this, number = trouble.signal, later = trouble.later] {
      std::this_thread::sleep_for(later);
      strike(number);
    });
  }

  /// The process's status when it ended within its time.
  bool wait(int& status) {
    constexpr int looks = 15'000;
    for (int look = 0; look < looks; ++look) {
      {
        std::lock_guard lock(mutex_);
        if (waitpid(process_, &status, WNOHANG) == process_) {
          isOver_ = true;
          return true;
        }
      }
      std::this_thread::sleep_for(2ms);
    }
    std::lock_guard lock(mutex_);
    isOver_ = true;
    kill(process_, SIGKILL);
    waitpid(process_, &status, 0);
    return false;
  }

  auto met() {
    std::lock_guard lock(mutex_);
    return met_;
  }

 private:
  void strike(int number) {
    std::lock_guard lock(mutex_);
    if (!isOver_ && process_ > 0) kill(process_, number);
  }

  World& world_;
  std::mutex mutex_; // guards what follows
  pid_t process_ = 0;
  bool isOver_ = false;
  std::vector<std::pair<const Trouble*, std::string>> met_;
  std::vector<std::jthread> strikes_;
};

/// What is needed to start a process elsewhere, its output in files.
class Start {
 public:
  explicit Start(const World& world) {
    posix_spawn_file_actions_init(&actions_);
    posix_spawn_file_actions_addopen(&actions_, 0, "/dev/null", O_RDONLY, 0);
    constexpr int anew = O_WRONLY | O_CREAT | O_TRUNC;
    posix_spawn_file_actions_addopen(&actions_, 1, (world.folder.path() / "out").c_str(), anew, 0600);
    posix_spawn_file_actions_addopen(&actions_, 2, (world.folder.path() / "err").c_str(), anew, 0600);
    posix_spawn_file_actions_addchdir_np(&actions_, world.repo().c_str());
  }
  ~Start() { posix_spawn_file_actions_destroy(&actions_); }
  Start(const Start&) = delete;
  Start& operator=(const Start&) = delete;

  pid_t process(std::vector<std::string> words, std::vector<std::string> variables) const {
    std::vector<char*> arguments, environment;
    for (std::string& word : words) arguments.push_back(word.data());
    for (std::string& variable : variables) environment.push_back(variable.data());
    arguments.push_back(nullptr);
    environment.push_back(nullptr);
    pid_t process = 0;
    int failed = posix_spawn(&process, words[0].c_str(), &actions_, nullptr, arguments.data(), environment.data());
    if (failed != 0) throw std::system_error(failed, std::generic_category(), words[0]);
    return process;
  }

 private:
  posix_spawn_file_actions_t actions_{};
};

} // namespace

Ended run(World& world, const std::filesystem::path& program, const std::vector<std::string>& words,
          const std::vector<Trouble>& troubles) {
  auto running = std::make_shared<Running>(world);
  for (const Trouble& trouble : troubles) {
    sandbox::Fault fault = trouble.fault;
    fault.met = [running, trouble, known = &trouble](const std::string& path) { running->meet(trouble, known, path); };
    world.server.onNext(std::move(fault));
  }
  world.server.forgetRequests();
  Ended ended;
  ended.limited = std::any_of(troubles.begin(), troubles.end(), [](const Trouble& each) { return each.outlasts; });
  std::vector<std::string> all = {program.empty() ? executablePath().value().string() : program.string()};
  if (program.empty()) all.emplace_back("--as-kestu");
  all.insert(all.end(), words.begin(), words.end());
  std::vector<std::string> variables = {"PATH=/usr/bin:/bin", "TZ=UTC", "HOME=" + world.home().string(),
                                        "TMPDIR=" + world.temporary().string(),
                                        // Apart from what has to be the same afterwards: lists for completing words.
                                        "XDG_CACHE_HOME=" + (world.folder.path() / "cache").string(),
                                        "KESTU_API_URL=" + world.server.origin(), "KESTU_TOKEN=" + world.token};
  variables.insert(variables.end(), world.variables.begin(), world.variables.end());
  if (ended.limited) variables.emplace_back(limited);
  running->begin([&] { return Start(world).process(all, variables); });
  int status = 0;
  ended.hung = !running->wait(status);
  // A call that was on its way when the program ended is still made.
  if (ended.hung || WIFSIGNALED(status)) std::this_thread::sleep_for(60ms);
  world.server.faults().clear();
  if (ended.limited) std::this_thread::sleep_for(60ms);
  if (WIFSIGNALED(status)) ended.signal = WTERMSIG(status);
  if (WIFEXITED(status)) ended.status = WEXITSTATUS(status);
  ended.out = Files::read(world.folder.path() / "out", 1'000'000).value_or("");
  ended.err = Files::read(world.folder.path() / "err", 1'000'000).value_or("");
  ended.met = running->met();
  ended.calls = world.server.requests().size();
  return ended;
}

int runQuickly(int count, char** words) {
  QuickClock clock;
  const bool isLimited = std::getenv(std::string(limited, 0, limited.find('=')).c_str()) != nullptr;
  return runProgram(count, words, clock, isLimited ? 500ms : std::chrono::milliseconds::max());
}

} // namespace kestu::chaos
