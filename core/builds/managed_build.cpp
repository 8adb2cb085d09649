#include "core/builds/managed_build.hpp"

#include "core/console/printable.hpp"

#include <algorithm>
#include <utility>

namespace kestu {

const BuildStateFacts& buildStateFacts(std::string_view raw) {
  static constexpr std::array<BuildStateFacts, 12> all = {{
      {BuildState::uploading, "uploading", "uploading", false, false},
      {BuildState::processing, "processing", "processing", false, false},
      {BuildState::failed, "failed", "Apple couldn't process it", true, false},
      {BuildState::invalid, "invalid", "Apple couldn't process it", true, false},
      {BuildState::missingCompliance, "missingcompliance", "export compliance isn't answered", true, false},
      {BuildState::readyForInternal, "readyforinternal", "ready for internal testers", true, true},
      {BuildState::waitingForBetaReview, "waitingforbetareview", "waiting for Beta App Review", true, true},
      {BuildState::inBetaReview, "inbetareview", "in Beta App Review", true, true},
      {BuildState::betaRejected, "betarejected", "Beta App Review rejected it", true, true},
      {BuildState::readyForExternal, "readyforexternal", "ready for internal testers, for external testers", true,
       true},
      {BuildState::expired, "expired", "expired", true, false},
      {BuildState::other, "", "", true, false},
  }};
  const auto* found = std::find_if(all.begin(), all.end(), [&](const auto& each) { return each.raw == raw; });
  return found == all.end() ? all.back() : *found;
}

ManagedBuild ManagedBuild::read(const JSONValue& value) {
  ManagedBuild build;
  build.buildId = value.at("buildId").text();
  build.platform = value.at("platform").text();
  build.version = value.find("version", &JSONValue::text);
  build.number = value.at("number").text();
  build.uploadedAt = value.at("uploadedAt").moment();
  build.expiresAt = value.at("expiresAt").moment();
  build.state = value.at("state").text();
  build.upload = value.whenTrue("upload");
  build.uploadError = value.find("uploadError", &JSONValue::text);
  build.stuck = value.whenTrue("stuck");
  build.canSubmit = value.whenTrue("canSubmit");
  build.canDeclareExempt = value.whenTrue("canDeclareExempt");
  build.groupIds = value.at("groupIds").texts();
  return build;
}

std::string ManagedBuild::text() const {
  return version ? printable(*version) + " (" + printable(number) + ")" : printable(number);
}

std::string ManagedBuild::stateText() const {
  const BuildStateFacts& facts = buildStateFacts(state);
  std::string words = facts.state == BuildState::other ? printable(state) : std::string(facts.label);
  bool failed = facts.state == BuildState::failed || facts.state == BuildState::invalid;
  if (failed && uploadError) return words + ": " + printable(*uploadError);
  if (!facts.processed && stuck) return words + ", stalled";
  return words;
}

BuildGroup BuildGroup::read(const JSONValue& value) {
  return {value.at("groupId").text(), value.find("name", &JSONValue::text), value.at("internal").boolean(),
          value.at("kestu").boolean()};
}

TestFlightBuilds TestFlightBuilds::read(const JSONValue& value) {
  return {value.listAt("builds", ManagedBuild::read), value.listAt("groups", BuildGroup::read),
          value.find("primaryLocale", &JSONValue::text)};
}

Response<TestFlightBuilds> Builds::fetch(const Client& client, const std::string& appPath,
                                         const std::optional<std::string>& platform,
                                         const std::optional<std::string>& version) {
  Query query;
  if (platform) query.emplace_back("platform", *platform);
  if (version) query.emplace_back("version", *version);
  return client.get(appPath + "/testflight/builds", query, TestFlightBuilds::read);
}

} // namespace kestu
