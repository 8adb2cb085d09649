#pragma once

#include "core/project/platform.hpp"
#include "core/service/client.hpp"
#include "core/support/clock.hpp"

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestu {

/// Where a build is on its way to testers. `other` is a state that this version doesn't know.
enum class BuildState {
  uploading,
  processing,
  failed,
  invalid,
  missingCompliance,
  readyForInternal,
  waitingForBetaReview,
  inBetaReview,
  betaRejected,
  readyForExternal,
  expired,
  other,
};

struct BuildStateFacts {
  BuildState state;
  std::string_view raw;   ///< the service's word
  std::string_view label; ///< for people
  bool processed;         ///< Apple has made up its mind about the file
  bool testable;          ///< testers, at least internal ones, can install it
};

/// Of the service's word; one that it doesn't know is taken as processed.
const BuildStateFacts& buildStateFacts(std::string_view raw);

/// One TestFlight build, as the service has it.
struct ManagedBuild {
  std::string buildId;
  std::string platform;
  std::optional<std::string> version;
  std::string number;
  Moment uploadedAt;
  Moment expiresAt; ///< when TestFlight stops offering it
  std::string state;
  bool upload = false; ///< still an upload
  std::optional<std::string> uploadError;
  bool stuck = false; ///< processing has stalled
  bool canSubmit = false;
  bool canDeclareExempt = false;
  std::vector<std::string> groupIds;

  static ManagedBuild read(const JSONValue& value);

  BuildState stateKind() const { return buildStateFacts(state).state; }
  bool processed() const { return buildStateFacts(state).processed; }
  bool testable() const { return buildStateFacts(state).testable; }

  /// "1.2 (45)", or "45" without a version; printable.
  std::string text() const;

  /// "1.2 (45) for iOS"
  std::string described() const { return text() + " for " + platformLabel(platform); }

  /// Its state in words: "ready for internal testers", "Apple couldn't process it: …"; printable.
  std::string stateText() const;
};

struct BuildGroup {
  std::string groupId;
  std::optional<std::string> name;
  bool internal = false;
  bool kestu = false; ///< made by kestu

  static BuildGroup read(const JSONValue& value);
};

/// The builds of an app, the newest first, and its groups.
struct TestFlightBuilds {
  std::vector<ManagedBuild> builds;
  std::vector<BuildGroup> groups;
  std::optional<std::string> primaryLocale;

  static TestFlightBuilds read(const JSONValue& value);
};

namespace Builds {

/// The builds of the app with this path ("/v1/apps/123"), only one platform's or version's when they are given.
Response<TestFlightBuilds> fetch(const Client& client, const std::string& appPath,
                                 const std::optional<std::string>& platform,
                                 const std::optional<std::string>& version = std::nullopt);

} // namespace Builds

} // namespace kestu
