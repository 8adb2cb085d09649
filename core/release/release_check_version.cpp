#include "core/console/format.hpp"
#include "core/release/release_check.hpp"

#include <fmt/format.h>

namespace kestu::ReleaseCheck {

namespace {

using std::chrono::hours;

constexpr std::int64_t daysThatSuffice = 7;

/// The part of a command that names the platform, which is iOS when nothing is said.
std::string platformOption(std::string_view platform) {
  return platform == "ios" ? "" : " --platform " + Format::shellWord(platform);
}

Finding finding(Level level, std::string rule, std::string message) {
  return {level, std::move(rule), std::nullopt, std::move(message)};
}

/// Where the version stands; empty while it is being prepared.
std::optional<std::string> notTaken(const StoreVersion& version, const std::string& number) {
  switch (version.stage()) {
  case VersionStage::withReview:
  case VersionStage::approved:
    return fmt::format("App Review has {} already ({}).", number, version.stateText());
  case VersionStage::out:
    return version.state == "readyfordistribution"
               ? number + " is on the App Store already."
               : fmt::format("{} is out already ({}).", number, version.stateText());
  default:
    return std::nullopt;
  }
}

std::optional<std::string> notUsable(const ManagedBuild& build, std::string_view platform) {
  std::string named = build.text();
  std::string wait = "kestu builds wait " + Format::shellWord(named) + platformOption(platform);
  switch (build.stateKind()) {
  case BuildState::uploading:
    return named + " is still being uploaded: " + wait + " waits for it.";
  case BuildState::processing:
    return "Apple is still processing " + named + ": " + wait + " waits for it.";
  case BuildState::failed:
  case BuildState::invalid:
    return "Apple couldn't process " + named + (build.uploadError ? " (" + *build.uploadError + ")" : "") +
           ": send another one with kestu builds upload.";
  case BuildState::missingCompliance:
    return named + "'s export compliance isn't answered: kestu builds compliance " + Format::shellWord(named) +
           platformOption(platform);
  default:
    return std::nullopt;
  }
}

std::optional<Finding> expiry(const ManagedBuild& build, Moment now) {
  std::string named = build.text();
  if (build.expiresAt <= now || build.stateKind() == BuildState::expired) {
    return finding(Level::error, "build", named + " has expired: attach a newer build.");
  }
  if (std::chrono::floor<hours>(build.expiresAt - now).count() / 24 >= daysThatSuffice) return std::nullopt;
  return finding(Level::warning, "build",
                 fmt::format("{} expires in TestFlight {}, maybe before App Review gets to it.", named,
                             Format::until(build.expiresAt, now)));
}

} // namespace

Findings version(const std::optional<StoreVersion>& stored, const std::string& number, std::string_view platform,
                 const std::optional<ManagedBuild>& build, Moment now) {
  std::string prepare = "kestu release prepare " + Format::shellWord(number) + platformOption(platform);
  if (!stored) {
    return {finding(Level::error, "version",
                    fmt::format("App Store Connect has no {} yet: {} makes it.", number, prepare))};
  }
  Findings findings;
  if (auto message = notTaken(*stored, number)) findings.push_back(finding(Level::error, "version", *message));
  if (stored->isOut() || stored->stage() == VersionStage::approved) return findings;
  if (stored->releaseType == "scheduled" && stored->earliestReleaseDate && *stored->earliestReleaseDate <= now) {
    findings.push_back(finding(Level::warning, "scheduled",
                               fmt::format("{}'s scheduled release, {}, has passed: it goes out once approved.", number,
                                           Format::moment(*stored->earliestReleaseDate, now))));
  }
  if (!stored->build) {
    findings.push_back(finding(Level::error, "build", fmt::format("{} has no build: {}", number, prepare)));
    return findings;
  }
  if (!build) return findings;
  if (auto message = notUsable(*build, platform)) findings.push_back(finding(Level::error, "build", *message));
  if (auto found = expiry(*build, now)) findings.push_back(*found);
  return findings;
}

} // namespace kestu::ReleaseCheck
