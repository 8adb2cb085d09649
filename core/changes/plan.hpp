#pragma once

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

  static Plan read(const JSONValue& value);
  bool waits() const { return state == "waiting"; }
};

/// The service's answer to a change.
struct ChangeAnswer {
  std::optional<Plan> plan;
  bool waits = false;

  static ChangeAnswer read(const JSONValue& value);
};

} // namespace kestu
