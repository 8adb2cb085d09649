#pragma once

#include "core/service/transport.hpp"
#include "core/support/clock.hpp"
#include "core/support/error.hpp"

#include <chrono>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>

namespace kestu {

/// The last answer to a transfer, where that isn't a success.
struct TransferRefusal {
  int status = 0;
  std::optional<std::chrono::seconds> wait; ///< asked for, where it's longer than `retried` waits

  /// Whether another run would meet it too, whatever the address: 400 and 413.
  bool isOfTheFile() const;
  /// Unavailable where a later run may go through: 408, 429, and 500 and above.
  CLIError::Kind kind() const;
  /// For within the brackets of a message: "503", and more where that helps.
  std::string reason() const;
};

/// Makes a transfer, at most three times: any status but 200 to 299, and no answer at all, is a failed attempt, after
/// which it waits 3, then 6 seconds, or what the answer's Retry-After asks for if that lies between the two. A refusal
/// that another try would meet again (400, 401, 403, 404, 410 and 413) ends it at once. Throws what `refused` or
/// `failed` makes of the last attempt. Other errors of the operation, Stopped among them, end it at once.
HTTPAnswer retried(Clock& clock, const std::stop_token& stop, const std::function<HTTPAnswer()>& operation,
                   const std::function<CLIError(const TransferRefusal&)>& refused,
                   const std::function<CLIError(const std::string& description)>& failed);

} // namespace kestu
