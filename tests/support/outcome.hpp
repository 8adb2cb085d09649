#pragma once

#include "core/support/error.hpp"

#include <string>
#include <type_traits>

namespace kestu::tests {

/// What the work gives, "" where that is nothing, or what is said where it is refused.
template <class Work>
std::string outcomeOf(const Work& work) {
  try {
    if constexpr (std::is_void_v<decltype(work())>) {
      work();
      return "";
    } else {
      return work();
    }
  } catch (const CLIError& error) {
    return error.description;
  }
}

} // namespace kestu::tests
