#pragma once

#include "core/support/clock.hpp"
#include "core/support/process.hpp"

#include <filesystem>
#include <map>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace kestu {

/// What git knows of a repository's files. Paths are relative to `root`, which may be a folder inside the work tree.
class Git {
 public:
  struct Changes {
    std::map<std::string, Moment> dates{}; ///< by path; without those that git never saw and ignores
    std::optional<std::string> unknown{};  ///< why there are no dates: "this is a shallow clone"
  };

  virtual ~Git() = default;

  /// When each file last changed: the time of its newest commit, a merge's too where it decided the file, and `now`
  /// for what isn't committed. Throws Stopped.
  virtual Changes lastChanged(const std::vector<std::string>& paths, const std::filesystem::path& root, Moment now) = 0;

  /// The same of the files that are committed, each asked for by itself, which takes a run of git a file. A file
  /// without a commit, or that git can't be asked for, has no date. Throws Stopped.
  virtual std::map<std::string, Moment> lastCommitted(const std::vector<std::string>& paths,
                                                      const std::filesystem::path& root) = 0;

  /// Whether git tracks the file; false where git can't say. Throws Stopped.
  virtual bool isTracked(const std::string& path, const std::filesystem::path& root) = 0;
};

/// The `git` tool: one run for the history of all paths and one for what isn't committed.
class SystemGit final : public Git {
 public:
  explicit SystemGit(std::stop_token stop = {}, std::string program = "git")
      : stop_(std::move(stop)), program_(std::move(program)) {}

  Changes lastChanged(const std::vector<std::string>& paths, const std::filesystem::path& root, Moment now) override;
  std::map<std::string, Moment> lastCommitted(const std::vector<std::string>& paths,
                                              const std::filesystem::path& root) override;
  bool isTracked(const std::string& path, const std::filesystem::path& root) override;

 private:
  ProcessResult run(const std::vector<std::string>& arguments, const std::filesystem::path& root) const;

  std::stop_token stop_;
  std::string program_;
};

} // namespace kestu
