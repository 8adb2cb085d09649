#pragma once

#include "core/support/files.hpp"
#include "tests/support/command_test.hpp"

#include <nlohmann/json.hpp>

#include <string>
#include <utility>

namespace kestu::tests {

/// Signed in, in a repository that is linked to the demo's Daylight Weather.
class LinkedTest : public CommandTest {
 protected:
  explicit LinkedTest(sandbox::Options options = {}) : CommandTest(std::move(options)) {
    signIn();
    link();
  }
  /// Confirmed, and approved at the first look.
  Ran approved(const std::string& line) {
    server.scriptNextPlan({});
    return run(line + " --yes");
  }
  /// The body of the last POST to a path that ends so.
  nlohmann::json lastBody(const std::string& ending = "") {
    std::string body = "null";
    for (const auto& request : server.requests()) {
      if (request.method == "POST" && request.path.ends_with(ending)) body = request.body;
    }
    return nlohmann::json::parse(body);
  }
  std::string contents(const std::string& file) const {
    return Files::read(repo.path() / file, 1 << 22).value_or("none");
  }
};

} // namespace kestu::tests
