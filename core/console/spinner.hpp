#pragma once

#include "core/platform/terminal.hpp"
#include "core/support/clock.hpp"

#include <condition_variable>
#include <mutex>
#include <stop_token>
#include <string>
#include <string_view>
#include <thread>

namespace kestu {

/// The line on standard error that moves while the program waits, and the lock that every write goes through, so that
/// nothing lands in the middle of that line. All functions may be called from any thread.
class Spinner {
 public:
  struct Abilities {
    bool spins = false;   ///< frames while the program is busy
    bool redraws = false; ///< a status line drawn in place
  };

  Spinner(Terminal& terminal, Clock& clock, Abilities abilities);
  ~Spinner();
  Spinner(const Spinner&) = delete;
  Spinner& operator=(const Spinner&) = delete;

  const Abilities& abilities() const { return abilities_; }

  /// One call in flight more, or one less. Frames are drawn while there is any.
  void begin();
  void end();

  /// While held, nothing moves; holds nest.
  void hold(bool on);

  /// Writes with the line cleared. It comes back once the text has ended with a line feed.
  void write(Stream stream, std::string_view bytes);

  /// Takes the frames' place, until it is empty again.
  void status(std::string line);

  /// The cursor is at a line's start again, as the user has answered.
  void atLineStart();

 private:
  bool mayDraw() const { return held_ == 0 && !midLine_; }
  bool drawsFrames() const { return busy_ > 0 && status_.empty() && mayDraw(); }
  void erase();
  void drawFrame();
  void drawStatus();
  void run(const std::stop_token& stop);

  Terminal& terminal_;
  Clock& clock_;
  const Abilities abilities_;
  const bool outShows_;
  const bool errShows_;

  std::mutex mutex_; // guards all that follows, and the terminal
  std::condition_variable_any changed_;
  int busy_ = 0;
  int held_ = 0;
  bool midLine_ = false; // a text without its line feed is on the screen
  bool drawn_ = false;   // a frame or the status is on the screen
  std::size_t frame_ = 0;
  std::string status_;
  std::jthread thread_;
};

} // namespace kestu
