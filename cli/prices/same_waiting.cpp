#include "cli/context.hpp"
#include "cli/prices/prices.hpp"
#include "core/console/format.hpp"
#include "core/console/text_style.hpp"
#include "core/support/json_data.hpp"

#include <utility>

namespace kestu {

namespace {

std::string detailsOf(const JSONValue& answer) {
  auto details = answer.find("details");
  return details ? JSONData::copied(*details).compact() : "";
}

std::pair<Plan, std::string> readWaiting(const JSONValue& value) {
  JSONValue plan = value.at("plan");
  return {Plan::read(plan), detailsOf(plan)};
}

} // namespace

void noteSameWaiting(const Context& context, const Client& client, const std::string& appPath,
                     const std::string& planned, ProposedChange& change) {
  std::string wanted = detailsOf(JSONValue::parse(planned));
  if (wanted.empty()) return;
  try {
    auto waiting = context.console.during([&] {
      return client.get(appPath + "/status", {},
                        [](const JSONValue& status) { return status.listAt("waiting", readWaiting); });
    });
    change.lookedForSame = true;
    for (const auto& [plan, details] : waiting.value) {
      if (!plan.waits() || details != wanted) continue;
      std::string note = "! The same change waits for your approval already, until " +
                         Format::moment(plan.expiresAt, context.clock.now()) + ": this would be a second one.";
      change.lines += (change.lines.empty() ? "" : "\n") + TextStyle::wrap(note, context.console.width());
      return;
    }
  } catch (const CLIError&) {
    return; // it helps, but nothing depends on it
  }
}

} // namespace kestu
