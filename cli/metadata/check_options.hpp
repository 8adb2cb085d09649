#pragma once

#include "cli/app_platform.hpp"
#include "cli/metadata/layout_option.hpp"
#include "cli/options.hpp"
#include "core/project/git.hpp"
#include "core/release/finding_report.hpp"
#include "core/release/release_check.hpp"
#include "core/service/client.hpp"

#include <optional>
#include <string>

namespace kestu {

struct Context;

/// Forms in which a CI reads findings.
enum class ReportForm { junit, github };

/// The options of a command that lists findings.
struct CheckOptions : TableOptions {
  bool strict = false;
  std::optional<ReportForm> report;
  LayoutOption layout;
  AppTarget app;
  std::optional<std::string> platform;

  void declare(Command& command);

  /// The findings in the format asked for; nothing for people when there are none. `command` is what a report calls
  /// what was run, "kestu release check 1.2".
  void write(Context& context, const Findings& findings, const ReleaseCheck::Checked& checked,
             const std::string& command) const;
};

/// The kinds of assets that the repository has, as rules.
std::vector<std::string> assetRules(const Context& context);

/// As the repository's kestu.json has it.
ReleaseCheck::KeywordCount keywordCount(const Context& context);

/// What git knows, with the dates that make translations stale asked for once more.
Git::Changes askedAgain(Context& context, const RepoListing& listing, Git::Changes changes, const std::string& primary);

/// Says on standard error what lies among the listing's files and isn't read.
void tellNotes(Context& context, const RepoListing& listing);

/// Says on standard error when git tracks the file that holds the demo account's password.
void warnOfTrackedPassword(Context& context, const RepoListing& listing);

} // namespace kestu
