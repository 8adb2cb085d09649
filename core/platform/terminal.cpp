#include "core/platform/terminal.hpp"

#include "core/support/environment.hpp"
#include "core/support/error.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <unistd.h>

namespace kestu {

namespace {

int descriptorOf(Stream stream) {
  switch (stream) {
  case Stream::in:
    return STDIN_FILENO;
  case Stream::out:
    return STDOUT_FILENO;
  case Stream::err:
    return STDERR_FILENO;
  }
  return -1;
}

std::optional<int> columnsOf(int descriptor) {
  winsize size{};
  if (ioctl(descriptor, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return std::nullopt;
  return size.ws_col;
}

/// A pipe that a stop makes readable, for a poll that must end with it.
class StopPipe {
 public:
  explicit StopPipe(const std::stop_token& stop) : ends_(made()), onStop_(std::in_place, stop, Wake{ends_[1]}) {}
  StopPipe(const StopPipe&) = delete;
  StopPipe& operator=(const StopPipe&) = delete;
  ~StopPipe() {
    onStop_.reset(); // a stop from now on must not write to a closed descriptor
    close(ends_[0]);
    close(ends_[1]);
  }
  int readable() const { return ends_[0]; }

 private:
  struct Wake {
    int descriptor;
    void operator()() const { [[maybe_unused]] ssize_t written = ::write(descriptor, "", 1); }
  };
  static std::array<int, 2> made() {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) throw std::system_error(errno, std::generic_category(), "pipe");
    if (std::max(ends[0], ends[1]) >= FD_SETSIZE) {
      for (int end : ends) close(end);
      throw std::system_error(EMFILE, std::generic_category(), "pipe");
    }
    for (int end : ends) fcntl(end, F_SETFD, FD_CLOEXEC);
    return ends;
  }

  std::array<int, 2> ends_;
  std::optional<std::stop_callback<Wake>> onStop_;
};

/// Waits until standard input has something to read, or ends.
void awaitInput(const StopPipe& stopping, const std::stop_token& stop) {
  // Not poll, which on macOS fails for terminals.
  while (!stop.stop_requested()) {
    fd_set waited;
    FD_ZERO(&waited);
    for (int descriptor : {STDIN_FILENO, stopping.readable()}) FD_SET(descriptor, &waited);
    int ready = select(stopping.readable() + 1, &waited, nullptr, nullptr, nullptr);
    if (ready < 0 && errno != EINTR) throw std::system_error(errno, std::generic_category(), "select");
    if (ready > 0 && !FD_ISSET(stopping.readable(), &waited)) return;
  }
  throw Stopped();
}

/// A descriptor that doesn't block, because another process made it so, has no room right now.
void awaitRoom(int descriptor) {
  fd_set waited;
  FD_ZERO(&waited);
  FD_SET(descriptor, &waited);
  select(descriptor + 1, nullptr, &waited, nullptr, nullptr);
}

} // namespace

bool SystemTerminal::isTerminal(Stream stream) const { return isatty(descriptorOf(stream)) == 1; }

std::optional<int> SystemTerminal::columns() const {
  auto columns = columnsOf(STDOUT_FILENO);
  return columns ? columns : columnsOf(STDERR_FILENO);
}

std::optional<int> SystemTerminal::rows() const {
  winsize size{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_row == 0) return std::nullopt;
  return size.ws_row;
}

void SystemTerminal::write(Stream stream, std::string_view bytes) {
  int descriptor = descriptorOf(stream);
  while (!bytes.empty()) {
    ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
    if (written >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
      awaitRoom(descriptor);
    } else if (errno != EINTR) {
      if (stream == Stream::err) return;
      if (errno == EPIPE) throw BrokenPipe();
      throw std::system_error(errno, std::generic_category(), "standard output");
    }
  }
}

std::optional<std::string> SystemTerminal::readLine(const std::stop_token& stop) {
  StopPipe stopping(stop);
  std::size_t end = unread_.find('\n');
  while (end == std::string::npos) {
    awaitInput(stopping, stop);
    std::array<char, 4096> buffer;
    ssize_t count = ::read(STDIN_FILENO, buffer.data(), buffer.size());
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) continue;
    if (count <= 0) {
      if (unread_.empty()) return std::nullopt;
      return std::exchange(unread_, {});
    }
    unread_.append(buffer.data(), static_cast<std::size_t>(count));
    end = unread_.find('\n');
  }
  std::string line = unread_.substr(0, end);
  unread_.erase(0, end + 1);
  return line;
}

std::optional<int> columnsGiven(const Environment& environment) {
  std::string variable = environment.get("COLUMNS").value_or("");
  std::string_view text = variable;
  if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
  int number = 0;
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

int terminalWidth(const Terminal& terminal, std::optional<int> given) {
  if (terminal.isTerminal(Stream::out)) {
    if (auto columns = terminal.columns()) return *columns;
  }
  return given.value_or(80);
}

} // namespace kestu
