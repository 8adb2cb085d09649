#include "core/events/event_media.hpp"
#include "core/events/event_rules.hpp"
#include "core/events/event_text.hpp"
#include "core/support/moments.hpp"
#include "core/support/text.hpp"
#include "tests/support/asset_files.hpp"
#include "tests/support/tables.hpp"
#include "tests/support/temporary_folder.hpp"

#include <gtest/gtest.h>

namespace kestu::tests {
namespace {

Moment at(const char* text) { return *Moments::parse(text); }

const Moment now = at("2026-11-21T12:00:00Z");

TEST(EventRulesTest, DatesThatTheAppStoreTakes) {
  for (const auto& [promote, start, end, problem] : Rows<const char*, const char*, const char*, const char*>{
           {"2026-12-01T10:00:00Z", "2026-12-01T10:00:00Z", "2026-12-01T10:15:00Z", ""},
           {"2026-12-01T10:00:00Z", "2026-12-01T10:00:00Z", "2026-12-01T10:14:59Z", "this one would last 14 minutes."},
           {"2026-12-01T10:00:00Z", "2026-12-01T10:00:00Z", "2027-01-01T10:00:00Z", ""},
           {"2026-12-01T10:00:00Z", "2026-12-01T10:00:00Z", "2027-01-01T10:01:00Z", "last 31 days 1 min."},
           {"2026-12-01T10:00:00Z", "2026-12-01T10:00:00Z", "2026-12-01T10:00:00Z", "--ends is after --starts."},
           {"2026-11-17T10:00:00Z", "2026-12-01T10:00:00Z", "2026-12-02T10:00:00Z", ""},
           {"2026-11-17T09:59:00Z", "2026-12-01T10:00:00Z", "2026-12-02T10:00:00Z", "up to 14 days"},
           {"2026-12-01T10:01:00Z", "2026-12-01T10:00:00Z", "2026-12-02T10:00:00Z", "isn't after the start"},
       }) {
    SCOPED_TRACE(std::string(promote) + " " + end);
    auto problems = EventRules::problems({at(promote), at(start), at(end)});
    EXPECT_LE(problems.size(), 1U);
    EXPECT_TRUE(tells(Text::joined(problems, "\n"), problem));
  }
  EventDates moved = EventRules::merged(EventDates{at("2026-12-01T10:00:00Z"), at("2026-12-01T10:00:00Z"), now},
                                        {at("2026-12-03T10:00:00Z"), std::nullopt, std::nullopt});
  EXPECT_EQ(moved.publishStart, moved.eventStart) << "a promotion that begins with the event goes along";
  moved = EventRules::merged(EventDates{at("2026-11-30T10:00:00Z"), at("2026-12-01T10:00:00Z"), now},
                             {at("2026-12-03T10:00:00Z"), std::nullopt, std::nullopt});
  EXPECT_EQ(moved.publishStart, at("2026-11-30T10:00:00Z"));
}

TEST(EventRulesTest, WhatChangesInWhichState) {
  for (const auto& [state, hoursToStart, parts, refusal] :
       Rows<const char*, int, std::vector<std::string>, const char*>{
           {"draft", 48, {"name", "badge", "languages"}, ""},
           {"rejected", 48, {"name"}, ""},
           {"readyforreview", 48, {"card"}, ""},
           {"waitingforreview", 48, {"end"}, "Take it back first: kestu events cancel Cup"},
           {"inreview", 48, {"priority"}, "is in App Review, so nothing"},
           {"approved", 48, {"countries", "priority", "start", "end", "promotion"}, ""},
           {"approved", 48, {"badge", "end", "deep link"}, "dates to come change now, not its badge and deep link."},
           {"approved", 10, {"promotion"}, "its promotion has come"},
           {"accepted", 48, {"languages"}, "not its languages."},
           {"published", 48, {"start", "end"}, ""},
           {"published", 48, {"priority"}, "only its start and end change now, not its priority."},
           {"published", -1, {"end"}, ""},
           {"published", -1, {"start", "end"}, "has started: only its end changes now, not its start."},
           {"past", -48, {"end"}, "is over: nothing"},
           {"archived", -48, {"name"}, "is archived: nothing"},
       }) {
    SCOPED_TRACE(std::string(state) + " " + parts.back());
    Event event;
    event.name = "Fall Cup";
    event.state = state;
    Moment start = now + std::chrono::hours(hoursToStart);
    event.schedule = {{start - std::chrono::hours(24), start, start + std::chrono::hours(30)}, {}};
    EXPECT_TRUE(tells(EventRules::refusal(event, parts, now, "kestu events cancel Cup"), refusal));
  }
}

TEST(EventRulesTest, TextsAndLinks) {
  const std::string thirty = repeated("\U0001F468\u200D\U0001F469\u200D\U0001F467", 30);
  for (const auto& [text, lines, problem] :
       Rows<std::string, bool, const char*>{{thirty, false, ""},
                                            {thirty + "e\u0301", false, "has 31 characters"},
                                            {" ", false, "is empty"},
                                            {"two\nlines", false, "line break"},
                                            {"two\nlines", true, ""},
                                            {"red \x1b[31m", true, "control character"},
                                            {"\xff", true, "isn't UTF-8"}})
    EXPECT_TRUE(tells(EventRules::problem("--x", text, 30, lines), problem)) << problem;
  for (const char* link : {"https://example.com/event?a=b", "HTTPS://example.com", "my-app+x.1://e/1?d=2"})
    EXPECT_EQ(EventRules::linkProblem(link), "") << link;
  for (const char* link :
       {"https://", "myapp://", "1app://event", "://event", "example.com/event", "myapp://a b", "myapp://a\x1b"})
    EXPECT_NE(EventRules::linkProblem(link), "") << link;
}

TEST(EventMediaTest, KindSizeAndFrame) {
  TemporaryFolder folder;
  folder.write("card.png", png(1920, 1080));
  folder.write("big.jpg", jpeg(3840, 2160));
  folder.write("small.png", png(1280, 720));
  folder.write("odd.png", png(1921, 1080));
  folder.write("tall.jpeg", jpeg(1080, 1920));
  folder.write("text.png", "no picture");
  folder.write("empty.png", "");
  folder.write("a.mov", "movie");
  folder.write("a.gif", "GIF89a");
  std::filesystem::create_directory(folder.path() / "folder.png");
  const EventSlot &card = EventMediaFile::card, &details = EventMediaFile::details;
  std::optional<VideoFacts> facts = VideoFacts{1080, 1920, 12, 30, true};
  auto probe = [&](const std::filesystem::path&) { return facts; };
  for (const auto& [file, slot, frame, problem] : Rows<const char*, EventSlot, std::optional<std::string>, const char*>{
           {"card.png", card, std::nullopt, ""},
           {"big.jpg", card, std::nullopt, ""},
           {"tall.jpeg", details, std::nullopt, ""},
           {"a.mov", details, "00:00:05:00", ""},
           {"card.png", details, std::nullopt,
            "card.png is 1920 × 1080: an event's details page is portrait, 9:16, from 1080 × 1920."},
           {"small.png", card, std::nullopt, "from 1920 × 1080."},
           {"odd.png", card, std::nullopt, "landscape, 16:9"},
           {"a.mov", card, std::nullopt, "a.mov is 1080 × 1920"},
           {"text.png", card, std::nullopt, "text.png isn't a PNG or a JPEG."},
           {"empty.png", card, std::nullopt, "empty.png is empty."},
           {"a.gif", card, std::nullopt,
            "a.gif is neither an image (PNG, JPEG) nor a video (.mov, .mp4, .m4v), which an event's card is."},
           {"folder.png", card, std::nullopt, "isn't a file."},
           {"none.png", card, std::nullopt, "No file at none.png"},
           {"card.png", card, "00:00:05:00", "--frame is a video's."},
           {"a.mov", details, "0:00:05:00", "--frame is HH:MM:SS:FF: 00:00:05:00."},
       }) {
    SCOPED_TRACE(std::string(file) + " " + problem);
    auto read = EventMediaFile::read(folder.path(), file, slot, frame, probe, {});
    EXPECT_TRUE(tells(read.problem, problem));
    EXPECT_EQ(read.md5.size(), read.problem.empty() ? 32U : read.md5.size());
  }
  facts.reset();
  EXPECT_EQ(EventMediaFile::read(folder.path(), "a.mov", card, {}, probe, {}).problem,
            "a.mov isn't a video kestu can read.");
  EXPECT_NE(EventMediaFile::read(folder.path(), "a.mov", card, {}, nullptr, {}).note, "") << "unmeasured, and said so";
}

TEST(EventTextTest, TimesAreThoseOfTheZoneRelativeToNow) {
  for (const auto& [zone, start, end, shown, days] :
       Rows<const char*, const char*, const char*, const char*, const char*>{
           {"Europe/Stockholm", "2026-11-26T15:00:00Z", "2026-11-28T22:59:00Z", "26 Nov, 16:00 to 28 Nov, 23:59",
            "starts in 5 days"},
           {"Asia/Tokyo", "2026-11-21T14:30:00Z", "2026-11-21T15:30:00Z", "23:30 to tomorrow, 0:30",
            "starts in 2 hours"},
           {"UTC", "2026-11-21T11:00:00Z", "2026-11-21T13:00:00Z", "11:00 to 13:00", "ends in 1 hour"},
           {"America/New_York", "2026-11-20T04:00:00Z", "2026-11-20T06:00:00Z", "19 Nov, 23:00 to yesterday, 1:00",
            "ended 1 day ago"},
           {"UTC", "2027-08-01T00:00:00Z", "2027-08-02T00:00:00Z", "1 Aug 2027, 0:00 to 2 Aug 2027, 0:00",
            "starts in 252 days"},
       }) {
    SCOPED_TRACE(shown);
    EventDates dates{at(start), at(start), at(end)};
    EXPECT_EQ(Format::eventDates(dates, *TimeZone::named(zone), now), shown);
    EXPECT_EQ(Format::eventDays(dates, now), days);
  }
}

} // namespace
} // namespace kestu::tests
