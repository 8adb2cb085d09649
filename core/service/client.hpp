#pragma once

#include "core/console/console.hpp"
#include "core/service/announced_version.hpp"
#include "core/service/api_url.hpp"
#include "core/service/refusal.hpp"
#include "core/service/transport.hpp"
#include "core/support/clock.hpp"
#include "core/support/json.hpp"
#include "core/support/json_data.hpp"

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace kestu {

/// A decoded answer, and its bytes for output that is the service's own JSON.
template <class T>
struct Response {
  T value;
  std::string body;
};

/// No answer came to a call that was sent: what it did isn't known.
class AnswerLost : public CLIError {
 public:
  using CLIError::CLIError;
};

/// What every call needs; outlives the clients made from it.
struct ServiceContext {
  Transport& transport;
  Clock& clock;
  Console& console;
  AnnouncedVersion& announced;
  std::stop_token stop;
};

/// The Kestu service. A plain value, cheap to copy; calls may run from several threads.
class Client {
 public:
  /// The query item that asks for a plan without acting.
  static const std::pair<std::string, std::string> dryRun;

  Client(ServiceContext context, APIURL base, std::optional<Token> token)
      : context_(std::move(context)), base_(std::move(base)), token_(std::move(token)) {}

  /// GET, the answer through `read` (a function from JSONValue that may throw JSONError).
  template <class Read>
  auto get(std::string_view path, const Query& query, Read read) const {
    return decoded(send("GET", path, query, std::nullopt), read);
  }

  template <class Read>
  auto post(std::string_view path, const Query& query, const JSONData& body, Read read) const {
    return decoded(send("POST", path, query, body.compact()), read);
  }

  /// POST without a body; the answer only has to be successful.
  void post(std::string_view path) const;

  /// Any method, the answer not judged. No answer throws a CLIError of kind unavailable: AnswerLost when the call may
  /// have arrived.
  HTTPAnswer send(std::string_view method, std::string_view path, const Query& query,
                  const std::optional<std::string>& json) const;
  HTTPAnswer send(std::string_view method, std::string_view path, const Query& query, const std::string& raw,
                  std::string_view contentType) const;

  /// The body of a status from 200 to 299; throws what any other means.
  std::string checked(HTTPAnswer answer) const;
  CLIError error(int status, std::string_view body) const;

  /// `checked`, then decoded; what does not decode throws notUnderstood().
  template <class Read>
  auto decoded(HTTPAnswer answer, Read read) const {
    std::string body = checked(std::move(answer));
    try {
      auto value = std::invoke(read, JSONValue::parse(body));
      return Response<decltype(value)>{std::move(value), std::move(body)};
    } catch (const JSONError&) {
      throw notUnderstood();
    }
  }

  /// The same for a last call after a stop, which ends at its time limit alone.
  Client unstopped() const;

  /// The same over another transport, which outlives it.
  Client through(Transport& transport) const;

  const ServiceContext& context() const { return context_; }
  const APIURL& base() const { return base_; }

 private:
  HTTPAnswer perform(HTTPRequest request) const;

  ServiceContext context_;
  APIURL base_;
  std::optional<Token> token_;
};

/// A request body whose bytes are held in memory.
RequestBody bodyOf(std::string bytes);

} // namespace kestu
