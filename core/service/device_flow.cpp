#include "core/service/device_flow.hpp"

#include <algorithm>

namespace kestu {

Grant Grant::read(const JSONValue& value) {
  Grant grant{value.at("name").text(), value.at("client").text(), value.at("scopes").texts(), std::nullopt,
              value.at("approvals").text()};
  if (value.find("appIds")) grant.appIds = value.listAt("appIds", &JSONValue::integer);
  return grant;
}

DeviceStart DeviceStart::read(const JSONValue& value) {
  return {value.at("deviceCode").text(), value.at("userCode").text(), value.at("verificationUriComplete").text(),
          std::chrono::seconds(value.at("interval").integer()), std::chrono::seconds(value.at("expiresIn").integer())};
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

/// Whether to poll again; throws for an answer that ends the wait.
void judge(const std::string& error) {
  if (error == "authorization_pending" || error == "slow_down") return;
  if (error == "access_denied") throw CLIError(Kind::denied, "Denied in the kestu app. Nothing was signed in.");
  if (error == "expired_token") throw expired();
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
  Console::Busy busy(client.context().console);
  while (true) {
    clock.sleep(interval, client.context().stop);
    bool late = clock.continuous() - begun > start.expiresIn + interval;
    std::string body = JSONData::object({{"deviceCode", start.deviceCode}}).compact();
    HTTPAnswer answer = client.send("POST", "/v1/auth/token", {}, body);
    if (answer.status >= 200 && answer.status <= 299) return client.decoded(std::move(answer), SignedIn::read).value;
    std::string error = Refusal::read(answer.body).error.value_or("");
    judge(error);
    // A service that never says so does not keep anybody waiting for good.
    if (late) throw expired();
    if (error == "slow_down") interval += slower;
  }
}

} // namespace DeviceFlow

} // namespace kestu
