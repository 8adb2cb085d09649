#pragma once

#include "core/changes/plan.hpp"
#include "core/service/client.hpp"

#include <functional>
#include <optional>
#include <string>

namespace kestu {

struct ChangeRequest {
  std::string method = "POST";
  std::string path;
  Query query;
  std::optional<std::string> body;     ///< JSON
  std::optional<std::string> secret{}; ///< a password in the body, which is blotted out wherever the service echoes it
};

namespace ChangeFlow {

/// Before anything is sent: with `yes` nothing is asked; otherwise the lines are shown and the question put, where
/// there is somebody to put it to. No is a CLIError of kind denied, nobody to ask one of kind unconfirmed.
struct Confirmation {
  bool yes = false;
  bool waits = true; ///< whether the change waits for approval
};
void confirm(const Confirmation& confirmation, const std::string& lines, Console& console, const std::stop_token& stop);

/// Sends the change. With `wait`, a plan that waits is polled until it is decided, after one call of `waiting`; a stop
/// then tells that the change still waits. Every decision but "applied" is a CLIError, also one that the first answer
/// brings.
Response<ChangeAnswer> send(const Client& client, const ChangeRequest& request, bool dryRun, bool wait,
                            const std::function<void(const Plan&)>& waiting);

/// What a decided plan that was not applied means.
CLIError outcome(const Plan& plan);

} // namespace ChangeFlow

} // namespace kestu
