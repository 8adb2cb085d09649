#include "tests/support/command_test.hpp"
#include "tests/support/endings.hpp"

#include "core/overview/installation.hpp"

#include <nlohmann/json.hpp>

namespace kestu::tests {
namespace {

class UpdateTest : public CommandTest {
 protected:
  const std::string notice = " is out; this is 1.1.2. Update it: kestu update\n";

  UpdateTest() {
    signIn();
    environment["XDG_STATE_HOME"] = (repo.path() / "state").string();
    terminal.errIsTerminal = true;
    announce("1.2.0");
  }
  void announce(const std::string& version) {
    server.withState([&](sandbox::State& state) { state.announced = version; });
  }
  std::string said(const CommandWords& arguments = {"apps"}) { return run(arguments).err; }
};

TEST_F(UpdateTest, TheNoticeComesOnceADayForAVersion) {
  environment["CI"] = "";
  EXPECT_EQ(said(), "");
  environment.erase("CI");
  environment["KESTU_NO_UPDATE_NOTIFIER"] = "1";
  EXPECT_EQ(said(), "");
  environment.erase("KESTU_NO_UPDATE_NOTIFIER");
  terminal.errIsTerminal = false;
  EXPECT_EQ(said(), "");
  terminal.errIsTerminal = true;
  announce("1.1.2");
  EXPECT_EQ(said(), "");
  announce("1.2.0");
  EXPECT_EQ(said("doctor"), "");
  EXPECT_EQ(said(), "kestu 1.2.0" + notice) << "what showed nothing didn't use up the day";
  EXPECT_EQ(said(), "");
  EXPECT_FALSE(has(said("apps --app"), notice)) << "nothing was announced";
  clock.advance(std::chrono::hours(24) - std::chrono::seconds(1));
  EXPECT_EQ(said(), "");
  announce("1.3.0");
  EXPECT_EQ(said(), "kestu 1.3.0" + notice);
  clock.advance(std::chrono::hours(24));
  EXPECT_EQ(said(), "kestu 1.3.0" + notice);
  clock.setNow(clock.now() - std::chrono::hours(1000));
  EXPECT_EQ(said(), "kestu 1.3.0" + notice) << "a clock set back";
  repo.write("state/kestu/update-notice.json", "[");
  EXPECT_EQ(said(), "kestu 1.3.0" + notice);
  clock.advance(std::chrono::hours(48));
  environment["XDG_STATE_HOME"] = (repo.path() / "kept.txt").string();
  repo.write("kept.txt", "a file, so that nothing can be kept");
  EXPECT_EQ(said(), "");
  environment["XDG_STATE_HOME"] = "relative";
  EXPECT_EQ(said(), "");
  environment["HOME"] = repo.path().string();
  EXPECT_EQ(said(), "kestu 1.3.0" + notice);
}

TEST_F(UpdateTest, UpdateNamesWhatToRun) {
  Ran ran = run("update");
  EXPECT_TRUE(ended(ran, 0, begins, "kestu 1.2.0 is out; this is 1.1.2. It's installed "));
  EXPECT_EQ(ran.err, "");
  announce("1.1.2");
  EXPECT_EQ(run("update").out, "✓ kestu 1.1.2 is the newest.\n");
  EXPECT_TRUE(nlohmann::json::parse(run("update --json").out)["newest"].is_null());
  environment["KESTU_API_URL"] = "http://127.0.0.1:1";
  EXPECT_TRUE(begins(run("update").out, "kestu couldn't be asked for its newest version; this is 1.1.2."));
}

TEST(Installation, IsToldByTheProgramsPlace) {
  TemporaryFolder place;
  auto path = [&](const char* relative) { return place.path() / relative; };
  place.write("build/release/CMakeCache.txt", "A:B=c\nCMAKE_HOME_DIRECTORY:INTERNAL=/src/it's\n");
  place.write("info/kestu.list", "/.\n/usr/bin/kestu\n/usr/bin/kestu-other\n");
  using Kind = Installation::Kind;
  const std::vector<std::string> apt = {"sudo apt-get update", "sudo apt-get install --only-upgrade kestu"};
  for (const auto& [program, kind, commands, runs] :
       std::vector<std::tuple<std::filesystem::path, Installation::Kind, std::vector<std::string>, bool>>{
           {"/opt/homebrew/Cellar/kestu/1.1.2/bin/kestu", Kind::homebrew, {"brew upgrade kestu"}, true},
           {"/opt/homebrew/Cellar/other/1.1.2/bin/kestu", Kind::folder, {}, false},
           {"/usr/bin/kestu", Kind::debian, apt, false},
           {"/bin/kestu", Kind::debian, apt, false},
           {"/usr/bin/kest", Kind::folder, {}, false},
           {path("build/release/bin/kestu"),
            Kind::build,
            {"git -C '/src/it'\\''s' pull", "'/src/it'\\''s'/scripts/build"},
            false},
           {path("unpacked/bin/kestu"), Kind::folder, {}, false},
       }) {
    SCOPED_TRACE(program);
    auto found = Installation::of(program, path("info"));
    EXPECT_EQ(found.kind, kind);
    EXPECT_EQ(found.commands(), commands);
    EXPECT_EQ(found.runnable().has_value(), runs);
    EXPECT_FALSE(has(found.advice(), "curl"));
  }
}

} // namespace
} // namespace kestu::tests
