#include "tests/support/command_test.hpp"
#include "tests/support/program.hpp"

#include <thread>

namespace kestu::tests {
namespace {

class Session : public CommandTest {
 protected:
  std::vector<std::string> variables = {"KESTU_API_URL=" + server.origin(), "KESTU_TOKEN=" + server.tokenFor(),
                                        "COLUMNS=72"};

  Program started(const std::string& line, const std::string& file = KESTU_PROGRAM) {
    std::vector<std::string> words = wordsOf(line);
    words.insert(words.begin(), file);
    return {repo.path(), repo.path(), words, variables};
  }
};

TEST_F(Session, TheFrontAndTheProgramSayTheSame) {
  Program version = started("--version");
  EXPECT_EQ(version.wait(), 0);
  EXPECT_EQ(version.out(), "1.1.2\n");
  environment["COLUMNS"] = "72";
  for (const char* line : {"--help", "help assets push", "kit", "assets push 1.2 -h", "asets"}) {
    SCOPED_TRACE(line);
    Program program = started(line);
    int status = WEXITSTATUS(program.wait());
    Ran same = run(line);
    EXPECT_EQ(status, same.status);
    EXPECT_EQ(program.out(), same.out);
    EXPECT_EQ(program.err(), same.err);
  }
}

TEST_F(Session, TheFrontTakesTheProgramOfItsBuildAlone) {
  const std::filesystem::path built = std::filesystem::path(KESTU_PROGRAM).parent_path().parent_path() / "lib";
  const std::string own = "libkestu-program.so", other = "libkestu-media.so"; // any library that isn't its own
  const std::filesystem::path bin = repo.path() / "bin", lib = repo.path() / "lib", kestu = lib / "kestu";
  std::filesystem::create_directories(bin);
  std::filesystem::create_directories(kestu);
  std::filesystem::copy_file(KESTU_PROGRAM, bin / "kestu");
  const std::string older = " is of an older build than this kestu, 1.1.2+";
  // With what lib/kestu and lib have.
  for (const auto& [installed, left, status, message] :
       std::vector<std::tuple<std::string, std::string, int, std::string>>{
           {own, other, 2, "has no command asets"},
           {other, own, 2, "has no command asets"},
           {other, "", 1, (kestu / own).string() + older},
           {"", other, 1, (lib / own).string() + older},
           {"", "", 1, "libkestu-program isn't there. Install kestu again."}}) {
    SCOPED_TRACE(installed + ", " + left);
    for (const auto& [folder, target] : {std::pair(kestu, installed), std::pair(lib, left)}) {
      std::filesystem::remove(folder / own);
      if (!target.empty()) std::filesystem::create_symlink(built / target, folder / own);
    }
    Program program = started("asets", bin / "kestu");
    EXPECT_EQ(WEXITSTATUS(program.wait()), status);
    EXPECT_TRUE(has(program.err(), message));
  }
}

TEST_F(Session, AnInterruptWhileItWaitsIsTheSignalsStatus) {
  link();
  repo.write("metadata/screenshots/en-US/iPhone 6.9/01.png", png(1290, 2796));
  Program push = started("assets push 1.2 --yes");
  while (calls("POST /v1/apps/1234567890/assets/commit") == 0) std::this_thread::yield();
  push.signal(SIGINT);
  int status = push.wait();
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(WTERMSIG(status), SIGINT);
  EXPECT_FALSE(has(push.err(), "rror"));
}

} // namespace
} // namespace kestu::tests
