#include "cli/release/release.hpp"

#include "cli/families.hpp"

namespace kestu {

void addRelease(Command& command) {
  command.discussion = "kestu release check 1.2 says what App Review would trip on.";
  command.addNotBuilt("prepare", "Get a version ready for App Review from the repo.");
  addReleaseCheck(command);
  command.addNotBuilt(
      "now", "Release a version App Review approved, which waits for you, to the App Store: it reaches users and can't "
             "be undone, so it waits for your approval.");
  command.addNotBuilt("phased", "Pause, resume or complete a version's phased release.");
}

} // namespace kestu
