#pragma once

#include "core/console/console.hpp"
#include "core/support/error.hpp"

#include <utility>

namespace kestu {

/// What `work` gives, which reads and asks and sends nothing; a stop on the way says so.
template <class Work>
auto beforeSending(Console& console, Work&& work) {
  try {
    return std::forward<Work>(work)();
  } catch (const Stopped&) {
    console.error("Stopped: nothing was sent.");
    throw;
  }
}

} // namespace kestu
