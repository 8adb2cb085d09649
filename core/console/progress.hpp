#pragma once

#include "core/console/console.hpp"
#include "core/support/clock.hpp"

#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>

namespace kestu {

/// How far a transfer is: a line redrawn in place at a terminal, at most ten times a second, and elsewhere a line on
/// standard error every 5 seconds. Its end clears the line.
class Progress {
 public:
  /// A total of 0 is one that is not counted, and not shown.
  Progress(Console& console, Clock& clock, std::string label, std::uint64_t totalBytes, int totalParts);
  ~Progress() { finish(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// So many bytes and parts more. May be called from any thread.
  void advance(std::uint64_t bytes, int parts);

  void finish();

 private:
  std::string text(std::chrono::nanoseconds elapsed) const;
  void show(std::chrono::nanoseconds elapsed);

  Console& console_;
  Clock& clock_;
  const std::string label_;
  const std::uint64_t totalBytes_;
  const int totalParts_;
  const std::chrono::nanoseconds start_;
  const std::chrono::nanoseconds interval_;

  std::mutex mutex_; // guards all that follows
  std::uint64_t bytes_ = 0;
  int parts_ = 0;
  std::chrono::nanoseconds shownAt_{};
  bool finished_ = false;
};

} // namespace kestu
