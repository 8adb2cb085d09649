#pragma once

#include "core/builds/managed_build.hpp"
#include "core/changes/change_item.hpp"
#include "core/listing/repo_listing.hpp"
#include "core/release/versions.hpp"
#include "core/support/json_data.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Getting a version ready for App Review: what each step has to do, found out of values.
namespace kestu::ReleasePrepare {

enum class Step { version, build, release, listing, assets, testNotes };

enum class StepState {
  unchanged, ///< it is so already
  left,      ///< nothing was asked for
  planned,   ///< to be sent
  done,
  waiting, ///< sent, and not decided yet
  denied,
  failed,
};

std::string_view label(Step step); ///< for people: "What to Test"
std::string_view word(Step step);  ///< for scripts: "testNotes"
std::string_view word(StepState state);

/// The release's settings, those of `options` over the file's. A scheduled release without its moment is a CLIError,
/// and so is a moment of another kind of release.
ReleaseSettings settings(const ReleaseSettings& options, const std::optional<ReleaseSettings>& file);

/// How the version comes to be there.
struct VersionPlan {
  std::optional<StoreVersion> stored{}; ///< that is there, maybe of another number; none: it is to be made
  bool renames = false;
  std::optional<StoreVersion>
      model{}; ///< that a version to be made takes its texts and assets from, where one is there

  bool makes() const { return !stored; }
};

/// A version of that number that can't be prepared any more is a CLIError, and so is another one that Apple is at.
VersionPlan planVersion(const std::vector<StoreVersion>& all, const std::string& number, const std::string& platform,
                        const Versions::CommandTail& tail);

/// The build that the version is to have: the one named by its number, or the newest for "latest". None processed is a
/// CLIError, and so is one that Apple doesn't take. The builds stand newest first.
const ManagedBuild& planBuild(const std::vector<ManagedBuild>& builds, const std::string& version,
                              const std::string& platform, const std::string& wanted);

/// The newest build of the version that can be attached; none when there is none.
const ManagedBuild* newestBuild(const std::vector<ManagedBuild>& builds, const std::string& version,
                                const std::string& platform);

/// How the release differs from what is wanted.
struct ReleasePlan {
  JSONData body = JSONData::object(); ///< what is sent, nothing else
  std::vector<ChangeItem> items;
  std::string text; ///< "releases in phases, once approved, copyright 2026 Example"
};

/// What isn't wanted otherwise stays as `current` has it, which is none for a version to be made.
ReleasePlan planRelease(const std::optional<StoreVersion>& current, const std::string& title,
                        const ReleaseSettings& wanted, const std::optional<std::string>& copyright, Moment now);

} // namespace kestu::ReleasePrepare
