#include "core/kit/experiments.hpp"
#include "tests/support/kit_test.hpp"

namespace kestu::tests {
namespace {

TEST_F(KitTest, Experiments) {
  expectKit(
      "experiments",
      {
          {"create --flag hourly-limit --metric m --variant a=24:33.3 --variant b=48:66.7 --yes -- -R", 0,
           "✓ Made the experiment -R, a draft.\nNext: kestu kit experiments start -- -R\n",
           R"({"flag":"hourly-limit","metric":"m","name":"-R","variants":[{"name":"a","share":33.3,"value":24},)"
           R"({"name":"b","share":66.7,"value":48}]})"},
          {"create R --flag x --metric m --variant a=1:50 --variant b=2:49.9", 2,
           "The variants' shares add up to 99.9%, not to 100%."},
          {"create R --flag x --metric m --variant a=1:50 --variant a=2:50", 2, "The variant a is given twice."},
          {"create R --flag x --metric m --variant a=1:100", 2,
           "An experiment needs two variants or more: --variant control=false:50."},
          {"create R --flag x --metric m --variant a:1=50", 2,
           "--variant is a name, a value and a share, as control=false:50, not a:1=50."},
          {"start 'radar FIRST'", 0, "✓ It's running already: nothing sent.\n"},
          {"start 'Longer forecast'", 6, "--yes to send it for approval in the kestu app.\n"},
          {"start exp-limit --yes", 0,
           "✓ Started the experiment Longer forecast.\nNext: kestu kit experiments view 'Longer forecast'\n"},
          {"stop exp-radar --keep Radar", 7, "Radar first has no variant Radar: --keep takes control or radar.\n"},
          {"delete exp-radar", 1, "Radar first is running. End it first: kestu kit experiments stop 'Radar first'\n"},
          {"stop exp-radar --keep radar --yes", 0, "✓ Stopped the experiment Radar first: everybody gets radar.\n",
           R"({"keep":"radar"})"},
          {"stop exp-radar", 1, "Radar first isn't running: it's stopped already.\n"},
          {"delete exp-radar", 6, "--yes to make it.\n"},
          {"delete exp-radar --yes", 0, "✓ Deleted the experiment Radar first.\n"},
          {"view exp-radar", 7,
           "KestuKit has no experiment exp-radar for the app. kestu kit experiments list shows those it has.\n"},
      });
  server.withState([](sandbox::State& state) {
    auto& all = state.kit.experiments[1234567890];
    all.push_back(all.front());
    all.back().experimentId = "other";
  });
  expectKit("experiments", {{"view 'longer forecast'", 2,
                             "Several experiments are called longer forecast. Use an ID: exp-limit or other.\n"}});
  EXPECT_TRUE(has(run("kit experiments create 'longer FORECAST' --flag new-radar --metric m --variant a=true:50 "
                      "--variant b=false:50 --yes")
                      .out,
                  "\nNext: kestu kit experiments start exp-"));
}

TEST_F(KitTest, AnExperimentIsSeenWithBars) {
  server.withState([&](sandbox::State& state) {
    state.kit.experiments[1234567890][0].startedAt = clock.now() - std::chrono::hours(24 * 9);
  });
  EXPECT_EQ(run("kit experiments view 'Radar first'").out,
            "Radar first: running, started 9 days ago.\nTells apart the flag new-radar by purchases.\n"
            "Variant  Value  Share  Users  Rate                        Lift    Sure\n"
            "control  false  50%    1,204  4.2%  ████████████████▏\n"
            "radar    true   50%    1,187  5.1%  ████████████████████  +23.9%  96.2%\n"
            "Next: kestu kit experiments stop --keep=radar 'Radar first'\n");
  EXPECT_EQ(nlohmann::json::parse(run("kit experiments view exp-limit --json").out)["state"], "draft");
  for (auto [part, whole, bar] :
       {std::tuple(0, 1, ""), {1, 0, ""}, {1, 1, "████"}, {9, 1, "████"}, {1, 32, "▏"}, {1, 3, "█▍"}}) {
    EXPECT_EQ(Experiments::bar(part, whole, 4), bar) << part;
  }
}

TEST_F(KitTest, UpdatePrompts) {
  EXPECT_EQ(run("kit update-prompts list").out,
            "Prompt    Platform  Below  On  Required  Languages  Shown  Updated\n"
            "prompt-1  iOS       1.1    on  no        en-US      5,120  2,204 (43%)\n");
  expectKit(
      "update-prompts",
      {
          {"create --platform macos --below 1.2 --message de-DE=Neu=besser --yes", 0,
           "✓ Made the update prompt for macOS below 1.2, off.\nNext: kestu kit update-prompts set macos --on\n",
           R"({"below":"1.2","messages":{"de-DE":"Neu=besser"},"platform":"macos","required":false})"},
          {"create --below 1.2", 2, "--message says what it says, as --message en-US=\"…\"."},
          {"create --message en-US=x", 2, "--below says which versions it's for: those below it."},
          {"create --below 1.x", 2, "--below is a version, as 1.2, not 1.x."},
          {"set ios --message 'en-US= '", 2, "--message is a language and its text, as en-US=\"…\"."},
          {"set ios --message en-US=a --message en-US=b", 2, "--message has en-US twice."},
          {"set ios --required --optional", 2, "--required or --optional, but not both."},
          {"set ios", 2, "--required, --optional, --message or --remove-message."},
          {"set ios --remove-message en-US", 1, "delete it: kestu kit update-prompts delete prompt-1\n"},
          {"set ios --remove-message ja --yes", 7, "It has no message in ja: it has en-US.\n"},
          {"set ios --remove-message ja --message ja=x", 2, "--message and --remove-message both name ja."},
          {"set macos --message ja=x --remove-message de-DE --yes", 0,
           "✓ Changed the update prompt for macOS below 1.2: it's off now.\n", R"({"messages":{"ja":"x"}})"},
          {"set ios --on --below 1.1", 0, "✓ It's so already: nothing sent.\n"},
          {"set macos --required", 6, "--yes to make it.\n"},
          {"set macos --on", 6, "--yes to send it for approval in the kestu app.\n"},
          {"set prompt-1 --off", 6, "--yes to send it for approval in the kestu app.\n"},
          {"set ios --message de-DE=Neu --yes", 0, "✓ Changed the update prompt for iOS below 1.1: it's on now.\n",
           R"({"messages":{"de-DE":"Neu","en-US":"A new Daylight is out."}})"},
          {"delete macos", 6, "--yes to make it.\n"},
          {"delete tvos", 7,
           "KestuKit has no update prompt tvos for the app. kestu kit update-prompts list shows those it has.\n"},
          {"delete ios --yes", 0, "✓ Deleted the update prompt for iOS below 1.1.\n"},
      });
}

} // namespace
} // namespace kestu::tests
