#pragma once

#include "core/service/token.hpp"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kestu {

/// Bytes of a request that are read as they are sent.
struct RequestBody {
  std::uint64_t length = 0;
  /// Fills the buffer with up to `capacity` bytes from `offset` on; may throw, which ends the transfer with that error.
  std::function<std::size_t(std::uint64_t offset, char* buffer, std::size_t capacity)> read;
};

struct HTTPRequest {
  std::string method = "GET";
  std::string url;
  std::vector<std::pair<std::string, std::string>> headers;
  std::optional<Token> token;
  std::optional<RequestBody> body;
  /// Takes the bytes of a successful answer as they come, instead of the answer's `body`; may throw, which ends the
  /// transfer with that error.
  std::function<void(std::string_view)> sink;
  /// The longest the whole exchange may take, or with `idle` the longest that no byte may pass.
  std::chrono::milliseconds timeout = std::chrono::seconds(60);
  bool idle = false;
};

struct HTTPAnswer {
  int status = 0;
  std::map<std::string, std::string> headers; ///< names in lower case
  std::string body;
};

/// No answer came: no network, a time-out, a certificate that is not trusted, an answer too large.
class TransportError : public std::runtime_error {
 public:
  explicit TransportError(const std::string& reason, bool wasSent = true) : std::runtime_error(reason), sent(wasSent) {}

  bool sent; ///< whether the request may have arrived
};

/// Carries requests out. Safe to call from several threads. Redirects are answers, never followed.
class Transport {
 public:
  virtual ~Transport() = default;

  /// Throws TransportError when there is no answer, Stopped as soon as `stop` is triggered.
  virtual HTTPAnswer send(const HTTPRequest& request, const std::stop_token& stop) = 0;
};

} // namespace kestu
