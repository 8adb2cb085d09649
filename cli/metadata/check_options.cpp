#include "cli/metadata/check_options.hpp"

#include "cli/context.hpp"
#include "cli/metadata/metadata.hpp"
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
  TableOptions::declare(command);
}

void CheckOptions::write(Context& context, const Findings& findings) const {
  if (findings.empty() && !quiet()) return;
  Console& console = context.console;
  TableOptions::write(console, encoded(findings).compact(), ReleaseCheck::rows(findings),
                      console.isTerminal(Stream::out) ? ReleaseCheck::groups(findings, console.style(), console.width())
                                                      : ReleaseCheck::table(findings, console.style()));
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
