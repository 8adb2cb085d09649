#pragma once

#include "core/builds/managed_build.hpp"
#include "core/changes/plan.hpp"
#include "core/changes/store_job.hpp"
#include "core/console/text_style.hpp"
#include "core/listing/store_version.hpp"
#include "core/project/app_choice.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kestu {

/// One app at a glance, as the service has it.
struct AppStatus {
  struct OnPlatform {
    std::string platform;
    std::optional<StoreVersion> live{}; ///< on the App Store
    std::optional<StoreVersion> next{}; ///< on its way there
    std::optional<ManagedBuild> build{};
    std::optional<Moment> submittedAt{};
  };
  struct Rating {
    double average = 0; ///< of 5
    std::int64_t count = 0;
  };
  struct Reviews {
    std::int64_t unread = 0;
    std::int64_t recent = 0; ///< in the last so many days
    std::int64_t days = 0;
  };
  struct Rank {
    std::string storefront;
    std::string chart; ///< "free", "paid" or "grossing"
    std::string category;
    std::int64_t rank = 0;
    std::optional<std::int64_t> before{};
  };
  struct WaitingPlan {
    Plan plan;
    std::string title;
  };
  struct RunningJob {
    std::string id;
    std::string group; ///< "prices", "intro-offers" or "availability"
    StoreJob job;
  };

  App app;
  std::vector<OnPlatform> platforms{};
  std::optional<Rating> rating{};
  std::optional<Reviews> reviews{};
  std::vector<Rank> ranks{};
  std::vector<WaitingPlan> waiting{};
  std::vector<RunningJob> jobs{};

  static AppStatus read(const JSONValue& value);

  /// The command that gets on most: one that somebody waits for before one that begins something. `ofApp` names the app
  /// in it (" --app Ledger"), mostly empty.
  std::string nextCommand(const std::string& ofApp) const;

  /// The page for people, without the next command. Lines are folded to the width where there is one.
  std::string text(std::optional<int> width, const TextStyles& style, Moment now) const;
};

} // namespace kestu
