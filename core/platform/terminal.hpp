#pragma once

#include <exception>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>

namespace kestu {

class Environment;

enum class Stream { in, out, err };

/// Whoever read standard output has gone. The program then ends quietly, as SIGPIPE would end it.
class BrokenPipe final : public std::exception {
 public:
  const char* what() const noexcept override { return "broken pipe"; }
};

/// The three standard streams; tests put a made-up one in their place.
class Terminal {
 public:
  virtual ~Terminal() = default;

  virtual bool isTerminal(Stream stream) const = 0;

  /// The window's columns, always above 0; none when there is no window or the system doesn't say.
  virtual std::optional<int> columns() const = 0;

  /// The window's lines, likewise.
  virtual std::optional<int> rows() const { return std::nullopt; }

  /// Writes all the bytes. Throws BrokenPipe, or std::system_error, for standard output; what standard error doesn't
  /// take is lost, as there is nowhere left to tell of it.
  virtual void write(Stream stream, std::string_view bytes) = 0;

  /// The next line of standard input without its line feed, none at the end. Throws Stopped.
  virtual std::optional<std::string> readLine(const std::stop_token& stop) = 0;
};

class SystemTerminal final : public Terminal {
 public:
  bool isTerminal(Stream stream) const override;
  std::optional<int> columns() const override;
  std::optional<int> rows() const override;
  void write(Stream stream, std::string_view bytes) override;
  std::optional<std::string> readLine(const std::stop_token& stop) override;

 private:
  std::string unread_;
};

/// The integer value of COLUMNS, when it parses.
std::optional<int> columnsGiven(const Environment& environment);

/// Columns for what is written to standard output: the window's, else those given (COLUMNS), else 80.
int terminalWidth(const Terminal& terminal, std::optional<int> given);

} // namespace kestu
