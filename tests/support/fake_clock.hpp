#pragma once

#include "core/support/clock.hpp"
#include "core/support/error.hpp"

#include <functional>
#include <mutex>
#include <vector>

namespace kestu {

/// Time that passes only while it is slept through. Starts at 2026-11-21T12:00:00Z.
class FakeClock final : public Clock {
 public:
  Moment now() const override {
    std::lock_guard lock(mutex_);
    return now_;
  }

  std::chrono::nanoseconds continuous() const override {
    std::lock_guard lock(mutex_);
    return continuous_;
  }

  void sleep(std::chrono::milliseconds duration, const std::stop_token& stop) override {
    if (stop.stop_requested()) throw Stopped();
    advance(duration);
    {
      std::lock_guard lock(mutex_);
      sleeps_.push_back(duration);
    }
    if (onSleep) onSleep(duration);
    if (stop.stop_requested()) throw Stopped();
  }

  void setNow(Moment now) {
    std::lock_guard lock(mutex_);
    now_ = now;
  }

  void advance(std::chrono::milliseconds duration) {
    std::lock_guard lock(mutex_);
    now_ += duration;
    continuous_ += duration;
  }

  std::vector<std::chrono::milliseconds> sleeps() const {
    std::lock_guard lock(mutex_);
    return sleeps_;
  }

  /// Called within each sleep, after its time has passed: the place to change the world, or to stop.
  std::function<void(std::chrono::milliseconds)> onSleep;

 private:
  mutable std::mutex mutex_;
  Moment now_ = std::chrono::sys_days(std::chrono::year(2026) / 11 / 21) + std::chrono::hours(12);
  std::chrono::nanoseconds continuous_ = std::chrono::hours(1);
  std::vector<std::chrono::milliseconds> sleeps_;
};

} // namespace kestu
