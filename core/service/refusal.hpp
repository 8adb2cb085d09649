#pragma once

#include "core/support/clock.hpp"
#include "core/support/error.hpp"

#include <optional>
#include <string>
#include <string_view>

namespace kestu {

/// The body of an answer that is not a success.
struct Refusal {
  std::optional<std::string> error;
  std::optional<std::string> scope;
  std::optional<std::string> limit;
  std::optional<Moment> resetsAt;
  std::optional<std::string> message;

  /// A body that does not decode is an empty refusal.
  static Refusal read(std::string_view body);

  /// Too many calls for the moment, unlike those of some hours or days, whose end no wait outlasts.
  bool isRush(int status) const;

  /// What went wrong for a moment, for one who waits on: without the advice to try again.
  std::string trouble(int status) const;

  /// What the refusal means to the user; `latest` is the newer version of the program, when one is known.
  CLIError asError(int status, const std::optional<std::string>& latest, Moment now) const;
};

/// A scope as the kestu app names it when a sign-in is approved; none for a key that it does not know.
std::optional<std::string_view> scopeLabel(std::string_view key);

/// An answer that does not decode.
CLIError notUnderstood();

} // namespace kestu
