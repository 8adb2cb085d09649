#pragma once

#include <array>
#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <vector>

namespace kestu {

/// A failure that the program understands: its kind is the exit status, its description the whole message for the user.
class CLIError : public std::exception {
 public:
  enum class Kind : std::int32_t {
    failed = 1,
    usage,
    signedOut,
    notAllowed,
    denied,
    unconfirmed,
    notFound,
    quota,
    unavailable,
    pending,
    outdated,
  };

  static constexpr std::array allCases = {Kind::failed,      Kind::usage,       Kind::signedOut, Kind::notAllowed,
                                          Kind::denied,      Kind::unconfirmed, Kind::notFound,  Kind::quota,
                                          Kind::unavailable, Kind::pending,     Kind::outdated};

  CLIError(Kind ofKind, std::string message) : kind(ofKind), description(std::move(message)) {}

  /// The kind of a raw value from 1 to 11, none for any other.
  static std::optional<Kind> kindOf(std::int32_t rawValue);

  /// "Exit codes: 1 failed, 2 used wrongly, …": one entry a kind, in order.
  static std::string help();

  static CLIError signedOut();

  /// For a command that would overwrite files of the repository; thrown before anything is written.
  static CLIError notWritten(const std::string& reason, const std::vector<std::string>& files);

  const char* what() const noexcept override { return description.c_str(); }
  int status() const { return static_cast<int>(kind); }

  Kind kind;
  std::string description;
};

/// Thrown out of a wait or a transfer when its stop token was triggered; carries no message of its own.
class Stopped : public std::exception {
 public:
  const char* what() const noexcept override { return "stopped"; }
};

} // namespace kestu
