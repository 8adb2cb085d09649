#include "tests/support/command_test.hpp"

#include <nlohmann/json.hpp>

namespace kestu::tests {
namespace {

/// The demo app has the flags new-radar, hourly-limit and welcome-text.
class Kit : public CommandTest {
 protected:
  Kit() {
    signIn();
    link();
  }
};

TEST_F(Kit, SaysWhatTheCodeReadsAndKestuLacks) {
  struct Row {
    const char* source;
    int status;
    std::string out;
  };
  for (const Row& row : std::vector<Row>{
           {"", 0, "The code under App reads no flags through KestuFlags.\n"},
           {"KestuFlags.isOn(\"new-radar\") || KestuFlags.isOn(\"new-radar\")", 0,
            "The code reads 1 flag; Kestu has 3.\n✓ Every flag the code reads is in Kestu.\n"},
           {"KestuFlags.isOn(\"new-radar\")\nKestuFlags.isOn(\"it's\x1b\")\nKestuFlags.isOn(\"it's\x1b\")", 1,
            "The code reads 2 flags; Kestu has 3.\nit's\\u{1b} is read in Store/A.swift:2 but isn't in Kestu.\n"
            "Next: kestu kit flags create 'it'\\''s\\u{1b}'.\n"},
           {"enum F: String, KestuFlag {\ncase b, a\n}", 1,
            "The code reads 2 flags; Kestu has 3.\nb is read in Store/A.swift:2 but isn't in Kestu.\n"
            "a is read in Store/A.swift:2 but isn't in Kestu.\n"
            "Next: kestu kit flags create <key> for each, with --type for text, a number or JSON.\n"},
       }) {
    SCOPED_TRACE(row.source);
    repo.write("App/Store/A.swift", row.source);
    auto ran = run({"kit", "flags", "check", "App"});
    EXPECT_EQ(ran.status, row.status);
    EXPECT_EQ(ran.out, row.out);
    EXPECT_EQ(ran.err, "");
  }
  server.withState([](sandbox::State& state) { state.kit.flags[1234567890] = {{"a"}, {"b"}}; });
  EXPECT_EQ(run({"flags", "check"}).out,
            "The code reads 2 flags; Kestu has 2.\n✓ Every flag the code reads is in Kestu.\n");
}

TEST_F(Kit, GivesItsFindingsAsJSON) {
  repo.write("B.swift", "\nKestuFlags.isOn(\"x\")\nKestuFlags.string(\"welcome-text\")");
  repo.write("A.swift", "KestuFlags.isOn(\"x\")");
  for (auto arguments : std::vector<std::vector<std::string>>{{"--json"}, {"--output", "json", "."}}) {
    arguments.insert(arguments.begin(), {"kit", "flags", "check"});
    auto ran = run(arguments);
    EXPECT_EQ(ran.status, 1) << ran.err;
    EXPECT_EQ(nlohmann::json::parse(ran.out), nlohmann::json::parse(R"({"flags": 3,
      "missing": [{"key": "x", "file": "A.swift", "line": 1}],
      "reads": [{"key": "x", "file": "A.swift", "line": 1}, {"key": "x", "file": "B.swift", "line": 2},
                {"key": "welcome-text", "file": "B.swift", "line": 3}],
      "unread": ["new-radar", "hourly-limit"]})"));
  }
  auto none = run({"kit", "flags", "check", "--json", "--app", "Ledger", ".git"});
  EXPECT_EQ(none.status, 0);
  EXPECT_EQ(nlohmann::json::parse(none.out),
            nlohmann::json::parse(R"({"flags": 0, "missing": [], "reads": [], "unread": []})"));
}

TEST_F(Kit, FailsBeforeOrWithTheService) {
  struct Row {
    std::vector<std::string> arguments;
    int status;
    std::string err;
  };
  for (const Row& row : std::vector<Row>{
           {{"kit", "flags", "check", "Nowhere"}, 7, "There is no folder Nowhere.\n"},
           {{"kit", "flags", "check", "kestu.json"}, 7, "There is no folder kestu.json.\n"},
           {{"kit", "flags", "create", "x", "--type", "text"},
            1,
            "kestu kit flags create isn't in this version of kestu yet.\n"},
           {{"kit", "whats-new", "publish", "1.2"}, 1, "kestu kit whats-new isn't in this version of kestu yet.\n"},
       }) {
    SCOPED_TRACE(row.arguments[2]);
    auto ran = run(row.arguments);
    EXPECT_EQ(ran.status, row.status);
    EXPECT_EQ(ran.err, row.err);
  }
  EXPECT_EQ(paths(), std::vector<std::string>{});
  store.items.clear();
  EXPECT_EQ(run({"kit", "flags", "check"}).status, 3);
  signIn({"release"});
  EXPECT_EQ(run({"kit", "flags", "check"}).status, 4);
}

} // namespace
} // namespace kestu::tests
