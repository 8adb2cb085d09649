#pragma once

#include "core/service/transport.hpp"
#include "core/support/clock.hpp"

#include <chrono>
#include <functional>
#include <string>
#include <utility>

namespace kestu {

/// Another transport, tried again every five seconds while there is no answer, or one that passes by itself: the
/// service down for a moment, or a rush of calls. For calls that only look.
class PatientTransport final : public Transport {
 public:
  /// As long as a wait goes on without an answer of use.
  static constexpr std::chrono::minutes longestOutage{5};

  /// `trouble` hears once why it goes on; after `longest` the last outcome stands. All outlive it.
  PatientTransport(Transport& transport, Clock& clock, std::chrono::nanoseconds longest,
                   std::function<void(const std::string& reason)> trouble)
      : transport_(transport), clock_(clock), deadline_(clock.continuous() + longest), trouble_(std::move(trouble)) {}
  HTTPAnswer send(const HTTPRequest& request, const std::stop_token& stop) override;

 private:
  bool goesOn(const std::string& reason, const std::stop_token& stop);

  Transport& transport_;
  Clock& clock_;
  const std::chrono::nanoseconds deadline_;
  const std::function<void(const std::string&)> trouble_;
  bool told_ = false;
};

} // namespace kestu
