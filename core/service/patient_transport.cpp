#include "core/service/patient_transport.hpp"

#include "core/console/printable.hpp"
#include "core/service/refusal.hpp"

namespace kestu {

using namespace std::chrono_literals;

HTTPAnswer PatientTransport::send(const HTTPRequest& request, const std::stop_token& stop) {
  while (true) {
    try {
      HTTPAnswer answer = transport_.send(request, stop);
      Refusal refusal = Refusal::read(answer.body);
      bool passes = answer.status >= 500 || refusal.isRush(answer.status);
      if (!passes || !goesOn(refusal.trouble(answer.status), stop)) return answer;
    } catch (const TransportError& failure) {
      if (!goesOn("Couldn't reach kestu: " + printable(failure.what()), stop)) throw;
    }
  }
}

/// Sleeps, unless the time is up.
bool PatientTransport::goesOn(const std::string& reason, const std::stop_token& stop) {
  constexpr auto pause = 5s;
  if (clock_.continuous() + pause > deadline_) return false;
  if (!told_) trouble_(reason);
  told_ = true;
  clock_.sleep(pause, stop);
  return true;
}

} // namespace kestu
