#include "core/support/error.hpp"
#include "core/support/process.hpp"
#include "tests/support/tables.hpp"

#include <gtest/gtest.h>

#include <csignal>
#include <system_error>
#include <thread>

namespace kestu::tests {
namespace {

using End = ProcessResult::End;

ProcessResult shell(const std::string& script, std::size_t limit = 1 << 20, int milliseconds = 60'000) {
  return Process::run({.arguments = {"sh", "-c", script},
                       .folder = "/",
                       .environment = {{"KESTU_TEST", "a b"}},
                       .outputLimit = limit,
                       .timeout = std::chrono::milliseconds(milliseconds)},
                      {});
}

TEST(Process, GivesWhatAProgramWroteAndHowItEnded) {
  for (const auto& [script, end, status, out] : Rows<const char*, End, int, std::string>{
           {"printf '%s %s' \"$KESTU_TEST\" \"$PWD\"", End::exited, 0, "a b /"},
           {"cat; exit 3", End::exited, 3, ""},
           {"kill -TERM $$", End::killed, SIGTERM, ""},
           {"kill -PIPE $$", End::killed, SIGPIPE, ""},
           {"printf 12345678901", End::tooMuchOutput, 0, "1234567890"},
           {"printf 1234567890", End::exited, 0, "1234567890"},
           {"yes", End::tooMuchOutput, 0, "y\ny\ny\ny\ny\n"},
       }) {
    SCOPED_TRACE(script);
    auto result = shell(script, 10);
    EXPECT_EQ(result.end, end);
    EXPECT_EQ(result.status, status);
    EXPECT_EQ(result.out, out);
  }
}

TEST(Process, GetsNoSecretOfThisProcess) {
  for (const char* name : {"KESTU_TOKEN", "KESTU_REVIEW_DEMO_PASSWORD"}) {
    SCOPED_TRACE(name);
    ::setenv(name, "s3cret", 1);
    ProcessResult result = Process::run({.arguments = {"env"}}, {});
    ::unsetenv(name);
    EXPECT_NE(result.out.find("PATH="), std::string::npos);
    EXPECT_EQ(result.out.find("s3cret"), std::string::npos);
  }
}

TEST(Process, DrainsBothPipesAtOnce) {
  auto result = shell("head -c 900000 /dev/zero >&2; head -c 900000 /dev/zero; head -c 100000 /dev/zero >&2");
  EXPECT_TRUE(result.succeeded());
  EXPECT_EQ(result.out.size(), 900'000U);
  EXPECT_EQ(result.err.size(), 65'536U);
}

TEST(Process, EndsWhatTakesTooLongOrIsStopped) {
  EXPECT_EQ(shell("exec sleep 600", 10, 1).end, End::tooLong);
  std::stop_source source;
  std::jthread stopper([&] { source.request_stop(); });
  EXPECT_THROW(Process::run({.arguments = {"sleep", "600"}}, source.get_token()), Stopped);
  try {
    Process::run({.arguments = {"/nowhere/kestu-test"}}, {});
    FAIL();
  } catch (const std::system_error& error) {
    EXPECT_EQ(error.code(), std::errc::no_such_file_or_directory);
  }
}

TEST(Process, AnOwnSessionHasNoTerminalToAskAt) {
  const char* script = "import os; print(os.getsid(0) == os.getpid())";
  for (bool own : {false, true}) {
    auto result = Process::run({.arguments = {"python3", "-c", script}, .ownSession = own}, {});
    EXPECT_EQ(result.out, own ? "True\n" : "False\n");
  }
}

} // namespace
} // namespace kestu::tests
