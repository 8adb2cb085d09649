#pragma once

#include "core/support/files.hpp"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kestu::tests {

/// A program in a process of its own, in a folder, its output in files of another.
class Program {
 public:
  /// The words begin with the program's file; without variables it gets those of this process. `first` is called in
  /// the process before it runs.
  Program(const std::filesystem::path& folder, const std::filesystem::path& outputs, std::vector<std::string> words,
          std::optional<std::vector<std::string>> variables, const std::function<void()>& first = nullptr)
      : out_(outputs / "session.out"), err_(outputs / "session.err") {
    std::vector<char*> arguments, environment;
    for (std::string& word : words) arguments.push_back(word.data());
    if (variables) {
      for (std::string& variable : *variables) environment.push_back(variable.data());
    }
    arguments.push_back(nullptr);
    environment.push_back(nullptr);
    process_ = fork();
    if (process_ != 0) return;
    if (first) first();
    if (chdir(folder.c_str()) != 0) _exit(126);
    dup2(open("/dev/null", O_RDONLY), 0);
    dup2(open(out_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), 1);
    dup2(open(err_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), 2);
    if (variables)
      execve(arguments[0], arguments.data(), environment.data());
    else
      execv(arguments[0], arguments.data());
    _exit(127);
  }

  void signal(int number) const { kill(process_, number); }
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

} // namespace kestu::tests
