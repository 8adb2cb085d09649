#include "core/console/progress.hpp"

#include "core/console/format.hpp"
#include "core/support/text.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace kestu {

namespace {

using namespace std::chrono_literals;

/// "0:12", "1:02:03".
std::string clockFace(std::uint64_t seconds) {
  std::uint64_t hours = seconds / 3600;
  std::uint64_t minutes = seconds / 60 % 60;
  if (hours > 0) return fmt::format("{}:{:02}:{:02}", hours, minutes, seconds % 60);
  return fmt::format("{}:{:02}", minutes, seconds % 60);
}

} // namespace

Progress::Progress(Console& console, Clock& clock, std::string label, std::uint64_t totalBytes, int totalParts,
                   Unit unit)
    : console_(console), clock_(clock), label_(std::move(label)), totalBytes_(totalBytes), totalParts_(totalParts),
      unit_(std::move(unit)), start_(clock.continuous()),
      interval_(console.redraws() ? std::chrono::nanoseconds(100ms) : 5s) {
  if (console_.redraws()) show(0s);
}

void Progress::advance(std::int64_t bytes, int parts, std::string_view name) {
  std::lock_guard lock(mutex_);
  bytes_ = bytes < 0 && bytes_ < static_cast<std::uint64_t>(-bytes) ? 0 : bytes_ + static_cast<std::uint64_t>(bytes);
  if (!name.empty()) name_ = name;
  parts_ += parts;
  auto elapsed = clock_.continuous() - start_;
  if (!finished_ && elapsed - shownAt_ >= interval_) show(elapsed);
}

void Progress::finish() {
  std::lock_guard lock(mutex_);
  if (std::exchange(finished_, true)) return;
  console_.clearStatus();
}

void Progress::show(std::chrono::nanoseconds elapsed) {
  shownAt_ = elapsed;
  if (console_.redraws()) {
    console_.status(text(elapsed));
  } else {
    console_.error(text(elapsed));
  }
}

std::string Progress::text(std::chrono::nanoseconds elapsed) const {
  std::vector<std::string> facts = {name_.empty() ? label_ : label_ + " " + name_};
  if (totalBytes_ > 0) facts.push_back(Format::bytes(bytes_) + " of " + Format::bytes(totalBytes_));
  auto parts = facts.size();
  if (totalParts_ > 0) {
    facts.push_back(fmt::format("{} of {} {}", parts_, totalParts_, totalParts_ == 1 ? unit_.one : unit_.many));
  }
  double seconds = std::chrono::duration<double>(elapsed).count();
  double speed = seconds > 0 ? static_cast<double>(bytes_) / seconds : 0;
  // The first second tells nothing yet about a speed, and less than 1 KB a second would be shown as none.
  if (totalBytes_ > 0 && seconds >= 1 && speed >= 1024) {
    auto left = static_cast<double>(totalBytes_ - std::min(bytes_, totalBytes_)) / speed;
    facts.push_back(Format::bytes(static_cast<std::uint64_t>(speed)) + "/s");
    // A start says little about the rest. Beyond days it would only be noise, and too large to count.
    bool means = seconds >= 10 || (seconds >= 3 && bytes_ >= totalBytes_ / 20);
    if (means && left < 100 * 3600)
      facts.push_back(clockFace(static_cast<std::uint64_t>(std::llround(left))) + " left");
  }
  std::string line = Text::joined(facts, "  ");
  bool narrow = console_.redraws() && Text::columns(line) >= static_cast<std::size_t>(console_.width());
  if (!narrow || totalParts_ == 0 || facts.size() <= parts + 1) return line;
  // Where the line would be cut, the speed and the time left tell more than the parts.
  facts.erase(facts.begin() + static_cast<std::ptrdiff_t>(parts));
  return Text::joined(facts, "  ");
}

} // namespace kestu
