#pragma once

#include "core/platform/terminal.hpp"
#include "core/support/error.hpp"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>

namespace kestu {

/// Streams in memory. Set it up before a console is made of it; none of the streams is a terminal until then.
class FakeTerminal final : public Terminal {
 public:
  bool inIsTerminal = false;
  bool outIsTerminal = false;
  bool errIsTerminal = false;
  std::optional<int> windowColumns, windowRows;

  FakeTerminal() = default;

  /// All three are terminals of so many columns.
  explicit FakeTerminal(int columns)
      : inIsTerminal(true), outIsTerminal(true), errIsTerminal(true), windowColumns(columns) {}

  bool isTerminal(Stream stream) const override {
    return stream == Stream::in ? inIsTerminal : stream == Stream::out ? outIsTerminal : errIsTerminal;
  }

  std::optional<int> columns() const override { return windowColumns; }
  std::optional<int> rows() const override { return windowRows; }

  void write(Stream stream, std::string_view bytes) override {
    std::lock_guard lock(mutex_);
    (stream == Stream::out ? out_ : err_) += bytes;
    all_ += bytes;
    written_.notify_all();
  }

  std::optional<std::string> readLine(const std::stop_token& stop) override {
    std::lock_guard lock(mutex_);
    if (stop.stop_requested()) throw Stopped();
    if (lines_.empty()) return std::nullopt;
    std::string line = lines_.front();
    lines_.pop_front();
    return line;
  }

  /// Queues a line of standard input; after the last comes its end.
  void type(std::string line) {
    std::lock_guard lock(mutex_);
    lines_.push_back(std::move(line));
  }

  std::string outText() const { return copy(out_); }
  std::string errText() const { return copy(err_); }
  std::string allText() const { return copy(all_); } ///< both streams, as a screen shows them

  /// Waits for text on either stream, for what another thread writes; false when it hasn't come in 10 seconds.
  bool awaitText(std::string_view text) {
    std::unique_lock lock(mutex_);
    return written_.wait_for(lock, std::chrono::seconds(10), [&] { return all_.find(text) != std::string::npos; });
  }

 private:
  std::string copy(const std::string& text) const {
    std::lock_guard lock(mutex_);
    return text;
  }

  mutable std::mutex mutex_;
  std::condition_variable written_;
  std::deque<std::string> lines_;
  std::string out_, err_, all_;
};

} // namespace kestu
