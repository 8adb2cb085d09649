#include "core/support/error.hpp"

#include <string_view>
#include <utility>

namespace kestu {

namespace {

std::string_view label(CLIError::Kind kind) {
  switch (kind) {
  case CLIError::Kind::failed:
    return "failed";
  case CLIError::Kind::usage:
    return "used wrongly";
  case CLIError::Kind::signedOut:
    return "not signed in";
  case CLIError::Kind::notAllowed:
    return "not allowed (the sign-in's scopes or apps)";
  case CLIError::Kind::denied:
    return "denied (in the kestu app, or at the question)";
  case CLIError::Kind::unconfirmed:
    return "needs --yes (no terminal to ask at)";
  case CLIError::Kind::notFound:
    return "not found";
  case CLIError::Kind::quota:
    return "over a quota";
  case CLIError::Kind::unavailable:
    return "kestu unreachable";
  case CLIError::Kind::pending:
    return "still waiting when the time ran out";
  case CLIError::Kind::outdated:
    return "kestu needs updating";
  }
  return "";
}

} // namespace

std::optional<CLIError::Kind> CLIError::kindOf(std::int32_t rawValue) {
  if (rawValue < 1 || rawValue > static_cast<std::int32_t>(allCases.size())) return std::nullopt;
  return static_cast<Kind>(rawValue);
}

std::string CLIError::help() {
  std::string text = "Exit codes: ";
  for (Kind kind : allCases) {
    if (kind != allCases.front()) text += ", ";
    text += std::to_string(static_cast<int>(kind)) + " " + std::string(label(kind));
  }
  return text + ".";
}

CLIError CLIError::signedOut() { return {Kind::signedOut, "Not signed in. Run kestu login."}; }

CLIError CLIError::notWritten(const std::string& reason, const std::vector<std::string>& files) {
  std::string message = reason + ", so nothing was written:\n";
  for (const std::string& file : files) message += "  " + file + "\n";
  return {Kind::failed, message + "--force writes over them."};
}

} // namespace kestu
