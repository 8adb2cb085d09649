#include "core/support/clock.hpp"

#include "core/support/error.hpp"

#include <condition_variable>
#include <mutex>

#include <time.h>

namespace kestu {

Moment SystemClock::now() const { return std::chrono::system_clock::now(); }

std::chrono::nanoseconds SystemClock::continuous() const {
#ifdef CLOCK_BOOTTIME
  constexpr clockid_t clock = CLOCK_BOOTTIME;
#else
  constexpr clockid_t clock = CLOCK_MONOTONIC;
#endif
  timespec time{};
  clock_gettime(clock, &time);
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

void SystemClock::sleep(std::chrono::milliseconds duration, const std::stop_token& stop) {
  std::mutex mutex;
  std::condition_variable_any woken;
  std::unique_lock lock(mutex);
  woken.wait_for(lock, stop, duration, [] { return false; });
  if (stop.stop_requested()) throw Stopped();
}

} // namespace kestu
