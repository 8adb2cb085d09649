#include "core/console/spinner.hpp"

#include <array>
#include <utility>

namespace kestu {

namespace {

using namespace std::chrono_literals;

constexpr std::array<std::string_view, 4> frames = {"|", "/", "─", "\\"};
constexpr std::string_view erasing = "\r\x1B[2K";

} // namespace

Spinner::Spinner(Terminal& terminal, Clock& clock, Abilities abilities)
    : terminal_(terminal), clock_(clock), abilities_(abilities), outShows_(terminal.isTerminal(Stream::out)),
      errShows_(terminal.isTerminal(Stream::err)) {}

Spinner::~Spinner() {
  if (thread_.joinable()) {
    thread_.request_stop();
    thread_.join();
  }
  erase();
}

void Spinner::begin() {
  if (!abilities_.spins) return;
  std::lock_guard lock(mutex_);
  ++busy_;
  if (!thread_.joinable()) thread_ = std::jthread([this](const std::stop_token& stop) { run(stop); });
  changed_.notify_all();
}

void Spinner::end() {
  if (!abilities_.spins) return;
  std::lock_guard lock(mutex_);
  if (--busy_ == 0 && status_.empty()) erase();
}

void Spinner::hold(bool on) {
  std::lock_guard lock(mutex_);
  held_ += on ? 1 : -1;
  if (on) {
    erase();
  } else {
    drawStatus();
    changed_.notify_all();
  }
}

void Spinner::write(Stream stream, std::string_view bytes) {
  std::lock_guard lock(mutex_);
  if (bytes.empty()) return;
  if (stream == Stream::out ? !outShows_ : !errShows_) return terminal_.write(stream, bytes);
  erase();
  midLine_ = !bytes.ends_with('\n');
  terminal_.write(stream, bytes);
  drawStatus();
  changed_.notify_all();
}

void Spinner::status(std::string line) {
  if (!abilities_.redraws) return;
  std::lock_guard lock(mutex_);
  status_ = std::move(line);
  if (status_.empty()) erase();
  drawStatus();
  changed_.notify_all();
}

void Spinner::atLineStart() {
  std::lock_guard lock(mutex_);
  midLine_ = false;
  drawStatus();
  changed_.notify_all();
}

void Spinner::erase() {
  if (std::exchange(drawn_, false)) terminal_.write(Stream::err, erasing);
}

void Spinner::drawFrame() {
  terminal_.write(Stream::err, std::string("\r[").append(frames[frame_ % frames.size()]).append("]"));
  drawn_ = true;
  ++frame_;
}

void Spinner::drawStatus() {
  if (status_.empty() || !mayDraw()) return;
  terminal_.write(Stream::err, std::string(erasing) + status_);
  drawn_ = true;
}

void Spinner::run(const std::stop_token& stop) {
  std::unique_lock lock(mutex_);
  while (changed_.wait(lock, stop, [this] { return drawsFrames(); })) {
    auto start = clock_.continuous();
    drawFrame();
    // Drawing counts as a part of the wait, so that a slow terminal doesn't slow the frames down.
    auto left = 100ms - (clock_.continuous() - start);
    changed_.wait_for(lock, stop, left, [this] { return !drawsFrames(); });
  }
}

} // namespace kestu
