#pragma once

#include "core/service/client.hpp"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kestu {

/// What a sign-in may do.
struct Grant {
  std::string name;
  std::string client;
  std::vector<std::string> scopes;
  std::optional<std::vector<std::int64_t>> appIds; ///< none: every app
  std::string approvals;                           ///< "every", "reaching" or "none"

  static Grant read(const JSONValue& value);
};

struct DeviceStart {
  std::string deviceCode;
  std::string userCode;
  std::string verificationUriComplete;
  std::chrono::seconds interval;  ///< between polls
  std::chrono::seconds expiresIn; ///< from now on

  static DeviceStart read(const JSONValue& value);
};

struct SignedIn {
  Token token;
  std::optional<Grant> grant;

  static SignedIn read(const JSONValue& value);
};

/// The device authorization grant (RFC 8628): a code that is approved elsewhere.
namespace DeviceFlow {

struct Request {
  std::string client;
  std::string machine;
  std::vector<std::string> scopes;   ///< empty: those that the approval ticks
  std::optional<std::int64_t> ciApp; ///< for a token that covers one app
};

DeviceStart start(const Request& request, const Client& client);

/// Polls until the sign-in is approved; denied, expired and unknown are CLIErrors.
SignedIn wait(const DeviceStart& start, const Client& client);

} // namespace DeviceFlow

} // namespace kestu
