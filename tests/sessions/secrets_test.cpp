#include "core/platform/state_folder.hpp"
#include "core/service/answer_memory.hpp"
#include "core/service/logged_transport.hpp"
#include "core/support/files.hpp"
#include "core/support/text.hpp"
#include "tests/support/every_command_test.hpp"
#include "tests/support/free_text.hpp"
#include "tests/support/process_variables.hpp"
#include "tests/support/program.hpp"

#include <nlohmann/json.hpp>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <thread>

#include <sys/resource.h>
#include <sys/wait.h>

namespace kestu::tests {
namespace {

namespace fs = std::filesystem;

const std::string token = "kst_MARKEDTOKEN5b1f0c7e92d34a68";
const std::string kept = "kst_MARKEDKEPT40c9a6e85d3b271f"; // in the keyring
const std::string password = "MARKED-pass \"word\" ü";

/// Every command, with a token and a password that are known wherever they turn up.
class SecretsTest : public EveryCommandTest {
 protected:
  enum class Service { answers, echoes, refuses };
  using Secrets = std::map<std::string, std::string>;

  TemporaryFolder folder;
  const fs::path home = folder.path() / "home", temporary = folder.path() / "tmp", records = folder.path() / "records";
  ProcessVariables variables;
  std::string deviceCode; ///< of the last sign-in

  SecretsTest() {
    for (const auto& each : {home, temporary, records}) fs::create_directories(each);
    for (const char* name : {"git", "gh", "glab", "brew", "unzip", "xdg-open", "open"}) layRecorder(name);
    server.accept(token);
    variables.setTools(folder.path() / "bin");
    for (const auto& [name, value] : std::map<std::string, std::string>{{"PATH", std::getenv("PATH")},
                                                                        {"HOME", home.string()},
                                                                        {"XDG_STATE_HOME", (home / "state").string()},
                                                                        {"XDG_CACHE_HOME", (home / "cache").string()},
                                                                        {"TMPDIR", temporary.string()},
                                                                        {"KESTU_TOKEN", token},
                                                                        {"KESTU_REVIEW_DEMO_PASSWORD", password},
                                                                        {"KESTU_DEBUG", "1"}}) {
      variables.set(name, value);
      environment[name] = value;
    }
  }

  /// Stands before the real one on the PATH and writes down what it is given.
  void layRecorder(const std::string& name) {
    std::string to = (records / name).string();
    folder.write("bin/" + name, "#!/bin/sh\n{ echo \"$0\" \"$@\"; env; } >>" + to + "\ncase \"$2\" in set) cat >" + to +
                                    ".input;; esac\nexit 0\n");
    fs::permissions(folder.path() / "bin" / name, fs::perms::owner_all);
  }

  void lay() {
    fs::remove_all(repo.path());
    fs::create_directories(repo.path() / ".git");
    layRepository(repo, "Every hour", password);
    server.withState(laySandbox);
    server.accept(kept);
    store.items = {{"token@" + server.origin(), kept}};
    for (const auto& each : {records, home, temporary}) {
      for (const auto& entry : fs::directory_iterator(each)) fs::remove_all(entry.path());
    }
  }

  /// What it was sent, all of it, told back.
  void behave(Service service, int from) {
    server.onAnswer([this, service, from, calls = 0](const sandbox::Request& request, sandbox::Answer& answer) mutable {
      if (request.path == "/v1/auth/device") deviceCode = nlohmann::json::parse(answer.body).value("deviceCode", "");
      std::string echo = "You sent Authorization: " + request.header("authorization") + ", " + request.body;
      if (service == Service::answers || calls++ < from) return;
      answer.headers["X-Request-Id"] = request.header("authorization");
      if (service == Service::refuses) {
        answer = sandbox::Answer::json({{"error", "invalid_request"}, {"message", echo}}, 400);
      } else if (answer.contentType == "application/json") {
        auto body = nlohmann::json::parse(answer.body);
        appendToTexts(body, isFreeText, echo); // what commands show
        if (body.is_object()) body["echo"] = echo;
        answer.body = body.dump();
      }
    });
  }

  Ran runLogged(const Words& words) {
    Environment captured(environment);
    FakeTerminal screen(80); // for progress and the word on a newer version too
    screen.inIsTerminal = false;
    Console console(screen, captured, clock);
    CurlTransport curl;
    LoggedTransport logged(curl, console, clock);
    RememberingTransport transport(logged, AnswerMemory(cacheFolder(captured), server.origin()));
    AnnouncedVersion announced;
    Context context{captured, here, clock, console, transport, store, announced, nullptr, stopping.get_token()};
    int status = runEntry(context, words);
    return {status, screen.outText(), screen.errText()};
  }

  /// Whether a process that does nothing against it would leave a core.
  bool anyCrashLeavesACore() const {
    Program crashes(temporary, temporary, {"/bin/sh", "-c", "kill -ABRT $$"}, std::nullopt, allowCore);
    int status = crashes.wait();
    return WIFSIGNALED(status) && WCOREDUMP(status);
  }

  static void allowCore() {
    rlimit any{RLIM_INFINITY, RLIM_INFINITY};
    getrlimit(RLIMIT_CORE, &any);
    any.rlim_cur = any.rlim_max;
    setrlimit(RLIMIT_CORE, &any);
  }

  /// Whatever nobody but the service and the keyring may have, each with what it is.
  Secrets secrets() {
    Secrets all = {{token, "token"}, {kept, "token"}, {password, "password"}, {"MARKED-pass", "password"}};
    server.withState([&](sandbox::State& state) {
      for (const auto& [each, grant] : state.tokens) all.emplace(each, "token");
      for (const auto& [id, asset] : state.assets) {
        if (!asset.signature.empty()) all.emplace(asset.signature, "signed address");
      }
    });
    if (!deviceCode.empty()) all.emplace(deviceCode, "device code");
    return all;
  }

