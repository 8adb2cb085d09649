#include "sandbox/state.hpp"

#include "sandbox/builds/testflight.hpp"
#include "sandbox/events/events.hpp"
#include "sandbox/examples.hpp"
#include "sandbox/kit/kit.hpp"
#include "sandbox/metadata/listing.hpp"
#include "sandbox/offers/offers.hpp"
#include "sandbox/overview/overview.hpp"
#include "sandbox/prices/prices.hpp"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <utility>

namespace kestu::sandbox {

namespace {

using namespace std::chrono_literals;

std::string temporaryFolder() {
  auto name = (std::filesystem::temp_directory_path() / "kestu-sandbox-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("Couldn't make a temporary folder.");
  return name;
}

std::vector<App> demoApps() {
  return {{1234567890, "com.example.daylight", "Daylight Weather", {"ios", "macos"}, "en-US"},
          {2345678901, "com.example.tidepool", "Tidepool: Naturkunde für Kinder", {"ios"}, "de-DE"},
          {3456789012, "com.example.ledger.mac", "Ledger", {"macos"}, "en-US"}};
}

} // namespace

State::State(Settings madeWith, std::function<Moment()> now)
    : settings(madeWith), clock(std::move(now)), folder(temporaryFolder()) {
  reset();
}

State::~State() {
  std::error_code ignored;
  std::filesystem::remove_all(folder, ignored);
}

void State::reset() {
  signIns.clear();
  nextSignIn.reset();
  plans.clear();
  nextPlan.reset();
  versions.clear();
  for (const auto& [id, asset] : std::exchange(assets, {})) {
    std::error_code ignored;
    std::filesystem::remove(filePath(asset), ignored);
  }
  announced.clear();
  quotas = {Quota{"window", 5h, 2000}, Quota{"week", 24h * 7, 20000}, Quota{"minute", 60s, 60}};
  apps = demoApps();
  kit = demoKit(clock());
  prices = demoPrices();
  offers = demoOffers();
  for (const auto& app : apps) {
    for (const auto& platform : app.platforms) {
      auto& out = addVersion(app.appId, platform, "1.1", "readyfordistribution");
      out.createdAt -= 24h * 60;
      out.sent = true;
      addVersion(app.appId, platform, "1.2", "prepareforsubmission");
    }
  }
  review = {};
  TestFlights::makeDemo(*this);
  Overview::makeDemo(*this);
  Listing::addDemo(*this);
  Events::makeDemo(*this);
  if (settings.examples) addExamples(*this);
}

Version& State::addVersion(std::int64_t appId, std::string platform, std::string version, std::string versionState) {
  Version made{appId, randomUuid(), std::move(platform), std::move(version), std::move(versionState), clock()};
  made.since = made.createdAt;
  return *versions.insert(versions.begin(), std::move(made));
}

App* State::app(std::int64_t appId) {
  const auto found = std::find_if(apps.begin(), apps.end(), [&](const App& each) { return each.appId == appId; });
  return found == apps.end() ? nullptr : &*found;
}

Version* State::version(std::int64_t appId, const std::string& platform, const std::string& number) {
  const auto found = std::find_if(versions.begin(), versions.end(), [&](const Version& each) {
    return each.appId == appId && each.platform == platform && each.version == number;
  });
  return found == versions.end() ? nullptr : &*found;
}

Asset* State::asset(const std::string& assetId) {
  const auto found = assets.find(assetId);
  return found == assets.end() ? nullptr : &found->second;
}

} // namespace kestu::sandbox
