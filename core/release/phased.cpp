#include "core/release/phased.hpp"

#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/project/platform.hpp"

#include <algorithm>

namespace kestu {

std::string releaseText(const std::optional<std::string>& type, const std::optional<Moment>& earliest, bool phased,
                        Moment now) {
  std::string text = phased ? "releases in phases" : "releases to everyone at once";
  if (type == "manual") return text + ", when you say so";
  if (type == "afterapproval") return text + ", once approved";
  if (type == "scheduled") {
    return text + ", once approved" + (earliest ? ", from " + Format::moment(*earliest, now) + " on" : "");
  }
  return type ? text + ", " + printable(*type) : text;
}

namespace Phased {

const std::array<ActionFacts, 3>& actions() {
  static constexpr std::array<ActionFacts, 3> all = {{
      {Action::pause, "pause", "Paused", false},
      {Action::resume, "resume", "Resumed", true},
      {Action::complete, "complete", "Completed", true},
  }};
  return all;
}

const ActionFacts& facts(Action action) { return actions().at(static_cast<std::size_t>(action)); }

std::string text(const StoreVersion& version) {
  if (!version.phased || !version.isOut()) return "";
  std::string day = version.phasedDay ? "day " + std::to_string(*version.phasedDay) + " of 7" : "";
  if (version.phasedState == "active") return "in phases" + (day.empty() ? "" : ", " + day);
  if (version.phasedState == "paused") return "phased release paused" + (day.empty() ? "" : " on " + day);
  if (version.phasedState == "complete") return "to everyone, its phased release complete";
  return "";
}

Target target(const std::vector<StoreVersion>& all, const std::string& platform, Action action) {
  const StoreVersion* live = nullptr;
  const StoreVersion* next = nullptr;
  for (const StoreVersion& each : all) {
    if (each.platform != platform) continue;
    if (each.state == "readyfordistribution" && !live) live = &each;
    if (!each.isOut() && !next) next = &each;
  }
  const std::optional<std::string> state = live && live->phased ? live->phasedState : std::nullopt;
  if (state == "active" || state == "paused") {
    return {live, action == Action::pause ? state == "paused" : action == Action::resume && state == "active"};
  }
  if (state == "complete" && action == Action::complete) return {live, true};
  std::string message = "No " + platformLabel(platform) + " version is out in phases now.";
  if (state == "complete") {
    message += " " + live->number() + "'s phased release is complete.";
  } else if (live) {
    message += " " + live->number() + " is on the App Store for everyone.";
  }
  if (next && next->phased) {
    message += " " + next->number() + " (" + next->stateText() + ") releases in phases once it's out.";
  }
  throw CLIError(live || next ? CLIError::Kind::failed : CLIError::Kind::notFound, message);
}

} // namespace Phased

} // namespace kestu
