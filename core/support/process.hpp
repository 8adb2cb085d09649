#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

namespace kestu {

/// A program to run, without a shell and with nothing on its standard input. It never gets the token or the demo
/// account's password in its environment.
struct ProcessRequest {
  std::vector<std::string> arguments; ///< the program first: a path, or a name that PATH knows
  std::filesystem::path folder{};     ///< where it runs; here when empty
  std::vector<std::pair<std::string, std::string>> environment{}; ///< set beside what this process has
  std::size_t outputLimit = std::size_t{64} << 20U;               ///< bytes of standard output
  std::chrono::milliseconds timeout = std::chrono::seconds(60);
  std::vector<std::string> without{}; ///< variables of this process that it doesn't get
  bool ownSession = false; ///< without this one's terminal, so that it can't ask there, nor gets the keyboard's signals
};

struct ProcessResult {
  enum class End { exited, killed, tooMuchOutput, tooLong };

  End end = End::exited;
  int status = 0;  ///< the exit status, or the signal when it was killed
  std::string out; ///< at most `outputLimit` bytes
  std::string err; ///< at most 64 KiB; what came after is dropped

  bool succeeded() const { return end == End::exited && status == 0; }
};

namespace Process {

/// Runs it to its end, both pipes drained; one that writes or takes too much is killed. Throws std::system_error when
/// it can't be started (no_such_file_or_directory when there is no such program), Stopped when stopped.
ProcessResult run(const ProcessRequest& request, const std::stop_token& stop);

} // namespace Process

} // namespace kestu
