#include "cli/command_rows.hpp"
#include "cli/help.hpp"
#include "cli/program.hpp"
#include "core/platform/executable.hpp"
#include "core/platform/terminal.hpp"
#include "core/support/environment.hpp"
#include "core/support/version.hpp"

#include <dlfcn.h>
#include <fcntl.h>

#include <cstdio>
#include <string>
#include <vector>

namespace {

using namespace kestu;

/// The answer to what needs no command: the version and the root's help; empty for all else.
std::string quickAnswer(const std::vector<std::string>& words) {
  if (words.size() > 1) return "";
  if (!words.empty() && words[0] == "--version") return std::string(CLI::version) + "\n";
  if (words.empty() || words[0] == "--help" || words[0] == "-h" || words[0] == "help") {
    return help(bareRoot(), terminalWidth(SystemTerminal(), columnsGiven(Environment::captured())));
  }
  return "";
}

/// A stream that was closed would give its number to the next file opened, and that file would get the answer. What is
/// put in its place cannot be written to, so that writing still fails.
void holdStandardStreams() {
  for (int stream : {0, 1, 2}) {
    if (fcntl(stream, F_GETFD) == -1) static_cast<void>(open("/dev/null", stream == 0 ? O_WRONLY : O_RDONLY));
  }
}

KestuProgram load() {
  auto executable = executablePath();
  if (!executable) return nullptr;
  auto beside = executable->parent_path();
  for (const auto& folder : {beside.parent_path() / "lib", beside.parent_path() / "lib" / "kestu", beside}) {
    for (const char* name : {"libkestu-program.so", "libkestu-program.dylib"}) {
      if (void* handle = dlopen((folder / name).c_str(), RTLD_LAZY | RTLD_LOCAL | RTLD_NODELETE)) {
        return reinterpret_cast<KestuProgram>(dlsym(handle, "kestuProgram"));
      }
    }
  }
  return nullptr;
}

} // namespace

int main(int count, char** words) {
  holdStandardStreams();
  std::string answer = quickAnswer(std::vector<std::string>(words + 1, words + count));
  if (!answer.empty()) {
    bool written = std::fwrite(answer.data(), 1, answer.size(), stdout) == answer.size();
    return std::fflush(stdout) == 0 && written ? 0 : 1;
  }
  if (KestuProgram program = load()) return program(count, words);
  const char* reason = dlerror();
  std::fprintf(stderr, "kestu isn't whole here: its library couldn't be loaded (%s). Install it again.\n",
               reason ? reason : "not found");
  return 1;
}
