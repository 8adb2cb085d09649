#pragma once

#include "core/console/console.hpp"
#include "core/support/clock.hpp"

#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

namespace kestu {

/// How far a transfer is: a line redrawn in place at a terminal, at most ten times a second, and elsewhere a line on
/// standard error every 5 seconds. Its end clears the line.
class Progress {
 public:
  struct Unit {
    std::string one, many;
  };

  /// A total of 0 is one that is not counted, and not shown.
  Progress(Console& console, Clock& clock, std::string label, std::uint64_t totalBytes, int totalParts,
           Unit unit = {"part", "parts"});
  ~Progress() { finish(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// So many bytes and parts more, or fewer when something begins anew; `name` is what they are of, as it is shown. May
  /// be called from any thread.
  void advance(std::int64_t bytes, int parts, std::string_view name = {});

  void finish();

 private:
  std::string text(std::chrono::nanoseconds elapsed) const;
  void show(std::chrono::nanoseconds elapsed);

  Console& console_;
  Clock& clock_;
  const std::string label_;
  const std::uint64_t totalBytes_;
  const int totalParts_;
  const Unit unit_;
  const std::chrono::nanoseconds start_;
  const std::chrono::nanoseconds interval_;

  std::mutex mutex_; // guards all that follows
  std::uint64_t bytes_ = 0;
  std::string name_;
  int parts_ = 0;
  std::chrono::nanoseconds shownAt_{};
  bool finished_ = false;
};

} // namespace kestu
