#pragma once

#include "cli/faults.hpp"
#include "cli/options.hpp"
#include "core/changes/job_follow.hpp"
#include "core/changes/store_job.hpp"

#include <chrono>
#include <string>

namespace kestu {

/// A group of commands that start store jobs, and its words for them.
struct JobGroup {
  std::string word;    ///< "prices"
  std::string job;     ///< "a subscription's price change"
  std::string made;    ///< what an undo deletes: "the new prices"
  std::string example; ///< an ID for the examples

  /// The command line of its `status` or `undo`, for a "Next:".
  std::string command(const std::string& word, const std::string& id, const AppTarget& app) const;
};

/// The options of a command that starts a job.
struct JobWaitOptions {
  bool wait = false;
  std::chrono::minutes limit{240};
  bool limitGiven = false;
  Faults wrong;

  void declare(Command& command);
  /// What is wrong with them, also beside the --no-wait of a change.
  void check(bool noWait, Faults& faults) const;
  void requireSensible() const; ///< a UsageError
};

/// A change that the service applies country by country, once it is confirmed.
struct JobChange {
  ChangeRequest request;
  std::string started;     ///< "● Kestu sets …, country by country, as your key's hour allows."
  ProposedChange proposal; ///< as it was confirmed; its `done` where there was no need for a job
  bool undoable = true;
};

/// Whose change it is.
struct JobPlace {
  const Client& client;
  std::string appPath;
  const AppTarget& app;
};

/// What the service would make of a change; nothing is kept there.
Response<ChangeAnswer> plannedChange(const Client& client, const ChangeRequest& request, Console& console);

/// A dry run's end, `body` being the service's answer: the title too, as a plan's lines are no use without it.
void tellPlanned(Context& context, const ChangeOptions& options, ProposedChange change, const std::string& body);

/// Sends it, waits for its decision, says how to follow and undo the job that it became, and with --wait follows it.
void sendJob(Context& context, const JobPlace& place, const ChangeOptions& options, const JobWaitOptions& waiting,
             const JobGroup& group, const JobChange& change);

/// Follows a job with its line on the way, until it is over; throws where it didn't succeed.
Response<StoreJob> followJob(Context& context, const Client& client, const std::string& appPath, const std::string& id,
                             std::chrono::minutes limit, const std::string& undo);

/// A job as `status` shows it, with what can be done about it.
std::string jobReport(const JobGroup& group, const StoreJob& job, const std::string& id, const AppTarget& app,
                      Moment now);

void addJobStatus(Command& group, const JobGroup& jobs);
void addJobUndo(Command& group, const JobGroup& jobs);

} // namespace kestu
