#pragma once

#include <string>
#include <vector>

#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>
#if __has_include(<pty.h>)
#include <pty.h>
#else
#include <util.h>
#endif

namespace kestu::tests {

/// A program at a pseudo-terminal of 24 rows and 80 columns, typed to as a person types.
class ShellSession {
 public:
  ShellSession(std::vector<std::string> words, std::vector<std::string> variables, const std::string& folder) {
    winsize size{24, 80, 0, 0};
    process_ = forkpty(&terminal_, nullptr, nullptr, &size);
    if (process_ != 0) return;
    std::vector<char*> arguments, environment;
    for (std::string& word : words) arguments.push_back(word.data());
    for (std::string& variable : variables) environment.push_back(variable.data());
    arguments.push_back(nullptr);
    environment.push_back(nullptr);
    if (chdir(folder.c_str()) == 0) execve(arguments[0], arguments.data(), environment.data());
    _exit(127);
  }
  ~ShellSession() {
    close(terminal_);
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
  }
  ShellSession(const ShellSession&) = delete;
  ShellSession& operator=(const ShellSession&) = delete;

  /// Types the keys; what is shown counts from then on.
  void type(const std::string& keys) {
    shown_.clear();
    for (std::size_t at = 0; at < keys.size();) {
      ssize_t count = write(terminal_, keys.data() + at, keys.size() - at);
      if (count <= 0) return;
      at += static_cast<std::size_t>(count);
    }
  }

  /// Whether the text comes, control sequences left out, before the program is silent for 20 seconds.
  bool shows(const std::string& text) {
    while (shown_.find(text) == std::string::npos) {
      pollfd waiting{terminal_, POLLIN, 0};
      if (poll(&waiting, 1, 20'000) <= 0) return false;
      char buffer[4096];
      ssize_t count = read(terminal_, buffer, sizeof buffer);
      if (count <= 0) return false;
      take(std::string(buffer, static_cast<std::size_t>(count)));
    }
    return true;
  }
  const std::string& shown() const { return shown_; }

 private:
  void take(const std::string& bytes) {
    for (char c : bytes) {
      if (c == '\x1b') {
        inSequence_ = true;
      } else if (inSequence_) {
        // "ESC [ … letter", or two characters.
        if (c != '[' && c != '?' && c != ';' && (c < '0' || c > '9')) inSequence_ = false;
      } else if (c != '\a' && c != '\0') {
        shown_ += c;
      }
    }
  }

  int terminal_ = -1;
  pid_t process_ = -1;
  std::string shown_;
  bool inSequence_ = false;
};

} // namespace kestu::tests
