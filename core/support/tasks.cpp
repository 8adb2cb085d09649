#include "core/support/tasks.hpp"

#include "core/support/error.hpp"

#include <algorithm>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace kestu {

void fewAtOnce(std::size_t count, std::size_t limit, const std::stop_token& stop,
               const std::function<void(std::size_t, const std::stop_token&)>& each) {
  std::stop_source ending;
  std::stop_callback outer(stop, [&] { ending.request_stop(); });
  std::mutex mutex;
  std::size_t next = 0;
  std::exception_ptr first;
  auto work = [&] {
    while (true) {
      std::size_t index;
      {
        std::lock_guard lock(mutex);
        if (next == count || ending.stop_requested()) return;
        index = next++;
      }
      try {
        each(index, ending.get_token());
      } catch (...) {
        std::lock_guard lock(mutex);
        if (!first) first = std::current_exception();
        ending.request_stop();
      }
    }
  };
  std::size_t workers = std::min(std::max<std::size_t>(limit, 1), count);
  if (workers <= 1) {
    work();
  } else {
    std::vector<std::jthread> threads;
    for (std::size_t i = 0; i < workers; ++i) threads.emplace_back(work);
  }
  if (first) std::rethrow_exception(first);
  if (stop.stop_requested()) throw Stopped();
}

std::size_t coreCount() { return std::max(1U, std::thread::hardware_concurrency()); }

} // namespace kestu
