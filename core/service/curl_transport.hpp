#pragma once

#include "core/service/transport.hpp"

#include <memory>

namespace kestu {

/// HTTP/1.1 and 2 through libcurl. Handles are pooled, so that connections outlive calls and pass between threads.
class CurlTransport final : public Transport {
 public:
  /// Answers over 64 MiB are refused.
  static constexpr std::size_t largestAnswer = 64 * 1024 * 1024;

  explicit CurlTransport(std::size_t answerLimit = largestAnswer);
  ~CurlTransport() override;
  HTTPAnswer send(const HTTPRequest& request, const std::stop_token& stop) override;

 private:
  class Pool;
  std::unique_ptr<Pool> pool_;
  std::size_t answerLimit_;
};

} // namespace kestu
