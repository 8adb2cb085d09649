#include "core/listing/store_version.hpp"

#include "core/console/printable.hpp"
#include "core/project/platform.hpp"

#include <array>
#include <string_view>
#include <utility>

namespace kestu {

namespace {

struct StateFacts {
  std::string_view word, text;
  VersionStage stage;
};

constexpr std::array<StateFacts, 14> states = {{
    {"prepareforsubmission", "being prepared", VersionStage::prepared},
    {"readyforreview", "ready for review", VersionStage::prepared},
    {"waitingforreview", "waiting for review", VersionStage::withReview},
    {"inreview", "in review", VersionStage::withReview},
    {"pendingdeveloperrelease", "waiting for you to release it", VersionStage::approved},
    {"pendingapplerelease", "waiting for Apple to release it", VersionStage::approved},
    {"processingfordistribution", "being processed for the App Store", VersionStage::approved},
    {"readyfordistribution", "on the App Store", VersionStage::out},
    {"rejected", "rejected", VersionStage::prepared},
    {"metadatarejected", "metadata rejected", VersionStage::prepared},
    {"developerrejected", "taken back from review", VersionStage::prepared},
    {"invalidbinary", "refused for an invalid build", VersionStage::prepared},
    {"removedfromsale", "removed from sale", VersionStage::out},
    {"replacedwithnewversion", "replaced by a newer version", VersionStage::out},
}};

const StateFacts* factsOf(std::string_view state) {
  for (const StateFacts& each : states) {
    if (each.word == state) return &each;
  }
  return nullptr;
}

StoreVersion::Build readBuild(const JSONValue& value) {
  return {value.at("buildId").text(), value.find("version", &JSONValue::text), value.at("number").text()};
}

} // namespace

StoreVersion StoreVersion::read(const JSONValue& value) {
  StoreVersion version;
  version.versionId = value.at("versionId").text();
  version.platform = value.at("platform").text();
  version.version = value.at("version").text();
  version.state = value.at("state").text();
  version.createdAt = value.at("createdAt").moment();
  version.releaseType = value.find("releaseType", &JSONValue::text);
  version.earliestReleaseDate = value.find("earliestReleaseDate", &JSONValue::moment);
  version.copyright = value.find("copyright", &JSONValue::text);
  version.phased = value.at("phased").boolean();
  version.phasedState = value.find("phasedState", &JSONValue::text);
  version.phasedDay = value.find("phasedDay", &JSONValue::integer);
  version.sent = value.whenTrue("sent");
  version.build = value.find("build", readBuild);
  return version;
}

VersionStage StoreVersion::stage() const {
  const StateFacts* known = factsOf(state);
  return known ? known->stage : VersionStage::unknown;
}

std::string StoreVersion::stateText() const {
  const StateFacts* known = factsOf(state);
  return known ? std::string(known->text) : printable(state);
}

std::string StoreVersion::number() const { return printable(version); }

std::string StoreVersion::title() const { return number() + " for " + platformLabel(platform); }

} // namespace kestu
