#pragma once

#include <atomic>
#include <stop_token>
#include <thread>

#include <signal.h>

namespace kestu {

/// Turns the interrupt, termination, hang-up and quit signals into a stop, so that what the program began is cleaned
/// up. Made before any thread, since threads take over the set of blocked signals from the one that starts them; so do
/// child processes, which have to unblock them. A signal that was ignored from the start stays ignored. The same
/// signal again ends the process at once. SIGPIPE is ignored as long as this lives.
class StopSignals {
 public:
  explicit StopSignals(std::stop_source stopping);
  ~StopSignals();
  StopSignals(const StopSignals&) = delete;
  StopSignals& operator=(const StopSignals&) = delete;

  /// The first signal that was received; 0 for none so far.
  int received() const { return received_; }

  /// Ends the process by the signal's default action, so that its exit status tells which one it was.
  [[noreturn]] static void endWith(int number);

 private:
  void watch();

  std::stop_source stopping_;
  std::atomic<int> received_ = 0;
  std::atomic<bool> ending_ = false;
  sigset_t watched_{};
  sigset_t maskBefore_{};
  struct sigaction pipeBefore_ {};
  std::jthread thread_;
};

} // namespace kestu
