#pragma once

#include "sandbox/builds/testflight_state.hpp"
#include "sandbox/events/events_state.hpp"
#include "sandbox/kit/kit_state.hpp"
#include "sandbox/metadata/listing_state.hpp"
#include "sandbox/offers/offers_state.hpp"
#include "sandbox/prices/prices_state.hpp"
#include "sandbox/release/release_state.hpp"
#include "sandbox/text.hpp"

#include <nlohmann/json.hpp>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace kestu::sandbox {

// Who decides: a person (on the page or by a control call), or everything approved or denied at the first poll.
enum class Approve { ask, all, none };

struct Grant {
  std::string name, client;
  std::vector<std::string> scopes;
  std::optional<std::vector<std::int64_t>> appIds = std::nullopt; // absent: every app
  std::string approvals = "reaching";
};

enum class Decision { waiting, approved, denied };

struct SignIn {
  std::string deviceCode, userCode, client, machine;
  Grant grant;
  Moment createdAt, expiresAt;
  Decision decision = Decision::waiting;
  std::vector<std::string> words = {}; // error words of the next polls, before an approval
  bool scripted = false;
};

struct Quota {
  std::string name; // "window", "week" or "minute"
  std::chrono::seconds length;
  int limit, used = 0;
  bool enforced = false;
  Moment resetsAt = {};
};

struct App {
  std::int64_t appId;
  std::string bundleId, name;
  std::vector<std::string> platforms;
  std::string primaryLocale;
};

struct Placement {
  std::string assetId;
  std::optional<std::string> frame = std::nullopt; // HH:MM:SS:FF
  bool operator==(const Placement&) const = default;
};

struct ShownDisplay {
  std::string kind, group;
  std::vector<Placement> assets;
};

struct ShownLanguage {
  std::string locale;
  std::vector<ShownDisplay> displays;
};

struct Version {
  std::int64_t appId;
  std::string versionId, platform, version, state;
  Moment createdAt;
  std::string buildId = {}; // of TestFlight's build that goes with it; empty without one
  std::string releaseType = "manual";
  std::optional<Moment> earliestReleaseDate = std::nullopt;
  std::vector<ShownLanguage> languages = {};
  int revision = 0; // counts the changes of what it shows
  bool phased = false;
  std::string phasedState = {}; // "active", "paused" or "complete", once it is out
  int phasedDay = 0;
  Moment since = {}; // when it came into its state, or began its phased day
  bool sent = false; // App Review has had it
  std::optional<Moment> submittedAt = std::nullopt;
  int unlisted = 0; // how many lists it is missing from yet
};

struct Part {
  std::uint64_t offset, length;
  std::map<std::string, std::string> headers;
  bool there = false;
};

struct Asset {
  std::string assetId;
  std::int64_t appId;
  std::string fileName, md5;
  std::uint64_t size;
  bool video;
  std::string signature; // in the addresses of its parts
  std::vector<Part> parts;
  bool complete = false;       // every byte is there and the checksum was found right
  bool checksumHidden = false; // Apple doesn't tell it, so that it is only known by its ID
};

// What a test wants of the next plan: polled `waitingPolls` times as waiting, then in this state. A negative count
// decides it in the answer to the change itself.
struct Script {
  int waitingPolls = 0;
  std::string state = "applied";
  std::string error = {};
};

// What a plan would change, as the page shows it: a text, or what a display shows.
struct PlanText {
  std::string place, field; // "en-US", "subtitle"
  std::string before, after;
};
struct PlanPictures {
  std::string title; // "en-US · iPhone 6.9″ · screenshots"
  std::vector<Placement> before, after;
};
struct PlanDetails {
  std::vector<PlanText> texts = {};
  std::vector<PlanPictures> pictures = {};
};

struct Plan {
  std::string id; // upper case
  std::string title;
  std::vector<std::string> lines; // what it would do, for the person who decides
  Moment createdAt, expiresAt;
  std::string state = "waiting";
  std::string error = {};
  std::function<std::string()> apply = {}; // called with the state held; an error word when it could not be applied
  std::optional<Script> script = std::nullopt;
  PlanDetails details = {}; // the page shows these in place of the lines, where there are any
  std::int64_t appId = 0;
  std::string jobDetails = {}; // JSON: what a store job would change
  std::string job = {};        // the store job's ID, told once it is applied
};

// Everything that the sandbox knows, and the uploaded bytes in a temporary folder that goes with it. Whatever reads or
// writes a field holds `mutex`, but for `ending`, and `clock`, `folder` and the settings, which stay as they were made.
struct State {
  struct Settings {
    Approve approve = Approve::ask;
    std::uint64_t partSize = 16u << 20;
    int interval = 5;       // seconds between polls of a sign-in
    bool holdsWaits = true; // a wait for a build is held until there is news, else answered at once
    bool examples = false;  // reset brings what the examples of the help name, too
  };

  State(Settings settings, std::function<Moment()> clock);
  ~State();
  State(const State&) = delete;
  State& operator=(const State&) = delete;

  // Back to the demo apps; tokens stay live.
  void reset();
  Version& addVersion(std::int64_t appId, std::string platform, std::string version, std::string versionState);

  App* app(std::int64_t appId);
  Version* version(std::int64_t appId, const std::string& platform, const std::string& number);
  Asset* asset(const std::string& assetId);
  std::string filePath(const Asset& asset) const { return folder + "/" + asset.assetId; }

  std::mutex mutex;
  const Settings settings;
  const std::function<Moment()> clock;
  std::string origin; // set once, before the first call
  std::string folder;
  std::atomic<bool> ending = false; // calls that are held are to be answered

  std::map<std::string, Grant> tokens;
  std::vector<SignIn> signIns;
  std::optional<std::vector<std::string>> nextSignIn;
  std::array<Quota, 3> quotas;
  std::vector<App> apps;
  std::vector<Version> versions; // newest first
  Listings listings;
  std::map<std::string, Asset> assets;
  KitState kit;
  AppReview review;
  TestFlight testFlight;
  PricesState prices;
  OffersState offers;
  InAppEvents events;
  std::map<std::int64_t, nlohmann::json> glances; // rating, reviews and ranks by app
  std::vector<Plan> plans;                        // oldest first
  std::optional<Script> nextPlan;
  std::string announced; // the program version that answers announce, when not empty
};

} // namespace kestu::sandbox
