#include "core/console/text_style.hpp"
#include "core/pricing/region_words.hpp"
#include "tests/support/endings.hpp"
#include "tests/support/linked_test.hpp"

namespace kestu::tests {
namespace {

using nlohmann::json;

/// The demo's events of Daylight Weather; the service's time is that of the command.
class EventsTest : public LinkedTest {
 protected:
  EventsTest() : LinkedTest({.partSize = 100'000, .now = [this] { return clock.now(); }}) {
    environment["TZ"] = "Europe/Stockholm";
    repo.write("card.png", png(1920, 1080));
    repo.write("page.png", png(1080, 1920));
  }

  std::function<Ran(const std::string&)> events = [this](const auto& line) { return run("events " + line); };
  /// The same, confirmed and approved; it has to succeed.
  std::string done(const std::string& line) {
    server.scriptNextPlan({});
    Ran ran = events(line + " --yes");
    EXPECT_EQ(ran.status, 0) << ran.err << ran.out;
    return ran.out;
  }
  void make(const std::string& name, const std::string& state) {
    done("create '" + name +
         "' --starts '2026-12-01 10:00' --ends 2026-12-05 --badge challenge --display-name 'The Cup' "
         "--short-description 'Be quick.' --long-description 'Be quicker.' --card card.png --details-page page.png");
    clock.advance(std::chrono::seconds(5));
    server.withState([&](sandbox::State& held) { held.events.events.front().state = state; });
  }
};

TEST_F(EventsTest, FromMakingToDeleting) {
  EXPECT_TRUE(ended(events("create 'Fall Cup' --starts '2026-12-01 4pm' --ends 2026-12-05 --promote-from 2026-11-28 "
                           "--badge 'Live Event' --countries no,SWE --purpose everyone --yes"),
                    0, has,
                    "✓ Made \"Fall Cup\", a draft: 1 Dec, 16:00 to 5 Dec, 23:59 (Europe/Stockholm).\n"
                    "Next: kestu events localize 'Fall Cup' --display-name <name>\n"));
  EXPECT_EQ(lastBody().dump(),
            R"({"badge":"liveevent","name":"Fall Cup","purpose":"appropriateforallusers","regions":["no","se"],)"
            R"("schedule":{"eventEnd":"2026-12-05T22:59:00Z","eventStart":"2026-12-01T15:00:00Z",)"
            R"("publishStart":"2026-11-27T23:00:00Z"}})");
  done("localize 'fall cup' --display-name 'The Cup' --short-description 'Be quick.'");
  std::string out = done("localize 'Fall Cup' --language sv --display-name Cupen --long-description 'Var snabb.' "
                         "--short-description Snabbt.");
  EXPECT_TRUE(has(out, "  name               Cupen\n"));
  EXPECT_TRUE(has(out, "✓ Gave \"Fall Cup\" its sv.\nNext: kestu events card 'Fall Cup' <file> --language sv\n"));
  EXPECT_EQ(events("submit 'Fall Cup'").status, 1);
  for (const std::string language : {"en-US", "sv"}) {
    EXPECT_TRUE(has(done("card 'Fall Cup' card.png --language " + language),
                    "✓ Sent card.png. Apple checks it: kestu events view 'Fall Cup' says when it's ready.\n"));
    done("details 'Fall Cup' page.png --language " + language);
  }
  std::string view = events("view 'Fall Cup'").out;
  EXPECT_TRUE(has(view, "a long description in en-US"));
  EXPECT_TRUE(has(view, "card.png, Apple is checking it"));
  EXPECT_TRUE(has(view, "Next: kestu events localize 'Fall Cup' --language en-US --long-description <text>\n"));
  done("localize 'Fall Cup' --long-description 'Be quicker.'");
  clock.advance(std::chrono::seconds(5));
  EXPECT_TRUE(ends(events("view 'Fall Cup'").out, "\n\nNext: kestu events submit 'Fall Cup'\n"));
  out = done("set 'Fall Cup' --name 'Winter Cup' --starts '2026-12-02 16:00' --priority high");
  EXPECT_TRUE(has(out, "  start     1 Dec, 16:00 → 2 Dec, 16:00\n  priority  Normal → High\n"));
  EXPECT_EQ(lastBody()["schedule"]["publishStart"], "2026-11-27T23:00:00Z") << "what isn't given stays";
  done("set 'Winter Cup' --deep-link https://cup.example.com/now");
  out = done("set 'Winter Cup' --deep-link ''");
  EXPECT_TRUE(has(out, "deep link  https://cup.example.com/now → none\n"));
  EXPECT_TRUE(lastBody().contains("deepLink") && lastBody()["deepLink"].is_null());

  EXPECT_TRUE(has(done("submit 'Winter Cup'"), "✓ Sent \"Winter Cup\" to App Review.\n"));
  EXPECT_TRUE(ended(events("set 'Winter Cup' --badge premiere --yes --app 1234567890"), 1, equals,
                    "\"Winter Cup\" is waiting for App Review, so nothing of it changes. Take it back first: kestu "
                    "events cancel 'Winter Cup' --app 1234567890\n"));
  EXPECT_TRUE(has(done("cancel 'Winter Cup'"), "It can change now.\nNext: kestu events submit 'Winter Cup'\n"));
  done("submit 'Winter Cup'");
  clock.advance(std::chrono::seconds(9));
  EXPECT_TRUE(has(events("view 'Winter Cup'").out, "approved"));
  out = done("set 'Winter Cup' --ends 2026-12-06 --countries europe");
  EXPECT_TRUE(has(out, "after your approval:\n  end        5 Dec, 23:59 → 6 Dec, 23:59\n"));
  EXPECT_TRUE(has(done("delete 'Winter Cup'"), "✓ Deleted \"Winter Cup\".\n"));
  EXPECT_EQ(json::parse(events("list --json").out)["events"].size(), 2U);
}

TEST_F(EventsTest, WrongUseIsToldAllAtOnceBeforeAnyCall) {
  const std::string dates = " --starts '2026-12-01 10:00' --ends 2026-12-05";
  expectWrongUse(
      events, begins,
      {
          {"create Cup", "Give its dates: --starts and --ends.\n"},
          {"create Cup --starts soon --ends 2026-02-30",
           "--starts isn't a time: soon. It's 2026-11-20 16:00, 2026-11-20 4pm, a day alone (2026-11-20) for its "
           "start, or an exact moment (2026-11-20T16:00+01:00).\n--ends isn't a time: 2026-02-30, as there's no day "
           "2026-02-30."},
          {"create Cup --starts soon --ends 2026-12-05 --time-zone X --priority low",
           "X isn't a time zone: Europe/Stockholm, America/New_York, CET or UTC.\n--starts isn't a time: soon."},
          {"create Cup --starts '2027-03-28 2:50' --ends '2027-03-28 3:10'",
           "--ends is after --starts.\n--starts: clocks in Europe/Stockholm skip 02:50"},
          {"set Cup --countries xx,zz",
           "--countries: xx" + RegionWords::isNone() + "\n--countries: zz" + RegionWords::isNone() + "\n"},
          {"card Cup card.png --language en_us --frame x",
           "--language: en_us can't be a language: it's written en-US.\n--frame is a video's.\n"},
          {"create Cup --badge party --priority low --purpose me --deep-link example.com --countries se,xx "
           "--primary-language en_us" +
               dates,
           "--badge is liveevent, premiere, challenge, competition, newseason, majorupdate or specialevent, not "
           "party.\n"
           "--deep-link is a link: https://example.com/event, or the app's own (myapp://event).\n"
           "--purpose is appropriateforallusers, attractnewusers, keepactiveusersinformed or bringbacklapsedusers, not "
           "me.\n--priority is high or normal.\n--primary-language: en_us can't be a language: it's written en-US.\n"
           "--countries: xx"},
          {"create " + std::string(65, 'n') + dates, "The reference name has 65 characters"},
          {"create Cup --short-description x" + dates, "A language needs its --display-name with its descriptions.\n"},
          {"create Cup --card card.png" + dates,
           "Its --card and --details-page go to a language: give its --display-name.\n"},
          {"create Cup --card page.png --details-page x.gif --display-name " + std::string(31, 'n') + dates,
           "--display-name has 31 characters, and App Store Connect takes 30 at most.\npage.png is 1080 × 1920: an "
           "event's card is landscape, 16:9, from 1920 × 1080.\nx.gif is neither"},
          {"set Cup", "Give what changes: --starts, --ends, --badge, --deep-link and so on (kestu events set --help)."},
          {"localize Cup", "Give --display-name, --short-description or --long-description."},
          {"localize Cup --remove --language sv --display-name x", "--remove takes the language off, nothing more."},
          {"localize Cup --remove", "Name the language to take off: --language."},
          {"details Cup card.png", "card.png is 1920 × 1080"},
          {"view ' '", "The event is empty."},
      });
  EXPECT_EQ(terminal.outText(), "");
  environment["TZ"] = "Mars/Base";
  EXPECT_EQ(events("create Cup --starts 2026-12-05 --ends 2026-12-06").err,
            "This machine's time zone isn't known (TZ is Mars/Base): give --time-zone (Europe/Stockholm).\n");
  EXPECT_TRUE(paths().empty());
  EXPECT_EQ(events("create Cup --starts 2026-12-05T10:00Z --ends 2026-12-06T10:00Z").status, 6);
}

TEST_F(EventsTest, WhatTheEventDoesNotAllowIsRefusedBeforeItIsSent) {
  make("Fall Cup", "approved");
  done("create 'Spring Cup' --starts 2027-03-01 --ends 2027-03-02");
  server.forgetRequests();
  expectErrors(
      events, begins,
      {
          {"view 'Cup\x1b[31m'", 7, "The app has no event named Cup\\u{1b}[31m: kestu events lists them.\n"},
          {"create 'FALL CUP' --starts 2026-12-05 --ends 2026-12-06", 1,
           "The app has an event named Fall Cup already, which is approved."},
          {"set 'Spring Cup' --name 'fall cup'", 1, "The app has another event named Fall Cup already.\n"},
          {"set 'Spring Cup' --ends 2027-04-02", 2, "An event lasts 15 minutes to 31 days; this one would last"},
          {"set 'Fall Cup' --badge premiere --priority high", 1,
           "\"Fall Cup\" is approved: only its countries, priority and dates to come change now, not its badge.\n"},
          {"localize 'Fall Cup' --display-name x", 1, "\"Fall Cup\" is approved: only"},
          {"card 'Fall Cup' card.png", 1, "\"Fall Cup\" is approved: only"},
          {"card 'Spring Cup' card.png", 7,
           "\"Spring Cup\" isn't in en-US. To give it the language: kestu events localize"},
          {"localize 'Spring Cup' --language sv --long-description x", 2, "A language needs its --display-name"},
          {"localize 'Spring Cup' --language sv --remove", 7, "\"Spring Cup\" isn't in sv"},
          {"submit 'Fall Cup'", 1, "\"Fall Cup\" is approved: there's nothing to submit.\n"},
          {"submit 'Spring Cup'", 1, "\"Spring Cup\" isn't ready for App Review. It still needs:\n  a badge\n"},
          {"cancel 'Spring Cup'", 1, "\"Spring Cup\" isn't with App Review: it's a draft.\n"},
          {"delete 'Meteor Night 2026'", 1, "\"Meteor Night 2026\" is on the App Store, and Apple deletes"},
          {"set 'Meteor Night 2026' --starts 2026-12-01", 1,
           "\"Meteor Night 2026\" has started: only its end changes now"},
          {"set 'Spring Cup' --priority normal", 0, ""},
          {"delete 'Fall Cup'", 6,
           "Delete \"Fall Cup\" of Daylight Weather (com.example.daylight), which is approved. Can't be undone.\n"},
      });
  for (const std::string& call : paths()) EXPECT_TRUE(begins(call, "GET "));
  server.withState([](sandbox::State& state) {
    auto& event = state.events.events.front();
    event.own[{"us"}] = *event.dates;
  });
  EXPECT_TRUE(has(events("set 'Spring Cup' --ends 2027-03-03").err, "countries with dates of their own"));
}

TEST_F(EventsTest, DryRunsAndDataSayAllOfIt) {
  Ran ran = events("create Cup --starts '2026-10-25 2:30' --ends '2026-10-25 3:30' --display-name C --card card.png "
                   "--dry-run --json");
  EXPECT_EQ(ran.status, 0) << ran.err;
  EXPECT_TRUE(begins(ran.err, "--starts: clocks in Europe/Stockholm show 02:30 twice"));
  EXPECT_TRUE(has(ran.err, "--ends has passed already"));
  EXPECT_EQ(json::parse(ran.out)["changes"], json::parse(R"([{"place":"Cup","field":"name","from":null,"to":"Cup"},
                            {"place":"Cup","field":"start","from":null,"to":"2026-10-25T00:30:00Z"},
                            {"place":"Cup","field":"end","from":null,"to":"2026-10-25T02:30:00Z"},
                            {"place":"Cup en-US","field":"name","from":null,"to":"C"},
                            {"place":"Cup en-US","field":"card","from":null,"to":"card.png"}])"));
  EXPECT_EQ(events("view Cup").status, 7) << "nothing was made";
  make("Fall Cup", "draft");
  EXPECT_EQ(events("card 'Fall Cup' card.png --dry-run").out,
            "Dry run: would send card.png as the card of \"Fall Cup\" of Daylight Weather (com.example.daylight) in "
            "en-US.\n");
  EXPECT_EQ(json::parse(done("submit 'Fall Cup' --with-version --json")), json({{"waits", false}}));
  EXPECT_EQ(lastBody(), json({{"withVersion", true}}));
  EXPECT_TRUE(ends(events("submit 'Fall Cup' --with-version --app 1234567890 --yes").out,
                   "nothing sent.\nNext: kestu submit <version> --event 'Fall Cup' --app 1234567890\n"));
  EXPECT_FALSE(has(events("cancel 'Fall Cup'").err, "loses its place")) << "it has none yet";
  server.withState([](sandbox::State& state) { state.events.events.front().regions = {"se", "no"}; });
  EXPECT_TRUE(has(events("set 'Fall Cup' --countries no,se").out, "says so already"));
  EXPECT_TRUE(has(events("create X --starts 2026-12-01 --ends 2026-12-02 --dry-run").out,
                  "a draft, times in Europe/Stockholm.\n"));
  EXPECT_TRUE(has(events("submit 'Fall Cup' --dry-run").out, "on its own, after your approval."));
  terminal.errIsTerminal = terminal.outIsTerminal = true;
  terminal.windowColumns = 50;
  environment["TERM"] = "dumb";
  EXPECT_EQ(events("submit 'Fall Cup'").err,
            "Send \"Fall Cup\" of Daylight Weather\n(com.example.daylight) to App Review on its own.\n"
            "Nothing sent. Run it again with --yes to send it\nfor approval in the kestu app.\n");
}

TEST_F(EventsTest, AnUploadThatFailsSaysWhatItLeaves) {
  server.onNext({.path = "/upload/", .times = 9, .status = 403});
  EXPECT_TRUE(ended(events("create 'Fall Cup' --starts 2026-12-05 --ends 2026-12-06 --display-name C --card card.png "
                           "--details-page page.png --yes"),
                    1, has,
                    "The event is made, without its card and its details page. To send them again:\n"
                    "  kestu events card 'Fall Cup' "));
  EXPECT_TRUE(has(events("view 'Fall Cup'").out, "Card          none yet"));
  server.faults().clear();
  server.onNext({.path = "/v1/apps/1234567890/events/6500000002/languages/en-US/media/", .times = 9, .cut = true});
  EXPECT_TRUE(has(events("card 'Fall Cup' card.png --yes").err, "Whether the event has it now isn't known"));
  server.faults().clear();
  server.withState([](sandbox::State& state) { state.events.nextError = "It shows a price."; });
  done("card 'Fall Cup' card.png");
  clock.advance(std::chrono::seconds(5));
  EXPECT_TRUE(has(events("view 'Fall Cup'").out, "card.png, Apple refused it: It shows a price."));
}

TEST_F(EventsTest, ListAndViewFitTheWindow) {
  make("Ein Pokal für alle, die früh aufstehen und spät schlafen gehen", "draft");
  terminal.outIsTerminal = true;
  for (const char* line : {"", "list", "view 'Meteor Night 2026'"}) {
    for (int width : {200, 50, 30}) {
      terminal.windowColumns = width;
      std::string text = TextStyle::plain(events(line).out);
      EXPECT_TRUE(has(text, "Europe/Stockholm"));
      EXPECT_EQ(has(text, "19 Nov, 13:00 to 26 Nov, 13:00"), width >= 50) << text;
    }
  }
  terminal.outIsTerminal = false;
  EXPECT_TRUE(has(events("list --time-zone UTC").out, "19 Nov, 12:00 to 26 Nov, 12:00  ends in 4 days"));
  EXPECT_TRUE(has(events("view 'Summer Solstice' -o md").out, "| Countries | se, no, fi, dk, is |"));
  EXPECT_EQ(events("list --app 2345678901").out, "No in-app events yet: kestu events create makes one.\n");
}

} // namespace
} // namespace kestu::tests
