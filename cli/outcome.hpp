#pragma once

#include "core/support/error.hpp"

#include <utility>
#include <variant>

namespace kestu {

/// What a call gave, or why it gave nothing, for a command that goes on without it.
template <class T>
using Outcome = std::variant<T, CLIError>;

template <class Fetch>
auto outcome(Fetch&& fetch) -> Outcome<decltype(fetch())> {
  try {
    return std::forward<Fetch>(fetch)();
  } catch (const CLIError& error) {
    return error;
  }
}

} // namespace kestu
