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
  app.declare(command, false);
  command.flag({"--strict"}, strict, "Exit 1 on a warning too.");
  TableOptions::declare(command);
}

void CheckOptions::write(Context& context, const Findings& findings) const {
  if (findings.empty() && !quiet()) return;
  Console& console = context.console;
  std::optional<int> width;
  if (console.isTerminal(Stream::out)) width = console.width();
  TableOptions::write(console, encoded(findings).compact(), ReleaseCheck::rows(findings),
                      ReleaseCheck::table(findings, console.style(), width));
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
