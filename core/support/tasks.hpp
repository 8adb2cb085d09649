#pragma once

#include <cstddef>
#include <functional>
#include <stop_token>

namespace kestu {

/// Runs `each(index, stop)` for 0…count-1, at most `limit` at once, the next as soon as one finishes. The first error
/// triggers the stop token given to the others, nothing new begins, and it is rethrown when all have returned; so does
/// `stop`, as Stopped. Returns when all have finished.
void fewAtOnce(std::size_t count, std::size_t limit, const std::stop_token& stop,
               const std::function<void(std::size_t, const std::stop_token&)>& each);

/// As many workers as the machine has cores, for work that computes.
std::size_t coreCount();

} // namespace kestu
