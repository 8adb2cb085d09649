#pragma once

#include "cli/app_platform.hpp"
#include "cli/metadata/layout_option.hpp"
#include "cli/options.hpp"
#include "core/project/git.hpp"
#include "core/release/release_check.hpp"
#include "core/service/client.hpp"

#include <optional>
#include <string>

namespace kestu {

struct Context;

/// The options of a command that lists findings.
struct CheckOptions : TableOptions {
  bool strict = false;
  LayoutOption layout;
  AppTarget app;
  std::optional<std::string> platform;

  void declare(Command& command);

  /// The findings in the format asked for; nothing for people when there are none.
  void write(Context& context, const Findings& findings) const;
};

/// As the repository's kestu.json has it.
ReleaseCheck::KeywordCount keywordCount(const Context& context);

/// What git knows, with the dates that make translations stale asked for once more.
Git::Changes askedAgain(Context& context, const RepoListing& listing, Git::Changes changes, const std::string& primary);

/// Says on standard error what lies among the listing's files and isn't read.
void tellNotes(Context& context, const RepoListing& listing);

/// Says on standard error when git tracks the file that holds the demo account's password.
void warnOfTrackedPassword(Context& context, const RepoListing& listing);

} // namespace kestu
