#include "core/support/files.hpp"
#include "tests/support/command_test.hpp"

#include <thread>

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kestu::tests {
namespace {

/// The built program in a process of its own, its output in files.
class Program {
 public:
  Program(const TemporaryFolder& folder, std::vector<std::string> words, std::vector<std::string> variables,
          const std::string& file = KESTU_PROGRAM)
      : out_(folder.path() / "session.out"), err_(folder.path() / "session.err") {
    words.insert(words.begin(), file);
    std::vector<char*> arguments, environment;
    for (std::string& word : words) arguments.push_back(word.data());
    for (std::string& variable : variables) environment.push_back(variable.data());
    arguments.push_back(nullptr);
    environment.push_back(nullptr);
    process_ = fork();
    if (process_ != 0) return;
    if (chdir(folder.path().c_str()) != 0) _exit(126);
    dup2(open("/dev/null", O_RDONLY), 0);
    dup2(open(out_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), 1);
    dup2(open(err_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), 2);
    execve(file.c_str(), arguments.data(), environment.data());
    _exit(127);
  }

  void interrupt() const { kill(process_, SIGINT); }
  int wait() const {
    int status = 0;
    waitpid(process_, &status, 0);
    return status;
  }
  std::string out() const { return Files::read(out_, 1'000'000).value_or(""); }
  std::string err() const { return Files::read(err_, 1'000'000).value_or(""); }

 private:
  std::filesystem::path out_, err_;
  pid_t process_ = -1;
};

class Session : public CommandTest {
 protected:
  std::vector<std::string> variables = {"KESTU_API_URL=" + server.origin(), "KESTU_TOKEN=" + server.tokenFor(),
                                        "COLUMNS=72"};
};

TEST_F(Session, TheFrontAndTheProgramSayTheSame) {
  Program version(repo, {"--version"}, variables);
  EXPECT_EQ(version.wait(), 0);
  EXPECT_EQ(version.out(), "1.1.2\n");
  environment["COLUMNS"] = "72";
  for (const char* line : {"--help", "help assets push", "kit", "assets push 1.2 -h", "asets"}) {
    SCOPED_TRACE(line);
    Program program(repo, wordsOf(line), variables);
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
    Program program(repo, {"asets"}, variables, bin / "kestu");
    EXPECT_EQ(WEXITSTATUS(program.wait()), status);
    EXPECT_TRUE(has(program.err(), message));
  }
}

TEST_F(Session, AnInterruptWhileItWaitsIsTheSignalsStatus) {
  link();
  repo.write("metadata/screenshots/en-US/iPhone 6.9/01.png", png(1290, 2796));
  Program push(repo, {"assets", "push", "1.2", "--yes"}, variables);
  while (calls("POST /v1/apps/1234567890/assets/commit") == 0) std::this_thread::yield();
  push.interrupt();
  int status = push.wait();
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(WTERMSIG(status), SIGINT);
  EXPECT_FALSE(has(push.err(), "rror"));
}

} // namespace
} // namespace kestu::tests
