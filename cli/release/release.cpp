#include "cli/release/release.hpp"

#include "cli/families.hpp"

namespace kestu {

void addRelease(Command& command) {
  command.discussion =
      "kestu release prepare 1.2 makes or renames the version being prepared, attaches its build and sends the repo's "
      "listing and assets; kestu release check 1.2 says what App Review would trip on; kestu submit 1.2 sends it. "
      "Releasing, and resuming or completing a phased release, reach users at once, so they wait for your approval. "
      "kestu status says where each platform's versions are.";
  addReleasePrepare(command);
  addReleaseCheck(command);
  addReleasePreview(command);
  addReleaseNow(command);
  addReleasePhased(command);
  command.example("check 1.2", "What App Review would trip on.");
  command.example("prepare 1.2 --dry-run", "Everything that getting 1.2 ready would do; nothing is sent.");
}

} // namespace kestu
