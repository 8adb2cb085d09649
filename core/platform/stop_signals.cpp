#include "core/platform/stop_signals.hpp"

#include <array>
#include <string_view>
#include <utility>

#include <pthread.h>
#include <unistd.h>

namespace kestu {

namespace {

constexpr std::array stopping = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

// Ends the watching thread; of no meaning to the user.
constexpr int wakeUp = SIGUSR1;

bool isIgnored(int number) {
  struct sigaction action {};
  return sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

/// Clears the line of the spinner or of a progress, which nobody else can do any more.
void leaveTerminal() {
  constexpr std::string_view clean = "\r\x1B[2K\x1B[?25h";
  if (isatty(STDERR_FILENO) != 1) return;
  [[maybe_unused]] ssize_t written = ::write(STDERR_FILENO, clean.data(), clean.size());
}

} // namespace

StopSignals::StopSignals(std::stop_source source) : stopping_(std::move(source)) {
  sigemptyset(&watched_);
  for (int number : stopping) {
    if (!isIgnored(number)) sigaddset(&watched_, number);
  }
  sigaddset(&watched_, wakeUp);
  pthread_sigmask(SIG_BLOCK, &watched_, &maskBefore_);
  struct sigaction ignoring {};
  ignoring.sa_handler = SIG_IGN;
  sigaction(SIGPIPE, &ignoring, &pipeBefore_);
  thread_ = std::jthread([this] { watch(); });
}

StopSignals::~StopSignals() {
  ending_ = true;
  pthread_kill(thread_.native_handle(), wakeUp);
  thread_.join();
  sigaction(SIGPIPE, &pipeBefore_, nullptr);
  pthread_sigmask(SIG_SETMASK, &maskBefore_, nullptr);
}

void StopSignals::watch() {
  std::array<bool, NSIG> seen{};
  while (true) {
    int number = 0;
    if (sigwait(&watched_, &number) != 0) continue;
    if (number == wakeUp) {
      if (ending_) return;
      continue;
    }
    if (std::exchange(seen.at(static_cast<std::size_t>(number)), true)) {
      leaveTerminal();
      endWith(number);
    }
    int none = 0;
    received_.compare_exchange_strong(none, number);
    stopping_.request_stop();
  }
}

void StopSignals::endWith(int number) {
  struct sigaction action {};
  action.sa_handler = SIG_DFL;
  sigaction(number, &action, nullptr);
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, number);
  pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
  raise(number);
  _exit(128 + number); // for a signal whose default action doesn't end a process
}

} // namespace kestu
