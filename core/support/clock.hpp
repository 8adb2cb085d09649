#pragma once

#include <chrono>
#include <stop_token>

namespace kestu {

using Moment = std::chrono::system_clock::time_point;

/// Time as the program meets it; tests put one in whose sleeps end at once.
class Clock {
 public:
  virtual ~Clock() = default;

  /// The time of day, for moments that are shown.
  virtual Moment now() const = 0;

  /// The continuous clock, for measuring waits; goes on while the machine sleeps where the system has such a clock.
  virtual std::chrono::nanoseconds continuous() const = 0;

  /// Sleeps for the duration, or until the stop token is triggered: then throws Stopped.
  virtual void sleep(std::chrono::milliseconds duration, const std::stop_token& stop) = 0;
};

class SystemClock final : public Clock {
 public:
  Moment now() const override;
  std::chrono::nanoseconds continuous() const override;
  void sleep(std::chrono::milliseconds duration, const std::stop_token& stop) override;
};

} // namespace kestu
