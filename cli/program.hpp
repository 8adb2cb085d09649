#pragma once

#include <chrono>

/// Runs the whole program and gives its exit status. It stands in a library of its own, loaded by a front that answers
/// --version and --help without the libraries that only commands need.
extern "C" __attribute__((visibility("default"))) int kestuProgram(int count, char** words);

/// The version and what tells this build of it from any other; written as kestu is built, into the front and the
/// library, which work together only when it is the same.
extern "C" __attribute__((visibility("default"))) const char* kestuBuild();

namespace kestu {

class Clock;

/// The same, with a clock of one's own, and a limit to how long any request may take.
int runProgram(int count, char** words, Clock& clock,
               std::chrono::milliseconds longestRequest = std::chrono::milliseconds::max());

} // namespace kestu

using KestuProgram = int (*)(int, char**);
