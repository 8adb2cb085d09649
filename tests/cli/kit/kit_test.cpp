#include "tests/support/kit_test.hpp"
#include "tests/support/endings.hpp"

namespace kestu::tests {
namespace {

TEST_F(KitTest, SaysWhatTheCodeReadsAndKestuLacks) {
  for (const auto& [source, status, out] : std::vector<std::tuple<std::string, int, std::string>>{
           {"", 0, "The code under App reads no flags through KestuFlags.\n"},
           {"KestuFlags.isOn(\"new-radar\") || KestuFlags.isOn(\"new-radar\")", 0,
            "The code reads 1 flag; Kestu has 3.\n✓ Every flag the code reads is in Kestu.\n"},
           {"KestuFlags.isOn(\"new-radar\")\nKestuFlags.isOn(\"it's\x1b\")\nKestuFlags.isOn(\"it's\x1b\")", 1,
            "The code reads 2 flags; Kestu has 3.\nit's\\u{1b} is read in Store/A.swift:2 but isn't in Kestu.\n"
            "Next: kestu kit flags create 'it'\\''s\\u{1b}'.\n"},
           {"KestuFlags.isOn(\"-beta\")", 1,
            "The code reads 1 flag; Kestu has 3.\n-beta is read in Store/A.swift:1 but isn't in Kestu.\n"
            "Next: kestu kit flags create -- -beta.\n"},
           {"enum F: String, KestuFlag {\ncase b, a\n}", 1,
            "The code reads 2 flags; Kestu has 3.\nb is read in Store/A.swift:2 but isn't in Kestu.\n"
            "a is read in Store/A.swift:2 but isn't in Kestu.\n"
            "Next: kestu kit flags create <key> for each, with --type for text, a number or JSON.\n"},
       }) {
    SCOPED_TRACE(source);
    repo.write("App/Store/A.swift", source);
    Ran ran = run("kit flags check App");
    EXPECT_EQ(ran.status, status);
    EXPECT_EQ(ran.out, out);
    EXPECT_EQ(ran.err, "");
  }
  server.withState([](sandbox::State& state) { state.kit.flags[1234567890] = {{"a"}, {"b"}}; });
  EXPECT_EQ(run("flags check").out, "The code reads 2 flags; Kestu has 2.\n✓ Every flag the code reads is in Kestu.\n");
}

TEST_F(KitTest, GivesItsFindingsAsJSON) {
  repo.write("B.swift", "\nKestuFlags.isOn(\"x\")\nKestuFlags.string(\"welcome-text\")");
  repo.write("A.swift", "KestuFlags.isOn(\"x\")");
  for (const char* line : {"kit flags check --json", "kit flags check --output json ."}) {
    Ran ran = run(line);
    EXPECT_EQ(ran.status, 1) << ran.err;
    EXPECT_EQ(nlohmann::json::parse(ran.out), nlohmann::json::parse(R"({"flags": 3,
      "missing": [{"key": "x", "file": "A.swift", "line": 1}],
      "reads": [{"key": "x", "file": "A.swift", "line": 1}, {"key": "x", "file": "B.swift", "line": 2},
                {"key": "welcome-text", "file": "B.swift", "line": 3}],
      "unread": ["new-radar", "hourly-limit"]})"));
  }
  auto none = run("kit flags check --json --app Ledger .git");
  EXPECT_EQ(none.status, 0);
  EXPECT_EQ(nlohmann::json::parse(none.out),
            nlohmann::json::parse(R"({"flags": 0, "missing": [], "reads": [], "unread": []})"));
}

TEST_F(KitTest, FailsBeforeOrWithTheService) {
  for (const std::string folder : {"Nowhere", "kestu.json"}) {
    EXPECT_TRUE(ended(run("kit flags check " + folder), 7, equals, "There is no folder " + folder + ".\n"));
  }
  EXPECT_EQ(paths(), std::vector<std::string>{});
  store.items.clear();
  EXPECT_EQ(run("kit flags check").status, 3);
  signIn({"release"});
  EXPECT_EQ(run("kit flags check").status, 4);
}

TEST_F(KitTest, ListsFlagsAndWhereTheCodeReadsThem) {
  EXPECT_EQ(run("kit flags list").out, "Flag          Type    On   Rollout  Value\n"
                                       "new-radar     bool    on   100%\n"
                                       "hourly-limit  number  off  100%     24\n"
                                       "welcome-text  text    off  100%     Good morning\n");
  repo.write("A.swift", "KestuFlags.isOn(\"new-radar\")\nKestuFlags.isOn(\"new-radar\")\nKestuFlags.isOn(\"x\")");
  std::string list = run("kit flags list").out;
  EXPECT_TRUE(has(list, "new-radar     bool    on   100%                   A.swift:1 and 1 more\n"));
  EXPECT_TRUE(has(list, "Good morning  not read\n"));
  EXPECT_TRUE(ends(list, "The code reads a flag that KestuKit doesn't have.\nNext: kestu kit flags check\n"));
  EXPECT_TRUE(begins(run("kit flags list -o csv").out,
                     "Flag,Type,On,Rollout,Value,Read in,Notes\nnew-radar,bool,on,100%,,\"A.swift:1, A.swift:2\",\n"));
}

TEST_F(KitTest, ChangesFlags) {
  expectKit(
      "flags",
      {
          {"create beta", 6, "Nothing sent. Run it again with --yes to make it.\n"},
          {"create beta --on", 6, "Run it again with --yes to send it for approval in the kestu app.\n"},
          {"create --yes -- -beta", 0, "✓ Made the flag -beta: bool, off.\nNext: kestu kit flags set --on -- -beta\n",
           R"({"key":"-beta","type":"bool"})"},
          {"create end. --yes", 0, "✓ Made the flag end: bool, off.\nNext: kestu kit flags set --on end\n",
           R"({"key":"end","type":"bool"})"},
          {"create 'a b.c' --type text --value '' --yes", 0,
           "✓ Made the flag a b.c: text \"\", off.\nNext: kestu kit flags set --on 'a b.c'\n",
           R"({"key":"a b.c","type":"text","value":""})"},
          {"create limit --type number --value=-2.50 --rollout 12.5% --on --yes", 0,
           "✓ Made the flag limit: number -2.50, on for 12.5%.\n",
           R"({"key":"limit","on":true,"rollout":12.5,"type":"number","value":-2.50})"},
          {"create new-radar --yes", 1, "already.\nNext: kestu kit flags list\n"},
          {"set welcome-text --value Hi --yes", 0, "✓ Changed the flag welcome-text: it's off now.\n",
           R"({"value":"Hi"})"},
          {"set welcome-text --value Hi --off --yes", 0, "✓ The flag welcome-text is so already: nothing sent.\n"},
          {"set hourly-limit --notes hours", 6, "--yes to make it.\n"},
          {"set hourly-limit --on", 6, "--yes to send it for approval in the kestu app.\n"},
          {"set new-radar --value true", 2, "A bool flag has no value: it's --on or --off.\n"},
          {"set hourly-limit --value ten", 2, "--value is a number, as 12.5, not ten.\n"},
          {"set New-Radar --on", 7, "KestuKit has no flag New-Radar for the app. Did you mean new-radar?\n"},
          {"delete new-radar", 6, "--yes to send it for approval in the kestu app.\n"},
          {"set welcome-text --value= --yes", 0, "welcome-text: it's off now.\n", R"({"value":""})"},
      });
  server.forgetRequests();
  for (const std::string line : {"create -beta2", "create ..", "create 'a\x1b[31mb'", "create 'a\tb'",
                                 "create 'a\u00a0b'", "create ' a'", "create 'a\"b'", "create x --type text --value",
                                 "create x --rollout 100.01", "create x --type json --value '{a: 1}'",
                                 "create x --type text", "create x --value 1", "set x", "set x --on --off"})
    EXPECT_EQ(run("kit flags " + line).status, 2) << line;
  EXPECT_TRUE(server.requests().empty());
  auto dry = nlohmann::json::parse(run("kit flags set new-radar --rollout 5 --dry-run --json").out);
  EXPECT_EQ(dry["waits"], true);
  EXPECT_EQ(dry["changes"],
            nlohmann::json::parse(R"([{"place": "new-radar", "field": "rollout", "from": "100%", "to": "5%"}])"));
}

} // namespace
} // namespace kestu::tests
