#pragma once

#include "core/changes/store_job.hpp"
#include "core/service/client.hpp"

#include <chrono>
#include <functional>
#include <string>

/// Following a store job until it ends.
namespace kestu::JobFollow {

/// Called on the way.
struct Listener {
  std::function<void(const StoreJob&)> moved;      ///< at each look at a job that isn't over
  std::function<void(const std::string&)> trouble; ///< once, when kestu can't be reached; it goes on
};

/// Looks every 15 seconds until the job is over, done, stopped or undone. A time that runs out is a CLIError of kind
/// pending: the last look is less than 15 seconds before it, and nothing sleeps past it.
Response<StoreJob> until(const Client& client, const std::string& jobPath, std::chrono::minutes timeout,
                         const Listener& listener);

/// What a job that is over means: nothing for one that succeeded, else the error to end with.
void requireSuccess(const StoreJob& job, const std::string& undo);

} // namespace kestu::JobFollow
