#include "core/support/process.hpp"

#include "core/support/error.hpp"
#include "core/support/process_input.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <map>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace kestu {

namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr std::size_t inputLimit = 4096;
constexpr std::size_t errorLimit = std::size_t{64} << 10U;

[[noreturn]] void fail(int code, const std::string& what) {
  throw std::system_error(code, std::generic_category(), what);
}

class Descriptor {
 public:
  explicit Descriptor(int descriptor = -1) : descriptor_(descriptor) {}
  ~Descriptor() { close(); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  void take(int descriptor) {
    close();
    descriptor_ = descriptor;
  }
  void close() {
    if (descriptor_ >= 0) ::close(descriptor_);
    descriptor_ = -1;
  }
  int get() const { return descriptor_; }

 private:
  int descriptor_;
};

struct Pipe {
  Descriptor reading, writing;

  Pipe() {
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) fail(errno, "pipe");
    reading.take(ends[0]);
    writing.take(ends[1]);
    for (int end : ends) ::fcntl(end, F_SETFD, FD_CLOEXEC);
  }
};

struct FileActions {
  posix_spawn_file_actions_t actions{};
  FileActions() { posix_spawn_file_actions_init(&actions); }
  ~FileActions() { posix_spawn_file_actions_destroy(&actions); }
  FileActions(const FileActions&) = delete;
  FileActions& operator=(const FileActions&) = delete;
};

/// A child does not inherit that this program waits for its signals elsewhere and ignores SIGPIPE.
struct Attributes {
  posix_spawnattr_t attributes{};
  explicit Attributes(bool ownSession) {
    posix_spawnattr_init(&attributes);
    sigset_t none, usual;
    sigemptyset(&none);
    sigemptyset(&usual);
    for (int signal : {SIGPIPE, SIGINT, SIGTERM, SIGHUP, SIGQUIT}) sigaddset(&usual, signal);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &usual);
    auto session = static_cast<short>(ownSession ? POSIX_SPAWN_SETSID : 0);
    auto flags = static_cast<short>(POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    posix_spawnattr_setflags(&attributes, static_cast<short>(flags | session));
  }
  ~Attributes() { posix_spawnattr_destroy(&attributes); }
  Attributes(const Attributes&) = delete;
  Attributes& operator=(const Attributes&) = delete;
};

std::vector<std::string> environmentOf(const ProcessRequest& request) {
  std::map<std::string, std::string> values;
  for (char** entry = environ; entry && *entry; ++entry) {
    std::string_view text = *entry;
    std::size_t equals = text.find('=');
    if (equals != std::string_view::npos) values.emplace(text.substr(0, equals), text.substr(equals + 1));
  }
  for (const char* secret : {"KESTU_TOKEN", "KESTU_REVIEW_DEMO_PASSWORD"}) values.erase(secret);
  for (const auto& name : request.without) values.erase(name);
  for (const auto& [name, value] : request.environment) values[name] = value;
  std::vector<std::string> lines;
  for (const auto& [name, value] : values) lines.push_back(name + "=" + value);
  return lines;
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
  std::vector<char*> list;
  for (std::string& text : texts) list.push_back(text.data());
  list.push_back(nullptr);
  return list;
}

/// A child that is killed, if it still runs, and always waited for.
class Child {
 public:
  /// `in` is below 0 where there is nothing to read.
  Child(const ProcessRequest& request, int in, const Pipe& out, const Pipe& err) {
    FileActions files;
    if (in < 0) {
      posix_spawn_file_actions_addopen(&files.actions, 0, "/dev/null", O_RDONLY, 0);
    } else {
      posix_spawn_file_actions_adddup2(&files.actions, in, 0);
    }
    posix_spawn_file_actions_adddup2(&files.actions, out.writing.get(), 1);
    posix_spawn_file_actions_adddup2(&files.actions, err.writing.get(), 2);
    if (!request.folder.empty()) posix_spawn_file_actions_addchdir_np(&files.actions, request.folder.c_str());
    Attributes attributes(request.ownSession);
    auto arguments = request.arguments;
    auto variables = environmentOf(request);
    int code = posix_spawnp(&id_, arguments.at(0).c_str(), &files.actions, &attributes.attributes,
                            pointers(arguments).data(), pointers(variables).data());
    if (code != 0) fail(code, request.arguments.front());
  }
  ~Child() {
    kill();
    if (id_ > 0) wait();
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  void kill() const {
    if (id_ > 0) ::kill(id_, SIGKILL);
  }
  int wait() {
    int status = 0;
    while (::waitpid(id_, &status, 0) < 0 && errno == EINTR) {
    }
    id_ = -1;
    return status;
  }

 private:
  pid_t id_ = -1;
};

/// What is there to read, onto the text; false at the end.
bool drain(int descriptor, std::string& text, std::size_t limit, bool& overflowed) {
  std::array<char, 65536> buffer{};
  ssize_t count = ::read(descriptor, buffer.data(), buffer.size());
  if (count < 0) return errno == EINTR || errno == EAGAIN;
  auto length = static_cast<std::size_t>(count);
  std::size_t taken = std::min(length, limit - text.size());
  text.append(buffer.data(), taken);
  overflowed = overflowed || taken < length;
  return length > 0;
}

ProcessResult runReading(int in, const ProcessRequest& request, const std::stop_token& stop) {
  if (stop.stop_requested()) throw Stopped();
  auto deadline = SteadyClock::now() + request.timeout;
  Pipe out, err;
  Child child(request, in, out, err);
  out.writing.close();
  err.writing.close();
  ProcessResult result;
  std::array<pollfd, 2> ends = {pollfd{out.reading.get(), POLLIN, 0}, pollfd{err.reading.get(), POLLIN, 0}};
  while (result.end == ProcessResult::End::exited && (ends[0].fd >= 0 || ends[1].fd >= 0)) {
    if (stop.stop_requested()) throw Stopped();
    if (SteadyClock::now() >= deadline) {
      result.end = ProcessResult::End::tooLong;
      break;
    }
    // Short enough that a stop is noticed at once, as a person sees it.
    if (::poll(ends.data(), ends.size(), 50) <= 0) continue;
    bool tooMuch = false, dropped = false;
    if (ends[0].revents != 0 && !drain(ends[0].fd, result.out, request.outputLimit, tooMuch)) ends[0].fd = -1;
    if (ends[1].revents != 0 && !drain(ends[1].fd, result.err, errorLimit, dropped)) ends[1].fd = -1;
    if (tooMuch) result.end = ProcessResult::End::tooMuchOutput;
  }
  if (result.end != ProcessResult::End::exited) child.kill();
  int status = child.wait();
  if (result.end != ProcessResult::End::exited) return result;
  if (WIFSIGNALED(status)) result.end = ProcessResult::End::killed;
  result.status = WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
  return result;
}

} // namespace

ProcessResult Process::run(const ProcessRequest& request, const std::stop_token& stop) {
  return runReading(-1, request, stop);
}

ProcessResult Process::runWith(const std::string& input, const ProcessRequest& request, const std::stop_token& stop) {
  // Written before there is a reader: so much fits into a pipe, and a child that doesn't read it is no error.
  Pipe in;
  if (input.size() > inputLimit) fail(EMSGSIZE, "input");
  if (!input.empty() && ::write(in.writing.get(), input.data(), input.size()) < 0) fail(errno, "pipe");
  in.writing.close();
  return runReading(in.reading.get(), request, stop);
}

} // namespace kestu
