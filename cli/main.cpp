#include "cli/program.hpp"
#include "cli/stored_pages.hpp"
#include "core/platform/loaded_library.hpp"
#include "core/platform/terminal.hpp"
#include "core/support/environment.hpp"
#include "core/support/version.hpp"

#include <fcntl.h>

#include <cstdio>
#include <exception>
#include <optional>
#include <string>
#include <vector>

namespace {

using namespace kestu;

/// The answer to what needs no command: the version and the help; none for all else.
std::optional<std::string> quickAnswer(const std::vector<std::string>& words) {
  if (words.size() == 1 && words[0] == "--version") return std::string(CLI::version) + "\n";
  auto page = StoredPages::askedFor(words);
  if (!page) return std::nullopt;
  return laidOut(*page, terminalWidth(SystemTerminal(), columnsGiven(Environment::captured())));
}

int write(const std::string& answer) {
  try {
    SystemTerminal().write(Stream::out, answer);
    return 0;
  } catch (const BrokenPipe&) {
    return 141;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}

/// A stream that was closed would give its number to the next file opened, and that file would get the answer. What is
/// put in its place cannot be written to, so that writing still fails.
void holdStandardStreams() {
  for (int stream : {0, 1, 2}) {
    if (fcntl(stream, F_GETFD) == -1) static_cast<void>(open("/dev/null", stream == 0 ? O_WRONLY : O_RDONLY));
  }
}

} // namespace

int main(int count, char** words) {
  holdStandardStreams();
  if (auto answer = quickAnswer(std::vector<std::string>(words + 1, words + count))) return write(*answer);
  KestuProgram program = nullptr;
  try {
    program = LoadedLibrary::part("libkestu-program", kestuBuild()).function<KestuProgram>("kestuProgram");
  } catch (const NotLoaded& error) {
    std::fprintf(stderr, "kestu isn't whole here: its library couldn't be loaded: %s. Install kestu again.\n",
                 error.what());
    return 1;
  }
  return program(count, words);
}
