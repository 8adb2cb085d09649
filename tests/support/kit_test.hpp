#pragma once

#include "tests/support/linked_test.hpp"

#include <string>
#include <vector>

namespace kestu::tests {

/// Changes of KestuKit's things in the demo's account, each approved at once. The app has the flags new-radar,
/// hourly-limit and welcome-text, the experiments "Radar first", which is running, and "Longer forecast", a draft, and
/// a prompt for iOS that is on.
class KitTest : public LinkedTest {
 protected:
  struct Row {
    std::string line;
    int status;
    std::string text;      ///< how what is written ends
    std::string body = ""; ///< of the last POST; empty where it doesn't matter
  };

  /// Lines of "kit <group>"; where the message of wrong use has no line of its own, it comes before any call.
  void expectKit(const std::string& group, const std::vector<Row>& rows) {
    for (const Row& row : rows) {
      SCOPED_TRACE(row.line + " " + row.text);
      server.scriptNextPlan({});
      std::size_t before = server.requests().size();
      Ran ran = run("kit " + group + " " + row.line);
      EXPECT_EQ(ran.status, row.status) << ran.err;
      EXPECT_TRUE(ends(ran.out + ran.err.substr(0, ran.err.find("\n\nUsage")), row.text));
      if (row.status == 2 && !row.text.ends_with('\n')) EXPECT_EQ(server.requests().size(), before);
      std::string sent;
      for (const auto& request : server.requests()) sent = request.method == "POST" ? request.body : sent;
      if (!row.body.empty()) EXPECT_EQ(sent, row.body);
    }
  }
};

} // namespace kestu::tests
