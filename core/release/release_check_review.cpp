#include "core/console/format.hpp"
#include "core/release/release_check.hpp"
#include "core/support/json.hpp"
#include "core/support/text.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace kestu::ReleaseCheck {

Findings contentRights(std::optional<ContentRights> answered, std::optional<ContentRights> repository) {
  if (!answered && !repository) {
    return {{Level::error, "contentrights", std::nullopt,
             "Content Rights isn't answered, and App Review requires it: whether the app uses content of others is "
             "yours to say, with kestu metadata content-rights set --third-party-content yes or no."}};
  }
  if (!repository || answered == repository) return {};
  return {{Level::note,
           "contentrights",
           std::nullopt,
           "Content Rights is answered from metadata/app.json as the listing's pushed.",
           {},
           "metadata/app.json"}};
}

Findings reviewNotes(const ReviewInfo& review) {
  constexpr std::size_t limit = 4000;
  std::size_t count = review.notes ? Text::characters(*review.notes) : 0;
  if (count <= limit) return {};
  return {{Level::error, "review", std::nullopt,
           fmt::format("App Review's notes are {} characters, {} at most.", count, limit)}};
}

Findings review(const ReviewInfo& review, bool hasDemoPassword) {
  Findings findings;
  auto add = [&](Level level, std::string message) {
    findings.push_back({level, "review", std::nullopt, std::move(message)});
  };
  auto isGiven = [](const std::optional<std::string>& value) { return value && !value->empty(); };
  std::vector<std::string> missing;
  if (!isGiven(review.contactFirstName)) missing.emplace_back("first name");
  if (!isGiven(review.contactLastName)) missing.emplace_back("last name");
  if (!isGiven(review.contactPhone)) missing.emplace_back("phone");
  if (!isGiven(review.contactEmail)) missing.emplace_back("email");
  if (!missing.empty()) add(Level::error, "App Review's contact has no " + list(missing) + ".");
  bool needsAccount = review.demoAccountRequired.value_or(false);
  if (needsAccount && !isGiven(review.demoAccountName)) {
    add(Level::error, "App Review needs a demo account, and has no name for it.");
  }
  if (needsAccount && !hasDemoPassword) {
    add(Level::note, "App Review needs a demo account: Apple never gives its password back, so set "
                     "KESTU_REVIEW_DEMO_PASSWORD, or demoAccountPassword in metadata/review.json, to send it.");
  }
  for (Finding& each : reviewNotes(review)) findings.push_back(std::move(each));
  return findings;
}

ReviewTime ReviewTime::read(const JSONValue& value) {
  constexpr double longest = 24 * 365;
  return {std::clamp(value.at("hours").number(), 0.0, longest), value.at("reviews").integer(),
          value.at("days").integer()};
}

Findings reviewTime(const ReviewTimes& times, const std::string& platform) {
  auto found = times.find(platform);
  if (found == times.end()) return {};
  const ReviewTime& time = found->second;
  // From an hour on the minutes would say more than a median can.
  std::int64_t minutes = time.hours < 1 ? std::llround(time.hours * 60) : std::llround(time.hours) * 60;
  auto counted = [](std::int64_t count, std::string_view unit) {
    return fmt::format("{} {}{}", Format::number(count), unit, count == 1 ? "" : "s");
  };
  return {
      {Level::note, "reviewtime", std::nullopt,
       fmt::format("App Review on {} takes about {} now (the median of {} in the last {}).", platformLabel(platform),
                   Format::minutes(minutes), counted(time.reviews, "review"), counted(time.days, "day"))}};
}

} // namespace kestu::ReleaseCheck
