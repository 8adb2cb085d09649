#pragma once

#include "sandbox/faults.hpp"
#include "sandbox/http.hpp"
#include "sandbox/state.hpp"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kestu::sandbox {

struct Options {
  int port = 0; // 0: a free one
  Approve approve = Approve::ask;
  bool tls = false;
  std::uint64_t partSize = 16u << 20;
  int interval = 5; // seconds between polls of a sign-in
  std::function<Moment()> now = std::chrono::system_clock::now;
  bool holdsWaits = true; // a wait for a build is held until there is news, else answered at once
  bool examples = false;  // holds what the examples of the help name, too
};

// The service's stand-in, listening on 127.0.0.1 from its construction to its destruction. Every function may be called
// from any thread.
class Server {
 public:
  // Throws std::runtime_error when the port is taken.
  explicit Server(Options options = {});
  ~Server();
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  std::string origin() const; // "http://127.0.0.1:PORT", "https://…" with TLS
  int port() const;
  std::string certificate() const; // PEM, empty without TLS

  // A signed-in token at once; every scope when there are none, every app when there are no `appIds`.
  std::string tokenFor(std::vector<std::string> scopes = {},
                       std::optional<std::vector<std::int64_t>> appIds = std::nullopt);

  // Takes this token as one of every scope and app, so that a sign-in outlives a restart.
  void accept(const std::string& token);

  // Every call so far but those of the page and the control calls; upload parts without their bytes.
  std::vector<Request> requests() const;
  void forgetRequests();

  void onNext(Fault fault);
  // Every answer to a call of the service, but those of faults, goes through `alter` before it is sent, one at a time.
  void onAnswer(std::function<void(const Request&, Answer&)> alter);
  Faults& faults();
  // The program version that answers announce from now on; empty for none.
  void announce(const std::string& version);

  // A plan's ID or a sign-in's user code, "next" (the oldest waiting) or "last"; false when it isn't waiting.
  bool decide(const std::string& planOrUserCode, bool approve);
  void scriptNextPlan(Script script);
  // The next sign-in is refused with these error words, one a poll, and then approved.
  void scriptNextSignIn(std::vector<std::string> words);

  // Runs `change` with the state held, to look at it or to alter it.
  void withState(const std::function<void(State&)>& change);

 private:
  struct Listener;
  std::unique_ptr<Listener> listener_;
};

} // namespace kestu::sandbox
