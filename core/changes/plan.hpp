#pragma once

#include "core/changes/store_job.hpp"
#include "core/support/json.hpp"

#include <optional>
#include <string>

namespace kestu {

/// A change that waits for a decision in the kestu app, or was decided.
struct Plan {
  std::string id; ///< a UUID, in lower case
  std::string state;
  Moment expiresAt;
  std::optional<std::string> error;
  std::optional<JobDetails> details; ///< of what a store job would change
  std::optional<std::string> job;    ///< the store job that it became, a UUID in lower case

  static Plan read(const JSONValue& value);
  bool waits() const { return state == "waiting"; }
};

/// The service's answer to a change.
struct ChangeAnswer {
  std::optional<Plan> plan;
  bool waits = false;
  std::optional<JobDetails> details;
  std::optional<std::string> job; ///< a store job's ID, in lower case

  static ChangeAnswer read(const JSONValue& value);
};

} // namespace kestu
