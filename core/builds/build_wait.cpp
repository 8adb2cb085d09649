#include "core/builds/build_wait.hpp"

#include "core/service/patient_transport.hpp"

#include <algorithm>
#include <utility>

namespace kestu {

using namespace std::chrono_literals;

namespace {

constexpr std::chrono::seconds longestCall = 25s;
constexpr std::chrono::seconds pause = 5s;
constexpr std::chrono::minutes longestOutage = PatientTransport::longestOutage;

/// One wait, from its first call to its end.
class Waiting {
 public:
  Waiting(const BuildWait::Goal& goal, std::chrono::nanoseconds timeout, const Client& client,
          const std::string& appPath, const BuildWait::Listener& listener)
      : goal_(goal), client_(client), path_(appPath + "/testflight/builds/wait"), listener_(listener),
        clock_(client.context().clock), deadline_(clock_.continuous() + timeout) {}

  std::optional<BuildWait::Reached> run() {
    Console::Busy busy(client_.context().console);
    do {
      auto asked = clock_.continuous();
      auto wait = ask();
      bool news = false;
      if (wait) {
        bool first = !cursor_;
        cursor_ = wait->value.cursor;
        news = look(wait->value) || first;
        if (reached_) return reachedIn(*wait);
      }
      // The service holds a call that has a cursor until there is news; one that doesn't isn't asked without a pause.
      bool held = clock_.continuous() - asked >= 1s;
      if (!wait || !(news || held)) rest();
    } while (left() > 0s);
    if (lost_ && !answered_) throw *lost_;
    return std::nullopt;
  }

 private:
  std::chrono::nanoseconds left() const { return std::max(0ns, deadline_ - clock_.continuous()); }

  void rest() {
    auto length = std::min<std::chrono::nanoseconds>(pause, left());
    if (length > 0s) clock_.sleep(std::chrono::ceil<std::chrono::milliseconds>(length), client_.context().stop);
  }

  JSONData request() const {
    auto seconds = std::min<std::chrono::seconds>(longestCall, std::chrono::ceil<std::chrono::seconds>(left()));
    JSONData body =
        JSONData::object({{"platform", goal_.platform}, {"testable", goal_.testable}, {"seconds", seconds.count()}});
    body.setGiven("version", goal_.build.version).setGiven("number", goal_.build.number);
    body.setGiven("buildId", goal_.build.id).setGiven("cursor", cursor_);
    return body;
  }

  /// None when no answer came, or none that is of use now.
  std::optional<Response<BuildsWait>> ask() {
    int status = 0;
    Refusal refusal;
    try {
      HTTPAnswer answer = client_.send("POST", path_, {}, request().compact());
      status = answer.status;
      refusal = Refusal::read(answer.body);
      auto wait = client_.decoded(std::move(answer), BuildsWait::read);
      answered_ = true;
      lost_.reset();
      unread_ = false;
      return wait;
    } catch (const CLIError& error) {
      if (error.kind != CLIError::Kind::unavailable && !refusal.isRush(status)) throw;
      bool answers = status >= 200 && status < 300;
      // One may have been cut short; a second is what the service says now.
      if (answers && std::exchange(unread_, true)) throw;
      if (!answers) unread_ = false;
      if (!lost_) lostSince_ = clock_.continuous();
      if (clock_.continuous() - lostSince_ >= longestOutage) throw;
      if (!lost_ && listener_.trouble) listener_.trouble(status == 0 ? error.description : refusal.trouble(status));
      lost_ = error;
      return std::nullopt;
    }
  }

  /// Whether the answer says anything new.
  bool look(const BuildsWait& wait) {
    std::vector<ManagedBuild> builds = wait.builds ? wait.builds->builds : std::vector<ManagedBuild>();
    std::erase_if(builds, [&](const ManagedBuild& build) {
      return std::find(goal_.past.begin(), goal_.past.end(), build.buildId) != goal_.past.end();
    });
    const ManagedBuild* build = goal_.build.among(builds, goal_.platform);
    if (!build) {
      if (!goal_.listed && !seen_ && !std::exchange(unlistedSaid_, true) && listener_.notListed) listener_.notListed();
      return false;
    }
    bool over = BuildWait::over(*build, goal_.testable);
    std::string state = build->stateText();
    bool news = seen_ != state;
    seen_ = state;
    if (over) {
      reached_ = *build;
    } else if (news && listener_.moved) {
      listener_.moved(*build);
    }
    return news;
  }

  BuildWait::Reached reachedIn(const Response<BuildsWait>& wait) const {
    JSONData json;
    JSONValue answer = JSONValue::parse(wait.body);
    for (const JSONValue& build : answer.at("builds").at("builds").list()) {
      if (build.at("buildId").text() == reached_->buildId) json = JSONData::copied(build);
    }
    return {*reached_, std::move(json)};
  }

  const BuildWait::Goal& goal_;
  const Client& client_;
  const std::string path_;
  const BuildWait::Listener& listener_;
  Clock& clock_;
  const std::chrono::nanoseconds deadline_;
  std::optional<std::string> cursor_;
  std::optional<std::string> seen_; // the last state, once it was listed
  std::optional<ManagedBuild> reached_;
  std::optional<CLIError> lost_; // why the last call had no answer of use
  std::chrono::nanoseconds lostSince_{0};
  bool unread_ = false; // the last answer couldn't be read
  bool answered_ = false;
  bool unlistedSaid_ = false;
};

} // namespace

BuildsWait BuildsWait::read(const JSONValue& value) {
  return {value.at("cursor").text(), value.find("polling", &JSONValue::integer),
          value.find("builds", TestFlightBuilds::read)};
}

bool BuildWait::over(const ManagedBuild& build, bool testable) {
  BuildState state = build.stateKind();
  bool never = state == BuildState::failed || state == BuildState::invalid || state == BuildState::expired;
  return never || (testable ? build.testable() : build.processed());
}

std::optional<BuildWait::Reached> BuildWait::until(const Goal& goal, std::chrono::nanoseconds timeout,
                                                   const Client& client, const std::string& appPath,
                                                   const Listener& listener) {
  return Waiting(goal, timeout, client, appPath, listener).run();
}

} // namespace kestu
