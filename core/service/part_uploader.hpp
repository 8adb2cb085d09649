#pragma once

#include "core/service/transport.hpp"
#include "core/support/clock.hpp"
#include "core/support/json.hpp"

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

namespace kestu {

/// A byte range of a file, and the request that carries it to Apple.
struct UploadPart {
  std::string method;
  std::string url;
  std::int64_t offset = 0; ///< bytes
  std::int64_t length = 0; ///< bytes
  std::vector<std::pair<std::string, std::string>> headers;

  /// Throws JSONError, for a range that no file has, too.
  static UploadPart read(const JSONValue& value);

  /// Whether the parts, in whatever order, cover a file of so many bytes once and whole.
  static bool areWhole(const std::vector<UploadPart>& parts, std::int64_t size);
};

/// Sends a file's parts straight from the file, each read at its own offset through a handle of its own.
class PartUploader {
 public:
  using Progress = std::function<void(int partsDone, int partsInAll)>;

  /// Bytes handed to the network since the last call; below zero when a part failed and is sent again. Called from any
  /// thread.
  using Moved = std::function<void(std::int64_t bytes)>;

  /// The sentence that ends the message when a part isn't taken.
  struct Advice {
    std::string again;     ///< where another run may do
    std::string ofTheFile; ///< where Apple refuses the file
  };

  PartUploader(Transport& transport, Clock& clock,
               Advice advice = {"Nothing was changed; run it again.", "Nothing was changed."})
      : transport_(transport), clock_(clock), advice_(std::move(advice)) {}

  /// At most `atOnce` parts at a time, and none unless they cover the file once and whole. `progress` is called after
  /// each part, one call at a time. Throws a CLIError when a part is refused for good or the file changed, after
  /// stopping the parts in flight.
  void send(const std::filesystem::path& file, const std::vector<UploadPart>& parts, int atOnce,
            const std::stop_token& stop, const Progress& progress, const Moved& moved = {}) const;

 private:
  void sendPart(const std::filesystem::path& file, const UploadPart& part, const std::atomic<int>& done,
                const Moved& moved, const std::stop_token& stop) const;

  Transport& transport_;
  Clock& clock_;
  Advice advice_;
};

} // namespace kestu
