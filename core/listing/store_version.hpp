#pragma once

#include "core/support/clock.hpp"
#include "core/support/json.hpp"

#include <cstdint>
#include <optional>
#include <string>

namespace kestu {

/// How far a version has come.
enum class VersionStage {
  prepared,   ///< can be edited: never sent, or sent back
  withReview, ///< waits for App Review, or is in it
  approved,   ///< approved, and not on the App Store yet
  out,        ///< on the App Store, or was
  unknown,    ///< a state that this program doesn't know
};

/// A version as App Store Connect has it.
struct StoreVersion {
  struct Build {
    std::string buildId;
    std::optional<std::string> version{};
    std::string number;
  };

  std::string versionId;
  std::string platform; ///< "ios"
  std::string version;  ///< "1.2"
  std::string state;    ///< "prepareforsubmission"
  Moment createdAt;
  std::optional<std::string> releaseType{}; ///< "manual", "afterapproval" or "scheduled"
  std::optional<Moment> earliestReleaseDate{};
  std::optional<std::string> copyright{};
  bool phased = false;
  std::optional<std::string> phasedState{}; ///< "inactive", "active", "paused" or "complete"
  std::optional<std::int64_t> phasedDay{};
  bool sent = false; ///< App Review has had it
  std::optional<Build> build{};

  static StoreVersion read(const JSONValue& value);

  VersionStage stage() const;
  bool takesUpdate() const { return stage() == VersionStage::prepared; } ///< any other takes only promotional text
  bool isWithReview() const { return stage() == VersionStage::withReview; }
  bool isOut() const { return stage() == VersionStage::out; }

  /// The state for people: "waiting for review".
  std::string stateText() const;

  std::string number() const; ///< "1.2", printable
  std::string title() const;  ///< "1.2 for iOS", printable
};

} // namespace kestu
