#include "core/service/refusal.hpp"

#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/console/readable.hpp"
#include "core/service/announced_version.hpp"
#include "core/support/json.hpp"

#include <array>
#include <utility>

namespace kestu {

namespace {

using Kind = CLIError::Kind;

constexpr std::array<std::pair<std::string_view, std::string_view>, 9> scopeLabels = {{
    {"apps", "Your Apps"},
    {"reviews", "Reviews"},
    {"replies", "Reply to Reviews"},
    {"feedback", "Support Email"},
    {"kestukit", "KestuKit"},
    {"testflight", "TestFlight"},
    {"release", "Releases"},
    {"sales", "Sales"},
    {"store", "In-App Purchases"},
}};

std::string quotaName(const std::optional<std::string>& limit) {
  if (limit == "window") return "the account's calls for this 5-hour window";
  if (limit == "week") return "the account's calls for this week";
  return "this sign-in's calls a minute";
}

Kind kindOfMessage(int status) {
  switch (status) {
  case 403:
    return Kind::notAllowed;
  case 404:
    return Kind::notFound;
  case 429:
    return Kind::quota;
  default:
    return status >= 500 ? Kind::unavailable : Kind::failed;
  }
}

std::string tooOld(const std::optional<std::string>& latest) {
  return "kestu CLI " + std::string(CLI::version) + " is too old to use now" +
         (latest ? ": " + printable(*latest) + " is out" : "") + ". Update it: kestu update";
}

} // namespace

std::optional<std::string_view> scopeLabel(std::string_view key) {
  for (const auto& [scope, label] : scopeLabels) {
    if (scope == key) return label;
  }
  return std::nullopt;
}

Refusal Refusal::read(std::string_view body) {
  try {
    JSONValue value = JSONValue::parse(body);
    return {value.find("error", &JSONValue::text), value.find("scope", &JSONValue::text),
            value.find("limit", &JSONValue::text), value.find("resetsAt", &JSONValue::moment),
            value.find("message", &JSONValue::text)};
  } catch (const JSONError&) {
    return {};
  }
}

bool Refusal::isRush(int status) const { return status == 429 && (error != "agent_quota" || limit == "minute"); }

std::string Refusal::trouble(int status) const {
  if (status >= 300 && message) return printableText(readableStart(*message));
  if (status == 429) return "Too many requests.";
  if (status >= 500) return "kestu couldn't answer (" + std::to_string(status) + ").";
  return "kestu's answer couldn't be read.";
}

CLIError Refusal::asError(int status, const std::optional<std::string>& latest, Moment now) const {
  if (status == 401) {
    return {Kind::signedOut, "kestu no longer takes this sign-in: it was revoked, went unused for 90 days, or was "
                             "never made. Run kestu login."};
  }
  if (status == 426) return {Kind::outdated, tooOld(latest)};
  if (status == 403 && error == "scope_required") {
    auto label = scopeLabel(scope.value_or(""));
    return {Kind::notAllowed, "This sign-in can't do that. Run kestu login again and tick " +
                                  std::string(label.value_or("what it needs")) + " as you approve it."};
  }
  if (status == 403 && error == "app_not_granted") {
    return {Kind::notAllowed, "This sign-in doesn't cover that app. Run kestu login again and include it."};
  }
  if (status == 429 && error == "agent_quota") {
    return {Kind::quota,
            "Over " + quotaName(limit) + (resetsAt ? " until " + Format::moment(*resetsAt, now) : "") + "."};
  }
  if (message) return {kindOfMessage(status), printableText(readableStart(*message))};
  if (status == 429) return {Kind::quota, "Too many requests. Try again in a minute."};
  if (status == 404) return {Kind::notFound, "Not found."};
  std::string number = std::to_string(status);
  if (status >= 500 || status == 0) {
    return {Kind::unavailable, "kestu couldn't answer (" + number + "). Try again in a moment."};
  }
  return {Kind::failed,
          "kestu refused that (" + number + (error ? ", " + printable(readableStart(*error)) : "") + ")."};
}

CLIError notUnderstood() {
  return {Kind::unavailable,
          "kestu's answer wasn't what this version of the CLI expects. Update the CLI, or try again."};
}

} // namespace kestu