  static void expectNone(const std::string& text, const std::string& where, const Secrets& all) {
    for (const auto& [secret, what] : all) {
      std::size_t at = text.find(secret);
      if (at != std::string::npos)
        ADD_FAILURE() << what << " in " << where << ": " << text.substr(at - std::min<std::size_t>(at, 100), 300);
    }
  }

  void expectNoneInFiles(const Secrets& all) {
    for (const fs::path& root : {repo.path(), folder.path()}) {
      for (const auto& entry : fs::recursive_directory_iterator(root)) {
        if (!entry.is_regular_file()) continue;
        std::string path = entry.path().string();
        expectNone(path, "a file's name", all);
        if (path.ends_with("gh.input")) continue; // what a tool is handed the token through
        Secrets unwanted = all;
        // The password was given in this one.
        if (path.ends_with("metadata/review.json")) {
          std::erase_if(unwanted, [](const auto& each) { return each.second == "password"; });
        }
        expectNone(Files::read(path, 100'000'000).value_or(""), path, unwanted);
      }
    }
  }
};

class SecretsOfAFamily : public SecretsTest, public testing::WithParamInterface<std::string> {
 protected:
  /// Runs it where it finds all as it is laid; gives how many calls it made.
  int tried(const SomeCommand& command, const Words& words, Service service, int from) {
    SCOPED_TRACE(Text::joined(words, " ") + ", service " + std::to_string(static_cast<int>(service)) + " from call " +
                 std::to_string(from));
    lay();
    behave(Service::answers, 0);
    Words before = command.before;
    if (!before.empty()) {
      before.emplace_back("--yes");
      runLogged(before);
    }
    behave(service, from);
    server.forgetRequests();
    Ran ran = runLogged(resolved(words));
    if (service == Service::answers) EXPECT_EQ(ran.status, command.status) << ran.out << ran.err;
    auto all = secrets();
    expectNone(ran.out, "output", all);
    expectNone(ran.err, "errors", all);
    expectNoneInFiles(all);
    return static_cast<int>(server.requests().size());
  }
};

TEST_P(SecretsOfAFamily, AreShownAndKeptNowhere) {
  for (const SomeCommand& command : everyCommand()) {
    if (command.path.substr(0, command.path.find(' ')) != GetParam()) continue;
    const Words plain = command.with(command.asks ? Words{"--yes"} : Words{});
    tried(command, plain, Service::answers, 0);
    if (command.tries) tried(command, command.with({"--dry-run"}), Service::answers, 0);
    Words json = plain;
    if (!command.forms.empty()) json.emplace_back("--json");
    tried(command, json, Service::echoes, 0);
    // Refused from its first call on, from its second on, and so forth.
    for (int from = 0; from < 5 && tried(command, plain, Service::refuses, from) > from; ++from) {
    }
  }
}

INSTANTIATE_TEST_SUITE_P(All, SecretsOfAFamily, testing::ValuesIn(commandFamilies()), familyName);

TEST_F(SecretsTest, ReachATokensNewHolderAlone) {
  lay();
  Ran ran = runLogged({"ci", "token", "--provider", "github"});
  EXPECT_EQ(ran.status, 0) << ran.err;
  std::string made;
  server.withState([&](sandbox::State& state) {
    for (const auto& [each, grant] : state.tokens) made = grant.appIds ? each : made;
  });
  EXPECT_EQ(Files::read(records / "gh.input", 1000), made);
  EXPECT_TRUE(has(Files::read(records / "gh", 100'000).value_or(""), "HOME=")) << "no record";
}

TEST_F(SecretsTest, AreNotForWhatOpensThePreview) {
  lay();
  Ran ran = runLogged({"release", "preview", "1.2", "--open"});
  EXPECT_EQ(ran.status, 0) << ran.err;
  std::string record;
  for (const char* opener : {"open", "xdg-open"}) record += Files::read(records / opener, 100'000).value_or("");
  EXPECT_TRUE(has(record, "HOME=")) << "no record";
  expectNoneInFiles(secrets());
}

/// Where a crash would leave a core, the program as it was built.
TEST_F(SecretsTest, AreNotLeftBehindByACrash) {
  // A sanitizer would end it in its own way.
  for (const char* name : {"ASAN_OPTIONS", "TSAN_OPTIONS"}) variables.set(name, "handle_segv=0:handle_abort=0");
  variables.set("KESTU_API_URL", server.origin());
  if (!anyCrashLeavesACore()) GTEST_SKIP() << "No crash leaves a core here.";
  for (int signal : {SIGSEGV, SIGABRT, SIGQUIT}) {
    for (const char* line : {"metadata push 1.2 --yes --no-check", "apps"}) {
      SCOPED_TRACE(line + (" " + std::to_string(signal)));
      Words words = wordsOf(line);
      words.insert(words.begin(), KESTU_PROGRAM);
      lay();
      std::atomic<bool> met = false;
      server.onNext({.path = "/v1/apps", .times = -1, .delay = std::chrono::seconds(20), .met = [&](const auto&) {
                       met = true;
                     }});
      Program program(repo.path(), records, words, std::nullopt, allowCore);
      while (!met) std::this_thread::yield();
      program.signal(signal);
      int status = program.wait();
      EXPECT_TRUE(WIFSIGNALED(status));
      EXPECT_EQ(WTERMSIG(status), signal);
      EXPECT_FALSE(WCOREDUMP(status));
      server.faults().clear();
      expectNoneInFiles(secrets());
    }
  }
}

} // namespace
} // namespace kestu::tests
