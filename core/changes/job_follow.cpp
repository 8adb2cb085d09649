#include "core/changes/job_follow.hpp"

#include "core/console/format.hpp"
#include "core/console/printable.hpp"

namespace kestu::JobFollow {

using namespace std::chrono_literals;
using Kind = CLIError::Kind;

namespace {

constexpr std::chrono::seconds interval = 15s;

bool isOnItsWay(const StoreJob& job) { return job.state == "running" || job.state == "undoing"; }

} // namespace

Response<StoreJob> until(const Client& client, const std::string& jobPath, std::chrono::minutes timeout,
                         const Listener& listener) {
  Clock& clock = client.context().clock;
  auto deadline = clock.continuous() + timeout;
  Console::Busy busy(client.context().console);
  bool seen = false;
  bool lost = false;
  while (true) {
    try {
      auto job = client.get(jobPath, {}, StoreJob::read);
      seen = true;
      lost = false;
      if (!isOnItsWay(job.value)) return job;
      if (listener.moved) listener.moved(job.value);
    } catch (const CLIError& error) {
      // The job goes on at the service, so that a connection that drops in these hours doesn't end the wait for it.
      if (!seen || error.kind != Kind::unavailable) throw;
      if (!lost && listener.trouble) listener.trouble(error.description);
      lost = true;
    }
    if (clock.continuous() + interval >= deadline) {
      throw CLIError(Kind::pending, "The time ran out with it still on its way. Run it again to keep waiting.");
    }
    clock.sleep(interval, client.context().stop);
  }
}

void requireSuccess(const StoreJob& job, const std::string& undo) {
  if (job.state != "failed") return;
  std::string so = Format::number(job.done) + " of " + Format::countries(job.total) + " were done.";
  throw CLIError(Kind::failed, "It stopped at App Store Connect's refusal." +
                                   (job.error ? " " + printable(*job.error) : "") + "\n" + so +
                                   (job.canUndo && !undo.empty() ? "\nUndo: " + undo : ""));
}

} // namespace kestu::JobFollow
