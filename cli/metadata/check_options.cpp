#include "cli/metadata/check_options.hpp"

#include "cli/context.hpp"
#include "cli/metadata/metadata.hpp"
#include "core/assets/asset_folders.hpp"
#include "core/console/printable.hpp"
#include "core/listing/metadata.hpp"
#include "core/project/git.hpp"
#include "core/project/project.hpp"
#include "core/release/finding_table.hpp"

namespace kestu {

void CheckOptions::declare(Command& command) {
  declarePlatform(command, platform);
  layout.declare(command);
  app.declare(command);
  command.flag({"--strict"}, strict, "Exit 1 on a warning too.");
  command.option({{"--report"},
                  "form",
                  "For a CI, in place of the table: junit for a test report (> report.xml saves it), a test case for "
                  "each rule and language; github for GitHub's annotations beside the files.",
                  [this](const std::string& value) {
                    requireOneOf("--report", value, {"junit", "github"});
                    report = value == "junit" ? ReportForm::junit : ReportForm::github;
                    reports = true;
                  },
                  {"junit", "github"},
                  false});
  TableOptions::declare(command);
  command.validate = [this, ofTable = command.validate] {
    ofTable();
    if (report && (json || format)) throw UsageError("--report is a form of its own: it goes without --output.");
  };
}

void CheckOptions::write(Context& context, const Findings& findings, const ReleaseCheck::Checked& checked,
                         const std::string& command) const {
  if (findings.empty() && !quiet()) return;
  Console& console = context.console;
  if (report) {
    auto folder = Project::root(context.folder).lexically_relative(Project::repository(context.folder));
    ReleaseCheck::Reporting reporting{command, folder == "." ? "" : folder.generic_string(), strict};
    return console.out(*report == ReportForm::junit ? ReleaseCheck::junit(findings, checked, reporting)
                                                    : ReleaseCheck::githubAnnotations(findings, reporting));
  }
  TableOptions::write(console, encoded(findings).compact(), ReleaseCheck::rows(findings),
                      console.isTerminal(Stream::out) ? ReleaseCheck::groups(findings, console.style(), console.width())
                                                      : ReleaseCheck::table(findings, console.style()));
}

std::vector<std::string> assetRules(const Context& context) {
  std::vector<std::string> rules;
  for (AssetKind kind : Assets::kinds(Project::root(context.folder))) rules.emplace_back(facts(kind).key);
  return rules;
}

ReleaseCheck::KeywordCount keywordCount(const Context& context) {
  auto link = Project::link(context.folder);
  bool characters = link && link->keywordCharacters();
  return characters ? ReleaseCheck::KeywordCount::characters : ReleaseCheck::KeywordCount::bytes;
}

Git::Changes askedAgain(Context& context, const RepoListing& listing, Git::Changes changes,
                        const std::string& primary) {
  auto suspects = ReleaseCheck::suspects(listing.files, changes, primary);
  // What isn't committed has changed now, and a file's history has nothing to say on it.
  Moment now = context.clock.now();
  std::erase_if(suspects, [&](const std::string& path) { return changes.dates.at(path) >= now; });
  if (suspects.empty()) return changes;
  Console::Busy busy(context.console);
  for (const auto& [path, date] : SystemGit(context.stop).lastCommitted(suspects, Project::root(context.folder))) {
    changes.dates[path] = date;
  }
  return changes;
}

void tellNotes(Context& context, const RepoListing& listing) {
  for (const std::string& note : listing.notes) context.console.error(printable(note));
}

void warnOfTrackedPassword(Context& context, const RepoListing& listing) {
  SystemGit git(context.stop);
  auto file = Metadata::trackedPasswordFile(listing, context.environment, Project::root(context.folder), git);
  if (file) context.console.error(printable(Metadata::trackedPasswordWarning(*file)));
}

} // namespace kestu
