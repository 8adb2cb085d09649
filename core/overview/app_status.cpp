#include "core/overview/app_status.hpp"

#include "core/builds/build_number.hpp"
#include "core/builds/build_reference.hpp"
#include "core/console/format.hpp"
#include "core/release/versions.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

namespace kestu {

namespace {

AppStatus::OnPlatform readPlatform(const JSONValue& value) {
  return {value.at("platform").text(), value.find("live", StoreVersion::read), value.find("next", StoreVersion::read),
          value.find("build", ManagedBuild::read), value.find("submittedAt", &JSONValue::moment)};
}

AppStatus::Rating readRating(const JSONValue& value) {
  return {value.at("average").number(), value.at("count").integer()};
}

AppStatus::Reviews readReviews(const JSONValue& value) {
  return {value.at("unread").integer(), value.at("recent").integer(), value.at("days").integer()};
}

AppStatus::Rank readRank(const JSONValue& value) {
  auto place = [](const JSONValue& each) { return std::max<std::int64_t>(0, each.integer()); };
  return {value.at("storefront").text(), value.at("chart").text(), value.at("category").text(), place(value.at("rank")),
          value.find("before", place)};
}

AppStatus::WaitingPlan readWaiting(const JSONValue& value) {
  return {Plan::read(value.at("plan")), value.at("title").text()};
}

AppStatus::RunningJob readJob(const JSONValue& value) {
  return {value.at("id").text(), value.at("group").text(), StoreJob::read(value.at("job"))};
}

/// The states in which a version stands still until its maker does something, the most pressing first; where a phased
/// release stands still is between those that Apple has spoken on and those that were never sent.
constexpr std::string_view pausedRelease = "paused";
constexpr std::array<std::string_view, 8> waitForMaker = {
    "pendingdeveloperrelease", "rejected",       "metadatarejected",     "invalidbinary", pausedRelease,
    "developerrejected",       "readyforreview", "prepareforsubmission",
};

} // namespace

AppStatus AppStatus::read(const JSONValue& value) {
  AppStatus status;
  status.app = App::read(value.at("app"));
  status.platforms = value.listAt("platforms", readPlatform);
  status.rating = value.find("rating", readRating);
  status.reviews = value.find("reviews", readReviews);
  status.ranks = value.listAt("ranks", readRank);
  status.waiting = value.listAt("waiting", readWaiting);
  status.jobs = value.listAt("jobs", readJob);
  return status;
}

std::string AppStatus::nextCommand(const std::string& ofApp) const {
  auto first = std::find_if(kestu::platforms.begin(), kestu::platforms.end(), [&](std::string_view word) {
    return std::any_of(platforms.begin(), platforms.end(), [&](const auto& on) { return on.platform == word; });
  });
  auto tail = [&](const OnPlatform& on) {
    bool isFirst = first != kestu::platforms.end() && on.platform == *first;
    return Versions::CommandTail{isFirst ? "" : " --platform " + Format::shellWord(on.platform), ofApp};
  };
  for (std::string_view state : waitForMaker) {
    for (const OnPlatform& on : platforms) {
      if (state == pausedRelease && on.live && on.live->phasedState == state) {
        return "kestu release phased resume" + tail(on).all();
      }
      // A build that nothing but an answer keeps from going on comes before what goes with it.
      bool goesWith = on.next && on.next->state == state && on.next->takesUpdate() &&
                      (!on.next->build || !on.build || on.next->build->buildId == on.build->buildId);
      if (goesWith && on.build && on.build->canDeclareExempt) {
        return "kestu builds compliance " + BuildReference::of(*on.build).word() + " --platform " +
               Format::shellWord(on.platform) + ofApp;
      }
      if (on.next && on.next->state == state) return Versions::nextCommand(*on.next, tail(on));
    }
  }
  for (const RunningJob& job : jobs) {
    if (job.group == "prices") return "kestu prices status " + Format::shellWord(job.id) + ofApp;
    if (job.group == "intro-offers") return "kestu intro-offers status " + Format::shellWord(job.id) + ofApp;
  }
  for (const OnPlatform& on : platforms) {
    if (!on.live || on.next) continue;
    return "kestu versions create " + Format::shellWord(BuildNumber::next({on.live->version})) + tail(on).all();
  }
  bool any = std::any_of(platforms.begin(), platforms.end(), [](const auto& on) { return on.live || on.next; });
  return (any ? "kestu builds list" : "kestu versions create 1.0") + ofApp;
}

} // namespace kestu
