#include "core/service/device_flow.hpp"

#include "core/support/blotting.hpp"

#include <algorithm>

namespace kestu {

namespace {

/// No longer than can be waited for and counted.
std::chrono::seconds secondsOf(const JSONValue& value, std::chrono::seconds most) {
  return std::chrono::seconds(std::clamp<std::int64_t>(value.integer(), 0, most.count()));
}

} // namespace

Grant Grant::read(const JSONValue& value) {
  Grant grant{value.at("name").text(), value.at("client").text(), value.at("scopes").texts(), std::nullopt,
              value.at("approvals").text()};
  if (value.find("appIds")) grant.appIds = value.listAt("appIds", &JSONValue::integer);
  return grant;
}

DeviceStart DeviceStart::read(const JSONValue& value) {
  return {value.at("deviceCode").text(), value.at("userCode").text(), value.at("verificationUriComplete").text(),
          secondsOf(value.at("interval"), std::chrono::hours(1)),
          secondsOf(value.at("expiresIn"), std::chrono::hours(24 * 366))};
}

SignedIn SignedIn::read(const JSONValue& value) {
  std::string token = value.at("token").text();
  if (!Token::wellFormed(token)) throw JSONError("token is no token");
  return {Token(token), value.find("grant", Grant::read)};
}

namespace DeviceFlow {

namespace {

using Kind = CLIError::Kind;

/// What the RFC lengthens the wait by when the service asks to slow down.
constexpr std::chrono::seconds slower{5};

CLIError expired() { return {Kind::failed, "The code expired before it was approved. Run it again for a new one."}; }

/// What an answer to a poll that carries no token means.
enum class Next { wait, slowDown, tryAgain };

/// Throws for an answer that ends the wait.
Next judged(const HTTPAnswer& answer, const Client& client) {
  std::string error = Refusal::read(answer.body).error.value_or("");
  if (error == "authorization_pending") return Next::wait;
  if (error == "slow_down") return Next::slowDown;
  if (error == "access_denied") throw CLIError(Kind::denied, "Denied in the kestu app. Nothing was signed in.");
  if (error == "expired_token") throw expired();
  if (answer.status == 426) throw client.error(answer.status, answer.body);
  // It passes, and ending here would cost the user the approval.
  if (answer.status >= 500) return Next::tryAgain;
  if (answer.status == 429) return Next::slowDown;
  throw CLIError(Kind::failed, "kestu no longer knows this sign-in. Run it again.");
}

} // namespace

DeviceStart start(const Request& request, const Client& client) {
  JSONData body = JSONData::object({{"client", request.client}, {"machine", request.machine}});
  if (!request.scopes.empty()) body.set("scopes", request.scopes);
  body.setGiven("ciApp", request.ciApp);
  return client.post("/v1/auth/device", {}, body, DeviceStart::read).value;
}

SignedIn wait(const DeviceStart& start, const Client& client) {
  Clock& clock = client.context().clock;
  std::chrono::seconds interval = std::max(start.interval, std::chrono::seconds(1));
  auto begun = clock.continuous();
  const std::string body = JSONData::object({{"deviceCode", start.deviceCode}}).compact();
  Console::Busy busy(client.context().console);
  while (true) {
    clock.sleep(interval, client.context().stop);
    bool late = clock.continuous() - begun > start.expiresIn + interval;
    std::optional<HTTPAnswer> answer;
    CLIError last = expired();
    try {
      answer = client.send("POST", "/v1/auth/token", {}, body);
      // One that tells the request back would have the code shown; what is shorter may stand there as a word.
      if (start.deviceCode.size() >= 12) answer->body = blotted(answer->body, start.deviceCode);
    } catch (const CLIError& lost) {
      last = lost;
    }
    if (answer && answer->status >= 200 && answer->status <= 299) {
      return client.decoded(std::move(*answer), SignedIn::read).value;
    }
    if (answer) {
      Next next = judged(*answer, client);
      if (next == Next::slowDown) interval += slower;
      if (next == Next::tryAgain) last = client.error(answer->status, answer->body);
    }
    // A service that never says so does not keep anybody waiting for good.
    if (late) throw last;
  }
}

} // namespace DeviceFlow

} // namespace kestu
