#pragma once

#include "core/service/transport.hpp"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

namespace kestu {

class Environment;

/// Whose certificates are trusted in place of the system's: a file of them, a folder of them; empty for the system's.
struct Certificates {
  std::string file;
  std::string folder;

  /// As curl's own program reads the environment: CURL_CA_BUNDLE, else SSL_CERT_FILE and SSL_CERT_DIR.
  static Certificates from(const Environment& environment);
};

/// HTTP/1.1 and 2 through libcurl. Handles are pooled, so that connections outlive calls and pass between threads.
/// Proxies are those of the environment (HTTPS_PROXY, ALL_PROXY, NO_PROXY), which libcurl reads; plain HTTP goes to
/// none.
class CurlTransport final : public Transport {
 public:
  /// Answers over 64 MiB are refused.
  static constexpr std::size_t largestAnswer = 64 * 1024 * 1024;

  /// No request takes longer than `longest`, whatever it says.
  explicit CurlTransport(Certificates certificates = {}, std::size_t answerLimit = largestAnswer,
                         std::chrono::milliseconds longest = std::chrono::milliseconds::max());
  ~CurlTransport() override;
  HTTPAnswer send(const HTTPRequest& request, const std::stop_token& stop) override;

 private:
  class Pool;
  std::unique_ptr<Pool> pool_;
  Certificates certificates_;
  std::atomic<bool> wholeFile_ = false; ///< the folder of the system's certificates lacked one
  std::size_t answerLimit_;
  std::chrono::milliseconds longest_;
};

} // namespace kestu
