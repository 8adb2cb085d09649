#pragma once

#include "core/changes/change_flow.hpp"

#include <functional>
#include <string>

namespace kestu::ChangeFlow {

/// `send`, not as a dry run, of a change that something has to be sent along with: `answered` is called with the
/// answer's body before the wait.
Response<ChangeAnswer> sendAccompanied(const Client& client, const ChangeRequest& request, bool wait,
                                       const std::function<void(const Plan&)>& waiting,
                                       const std::function<void(const std::string& body)>& answered);

} // namespace kestu::ChangeFlow
