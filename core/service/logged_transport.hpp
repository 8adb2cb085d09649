#pragma once

#include "core/console/console.hpp"
#include "core/service/transport.hpp"
#include "core/support/clock.hpp"

namespace kestu {

/// Tells each exchange of another transport on standard error, a line each as it ends: method, address without its
/// query (an upload's is signed), status or what went wrong, time, bytes, the service's name for the request. Never a
/// header of the request, never a body.
class LoggedTransport final : public Transport {
 public:
  /// All three outlive it.
  LoggedTransport(Transport& transport, Console& console, const Clock& clock)
      : transport_(transport), console_(console), clock_(clock) {}
  HTTPAnswer send(const HTTPRequest& request, const std::stop_token& stop) override;

  /// Whether KESTU_DEBUG asks for it: set, and neither empty nor 0.
  static bool isAsked(const Environment& environment);

 private:
  Transport& transport_;
  Console& console_;
  const Clock& clock_;
};

} // namespace kestu
