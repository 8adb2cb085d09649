#include "core/release/release_prepare.hpp"

#include "core/builds/build_number.hpp"
#include "core/builds/build_reference.hpp"
#include "core/console/printable.hpp"
#include "core/project/platform.hpp"
#include "core/release/phased.hpp"
#include "core/support/moments.hpp"
#include "core/support/text.hpp"

#include <array>

namespace kestu::ReleasePrepare {

namespace {

using Kind = CLIError::Kind;

struct StepWords {
  std::string_view label, word;
};

constexpr std::array<StepWords, 6> steps = {{
    {"version", "version"},
    {"build", "build"},
    {"release", "release"},
    {"listing", "listing"},
    {"assets", "assets"},
    {"What to Test", "testNotes"},
}};

constexpr std::array<std::string_view, 7> states = {"unchanged", "left",   "planned", "done",
                                                    "waiting",   "denied", "failed"};

bool isOf(const ManagedBuild& build, const std::string& version, const std::string& platform) {
  return build.platform == platform && BuildNumber::sameVersion(build.version, version);
}

/// What keeps a build from going to App Review; empty when nothing does.
std::string refused(const ManagedBuild& build) {
  switch (build.stateKind()) {
  case BuildState::failed:
  case BuildState::invalid:
  case BuildState::expired:
    return build.stateText();
  default:
    return "";
  }
}

bool isReady(const ManagedBuild& build) { return build.processed() && !build.upload && refused(build).empty(); }

} // namespace

std::string_view label(Step step) { return steps.at(static_cast<std::size_t>(step)).label; }

std::string_view word(Step step) { return steps.at(static_cast<std::size_t>(step)).word; }

std::string_view word(StepState state) { return states.at(static_cast<std::size_t>(state)); }

ReleaseSettings settings(const ReleaseSettings& options, const std::optional<ReleaseSettings>& file) {
  ReleaseSettings wanted = file.value_or(ReleaseSettings{});
  if (options.releaseType) wanted.releaseType = options.releaseType;
  if (options.earliestReleaseDate) wanted.earliestReleaseDate = options.earliestReleaseDate;
  if (options.phased) wanted.phased = options.phased;
  if (options.build) wanted.build = options.build;
  if (wanted.releaseType == "scheduled" && !wanted.earliestReleaseDate) {
    throw CLIError(Kind::usage, "A scheduled release needs --earliest, or earliestReleaseDate in release.json.");
  }
  bool scheduled = !wanted.releaseType || wanted.releaseType == "scheduled";
  if (options.earliestReleaseDate && !scheduled) {
    throw CLIError(Kind::usage, "--earliest is for a scheduled release: give --release-type scheduled with it.");
  }
  if (!scheduled) wanted.earliestReleaseDate.reset();
  return wanted;
}

VersionPlan planVersion(const std::vector<StoreVersion>& all, const std::string& number, const std::string& platform,
                        const Versions::CommandTail& tail) {
  const StoreVersion* same = Versions::find(all, number, platform);
  if (same && !same->takesUpdate()) {
    std::string reason = same->isOut() ? "the next one needs another number" : "it can't be prepared now";
    CLIError refusal = Versions::refusal(*same, reason, tail);
    if (same->isWithReview()) {
      refusal.description += " " + Versions::commandLine("submit", *same, tail) + " --withdraw takes it back.";
    }
    throw refusal;
  }
  if (same) return {*same};
  for (const StoreVersion& each : all) {
    if (each.platform != platform || !each.isOut() || !Text::naturalLess(number, each.version)) continue;
    throw CLIError(Kind::failed, each.title() + " is on the App Store already, which takes no lower number after it.");
  }
  if (const StoreVersion* other = Versions::underWay(all, platform)) {
    if (other->takesUpdate()) return {*other, true};
    throw CLIError(Kind::failed, other->title() + " is " + other->stateText() +
                                     ", and Apple allows one version being prepared at a time. " +
                                     Versions::advice(*other, tail));
  }
  VersionPlan plan;
  for (const StoreVersion& each : all) {
    if (each.platform == platform && !plan.model) plan.model = each;
  }
  return plan;
}

const ManagedBuild* newestBuild(const std::vector<ManagedBuild>& builds, const std::string& version,
                                const std::string& platform) {
  for (const ManagedBuild& build : builds) {
    if (isOf(build, version, platform) && isReady(build)) return &build;
  }
  return nullptr;
}

const ManagedBuild& planBuild(const std::vector<ManagedBuild>& builds, const std::string& version,
                              const std::string& platform, const std::string& wanted) {
  std::string title = printable(version) + " for " + platformLabel(platform);
  constexpr std::string_view none = " that Apple has processed yet: kestu builds lists them.";
  if (wanted == "latest") {
    if (const ManagedBuild* newest = newestBuild(builds, version, platform)) return *newest;
    throw CLIError(Kind::notFound, title + " has no build" + std::string(none));
  }
  BuildReference named = BuildReference::read(wanted);
  for (const ManagedBuild& build : builds) {
    if (!isOf(build, version, platform) || !named.names(build) || !build.processed() || build.upload) continue;
    if (std::string why = refused(build); !why.empty()) {
      throw CLIError(Kind::failed, build.described() + " can't go to App Review (" + why +
                                       "): kestu builds upload sends another one.");
    }
    return build;
  }
  throw CLIError(Kind::notFound, title + " has no build " + named.text() + std::string(none));
}

ReleasePlan planRelease(const std::optional<StoreVersion>& current, const std::string& title,
                        const ReleaseSettings& wanted, const std::optional<std::string>& copyright, Moment now) {
  ReleasePlan plan;
  auto differs = [&](const std::string& key, const std::string& field, const std::optional<std::string>& from,
                     const std::optional<std::string>& to) {
    if (!to || from == to) return false;
    plan.items.push_back({title, field, from, to});
    plan.body.set(key, *to);
    return true;
  };
  auto iso = [](const std::optional<Moment>& moment) {
    return moment ? std::optional(Moments::iso8601(*moment)) : std::nullopt;
  };
  std::optional<std::string> none;
  auto type = current ? current->releaseType : none;
  auto earliest = current ? current->earliestReleaseDate : std::nullopt;
  bool phased = current && current->phased;
  bool isRelease = differs("releaseType", "release type", type, wanted.releaseType);
  isRelease =
      differs("earliestReleaseDate", "earliest release", iso(earliest), iso(wanted.earliestReleaseDate)) || isRelease;
  if (wanted.phased && wanted.phased != phased) {
    plan.items.push_back({title, "phased release", phased ? "yes" : "no", *wanted.phased ? "yes" : "no"});
    plan.body.set("phased", *wanted.phased);
    isRelease = true;
  }
  std::vector<std::string> texts;
  if (isRelease) {
    texts.push_back(releaseText(wanted.releaseType ? wanted.releaseType : type,
                                wanted.earliestReleaseDate ? wanted.earliestReleaseDate : earliest,
                                wanted.phased.value_or(phased), now));
  }
  if (differs("copyright", "copyright", current ? current->copyright : none, copyright)) {
    texts.push_back("copyright " + printable(*copyright));
  }
  plan.text = Text::joined(texts, ", ");
  return plan;
}

} // namespace kestu::ReleasePrepare
