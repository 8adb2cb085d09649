#pragma once

#include "core/release/versions.hpp"

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestu {

/// How a version is released, in words: "releases in phases, once approved". The type is "manual", "afterapproval" or
/// "scheduled", with its moment.
std::string releaseText(const std::optional<std::string>& type, const std::optional<Moment>& earliest, bool phased,
                        Moment now);

namespace Phased {

enum class Action { pause, resume, complete };

struct ActionFacts {
  Action action;
  std::string_view word;
  std::string_view done; ///< "Paused"
  bool waits;            ///< for approval, since more users get it at once
};

const std::array<ActionFacts, 3>& actions();
const ActionFacts& facts(Action action);

/// How far a phased release has come: "in phases, day 3 of 7"; empty where there is none.
std::string text(const StoreVersion& version);

struct Target {
  const StoreVersion* version;
  bool already = false; ///< it is as the action would make it
};

/// The platform's version that the action is for. A CLIError where none is out in phases.
Target target(const std::vector<StoreVersion>& all, const std::string& platform, Action action);

} // namespace Phased

} // namespace kestu
