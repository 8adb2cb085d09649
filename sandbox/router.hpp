#pragma once

#include "sandbox/assets/uploads.hpp"
#include "sandbox/faults.hpp"
#include "sandbox/http.hpp"
#include "sandbox/state.hpp"

namespace kestu::sandbox {

// Which function answers a call, once the sign-in may make it. Takes the state's mutex itself.
class Router {
 public:
  Router(State& state, Faults& faults) : state_(state), faults_(faults) {}

  // Every failure is an answer too. `body` is read for upload parts only; the others have theirs in the call.
  Answer answer(Call& call, const Uploads::Body& body);

  // False for the page and the control calls, which are no part of the service.
  static bool isService(const std::string& path);
  static bool isUpload(const std::string& path) { return path.starts_with("/upload/"); }

 private:
  Answer routed(Call& call, const Uploads::Body& body);
  Answer service(Call& call);
  void needOwnOrigin(const Call& call) const;

  State& state_;
  Faults& faults_;
};

} // namespace kestu::sandbox
