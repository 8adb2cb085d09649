#pragma once

#include "cli/entry.hpp"
#include "core/service/curl_transport.hpp"
#include "sandbox/server.hpp"
#include "tests/support/asset_files.hpp"
#include "tests/support/command_lines.hpp"
#include "tests/support/fake_clock.hpp"
#include "tests/support/fake_terminal.hpp"
#include "tests/support/tables.hpp"
#include "tests/support/temporary_folder.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace kestu::tests {

/// A keyring in memory, or one that cannot be used.
class FakeTokenStore final : public TokenStore {
 public:
  bool broken = false;
  std::function<void(std::string_view account)> saved;
  std::map<std::string, std::string, std::less<>> items;

  std::optional<std::string> find(std::string_view account) override {
    use();
    auto item = items.find(account);
    return item == items.end() ? std::nullopt : std::optional(item->second);
  }
  void save(std::string_view account, std::string_view secret) override {
    use();
    if (saved) saved(account);
    items.insert_or_assign(std::string(account), std::string(secret));
  }
  void erase(std::string_view account) override {
    use();
    if (auto item = items.find(account); item != items.end()) items.erase(item);
  }

 private:
  void use() const {
    if (broken) throw KeyringError("no keyring here");
  }
};

struct Ran {
  int status = 0;
  std::string out, err;
};

/// Commands run in-process, against a sandbox of their own and a repository that goes away.
class CommandTest : public ::testing::Test {
 protected:
  FakeClock clock;
  sandbox::Server server;
  TemporaryFolder repo;
  std::filesystem::path here = repo.path(); ///< where commands run
  FakeTokenStore store;
  std::map<std::string, std::string, std::less<>> environment;
  FakeTerminal terminal;
  std::stop_source stopping;

  explicit CommandTest(sandbox::Options options = {}) : server(std::move(options)) {
    std::filesystem::create_directory(repo.path() / ".git");
  }

  void signIn(std::vector<std::string> scopes = {}) {
    store.items.insert_or_assign("token@" + server.origin(), server.tokenFor(std::move(scopes)));
  }
  void link() { repo.write("kestu.json", R"({"appId": 1234567890, "bundleId": "com.example.daylight"})"); }

  Ran run(const CommandWords& arguments) {
    environment.emplace("KESTU_API_URL", server.origin());
    Environment captured(environment);
    Console console(terminal, captured, clock);
    CurlTransport transport;
    AnnouncedVersion announced;
    Context context{captured, here, clock, console, transport, store, announced, nullptr, stopping.get_token()};
    std::size_t out = terminal.outText().size();
    std::size_t err = terminal.errText().size();
    int status = runEntry(context, arguments);
    return {status, terminal.outText().substr(out), terminal.errText().substr(err)};
  }

  void setBuild(const std::string& number, const std::function<void(sandbox::TestBuild&)>& change) {
    server.withState([&](sandbox::State& state) {
      for (auto& build : state.testFlight.builds) {
        if (build.number == number) change(build);
      }
    });
  }
  std::vector<std::string> paths() {
    std::vector<std::string> paths;
    for (const auto& request : server.requests()) paths.push_back(request.method + " " + request.path);
    return paths;
  }
  std::size_t calls(const std::string& line) {
    auto all = paths();
    return static_cast<std::size_t>(
        std::count_if(all.begin(), all.end(), [&](const std::string& path) { return path.starts_with(line); }));
  }
};

} // namespace kestu::tests
