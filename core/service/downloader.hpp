#pragma once

#include "core/service/transport.hpp"
#include "core/support/clock.hpp"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>

namespace kestu {

/// A file to be fetched, and how to tell that it came whole.
struct Download {
  std::string url;
  std::string name; ///< in messages, as it is
  std::uint64_t size = 0;
  std::optional<std::string> md5;
};

/// Fetches files straight from where they are stored, without the sign-in's token.
class Downloader {
 public:
  /// Bytes that came since the last call; below zero when an attempt failed and begins anew. Called from any thread.
  using Progress = std::function<void(std::int64_t bytes)>;

  Downloader(Transport& transport, Clock& clock) : transport_(transport), clock_(clock) {}

  /// Fetches it into a hidden file beside the target. Once its size and checksum are right, `ready` is told its
  /// checksum and the file becomes the target; with `replacing` it takes the place of what is there. Tried three times,
  /// unless it is refused for good.
  /// Throws CLIError, std::system_error and Stopped.
  void fetch(const Download& download, const std::filesystem::path& target, bool replacing,
             const std::function<void(const std::string& md5)>& ready, const Progress& progress,
             const std::stop_token& stop) const;

 private:
  Transport& transport_;
  Clock& clock_;
};

} // namespace kestu
