#pragma once

#include "core/service/transport.hpp"
#include "core/support/clock.hpp"
#include "core/support/error.hpp"

#include <functional>
#include <stop_token>
#include <string>

namespace kestu {

/// Makes a transfer, at most three times: any status but 200 to 299, and no answer at all, is a failed attempt, after
/// which it waits 3, then 6 seconds, or what the answer's Retry-After asks for if that lies between the two. A refusal
/// that another try would meet again (400, 401, 403, 404, 410 and 413) ends it at once. Throws what `refused` or
/// `failed` makes of the last attempt. Other errors of the operation, Stopped among them, end it at once.
HTTPAnswer retried(Clock& clock, const std::stop_token& stop, const std::function<HTTPAnswer()>& operation,
                   const std::function<CLIError(int status)>& refused,
                   const std::function<CLIError(const std::string& description)>& failed);

/// Why a transfer was refused, for within the brackets of a message: "503", or more where a new address would help.
std::string refusalReason(int status);

} // namespace kestu
