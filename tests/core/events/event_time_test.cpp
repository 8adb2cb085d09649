#include "core/events/event.hpp"
#include "core/events/event_time.hpp"
#include "core/support/moments.hpp"
#include "tests/support/tables.hpp"
#include "tests/support/temporary_folder.hpp"

#include <gtest/gtest.h>

namespace kestu::tests {
namespace {

TEST(EventTimeTest, EveryFormOfADayAndHour) {
  // An empty moment is a refusal; what is told is a part of the problem or the note.
  for (const auto& [text, zone, moment, endOfDay, told] :
       Rows<const char*, const char*, const char*, bool, const char*>{
           {"2026-11-20 16:00", "Europe/Stockholm", "2026-11-20T15:00:00Z", false, ""},
           {" 2026-11-20 4pm ", "Europe/Stockholm", "2026-11-20T15:00:00Z", false, ""},
           {"2026-11-20T4:30\u00A0p.m.", "Europe/Stockholm", "2026-11-20T15:30:00Z", false, ""},
           {"2026-11-20 12am", "UTC", "2026-11-20T00:00:00Z", false, ""},
           {"2026-11-20 12pm", "UTC", "2026-11-20T12:00:00Z", false, ""},
           {"2026-11-20 0", "UTC", "2026-11-20T00:00:00Z", false, ""},
           {"2026-11-21", "Europe/Stockholm", "2026-11-20T23:00:00Z", false, ""},
           {"2026-11-21", "Europe/Stockholm", "2026-11-21T22:59:00Z", true, ""},
           {"2026-11-21 0:00", "UTC", "2026-11-21T00:00:00Z", true, ""},
           {"2028-02-29", "UTC", "2028-02-29T00:00:00Z", false, ""},
           {"2026-11-20T16:00:00.05+0100", "America/New_York", "2026-11-20T15:00:00Z", false, "is left out"},
           {"2026-11-20T16:00Z", "America/New_York", "2026-11-20T16:00:00Z", true, ""},
           {"2026-11-20T16:00-03:30", "UTC", "2026-11-20T19:30:00Z", false, ""},
           {"2026-11-20 13pm", "UTC", "", false, "from 1 to 12"},
           {"2026-11-20 0am", "UTC", "", false, "from 1 to 12"},
           {"1969-12-31", "UTC", "", false, "year"},
           {"2026-11-20 24:00", "UTC", "", false, "from 0 to 23"},
           {"2026-11-20 10:60", "UTC", "", false, "minutes"},
           {"2027-02-29", "UTC", "", false, "no day"},
           {"2026-13-01", "UTC", "", false, "no day"},
           {"2026-02-30T10:00Z", "UTC", "", false, "no such moment"},
           {"2099-12-31T23:59-14:00", "UTC", "2100-01-01T13:59:00Z", false, ""},
           {"2100-01-01", "UTC", "", false, "its year is one from 1970 to 2099"},
           {"2027-03-28 2:30", "Europe/Stockholm", "2027-03-28T01:30:00Z", false, "so 03:30 is taken"},
           {"2027-03-28 3:00", "Europe/Stockholm", "2027-03-28T01:00:00Z", false, ""},
           {"2026-10-25 2:30", "Europe/Stockholm", "2026-10-25T00:30:00Z", false, "second is 2026-10-25T02:30+01:00"},
           {"2026-11-01 1am", "PST", "2026-11-01T08:00:00Z", false, "second is 2026-11-01T01:00-08:00"},
           {"2027-09-05", "America/Santiago", "2027-09-05T04:00:00Z", false, "skip 00:00 on 5 Sep 2027"},
       }) {
    SCOPED_TRACE(std::string(text) + " in " + zone);
    EventTime time = EventTime::parse(text, *EventTime::zone(zone), endOfDay);
    EXPECT_EQ(time.moment ? Moments::iso8601(*time.moment) : "", moment);
    EXPECT_TRUE(tells(time.problem + time.note, told));
  }
  for (const char* text :
       {"2026-11-20 10:5", "2026-11-20 1600", "2026-11-20 16:00:00", "2026-11-2016:00", "2026-11-20T",
        "2026-11-20 4 pmx", "26-11-20", "2026-11-20t16:00z", "2026-11-20T16:00:00.Z", "20 Nov 2026", ""})
    EXPECT_FALSE(EventTime::parse(text, *EventTime::zone("UTC"), false).moment) << text;
}

TEST(EventTimeTest, ZonesByIdentifierOrAbbreviation) {
  for (const auto& [text, id] : Rows<const char*, const char*>{{"Europe/Stockholm", "Europe/Stockholm"},
                                                               {" europe/stockholm ", "Europe/Stockholm"},
                                                               {"pst", "America/Los_Angeles"},
                                                               {"CEST", "Europe/Paris"},
                                                               {"cet", "CET"},
                                                               {"est", "EST"},
                                                               {"AST", "America/Halifax"},
                                                               {"utc", "UTC"},
                                                               {"UTC+5:30", "GMT+05:30"},
                                                               {"GMT-3", "GMT-03:00"}}) {
    auto zone = EventTime::zone(text);
    EXPECT_EQ(zone ? zone->id() : "", id) << text;
  }
  for (const char* text :
       {"Mars/Base", "Africa:Timbuktu", "", "Etc/Unknown", "Factory", "AET", "UTC+99", "Europe/Stockholm\x01"})
    EXPECT_FALSE(EventTime::zone(text)) << text;
  for (const auto& [variable, id] : Rows<std::string, std::string>{{"Asia/Tokyo", "Asia/Tokyo"},
                                                                   {":Asia/Tokyo", "Asia/Tokyo"},
                                                                   {"/usr/share/zoneinfo/Asia/Tokyo", "Asia/Tokyo"},
                                                                   {"EST5EDT", "EST5EDT"},
                                                                   {"", "UTC"},
                                                                   {"Mars/Base", ""},
                                                                   {"CET-1CEST,M3.5.0,M10.5.0/3", ""}}) {
    auto zone = TimeZone::ofMachine(variable);
    EXPECT_EQ(zone ? zone->id() : "", id) << variable;
  }
  TemporaryFolder folder;
  folder.write("zoneinfo/Asia/Tokyo", "");
  std::filesystem::create_symlink(folder.path() / "zoneinfo/Asia/Tokyo", folder.path() / "localtime");
  auto linked = TimeZone::ofMachine(":" + (folder.path() / "localtime").string());
  EXPECT_EQ(linked ? linked->id() : "", "Asia/Tokyo");
}

TEST(EventTest, AnEventIsNamedByItsIdOrReferenceName) {
  std::vector<Event> events(4);
  events[0].eventId = "11", events[0].name = "Été";
  events[1].eventId = "12", events[1].name = "été";
  events[2].eventId = "13", events[2].name = "11";
  events[3].eventId = "14", events[3].name = " Meteor Night ";
  for (const auto& [text, expected] :
       Rows<const char*, const char*>{{"11", "11"},
                                      {"été", "12"},
                                      {"meteor night", "14"},
                                      {" Meteor Night", "14"},
                                      {"ETE", "2 events are named ETE. Name one by Apple's ID:"},
                                      {"Meteor", "The app has no event named Meteor: kestu events lists them."}}) {
    std::string found = outcomeOf([&, wanted = text] { return Events::named(events, wanted).eventId; });
    EXPECT_EQ(found.substr(0, found.find('\n')), expected) << text;
  }
  EXPECT_EQ(Events::word(Events::badges(), "Live-Event"), "liveevent");
  EXPECT_EQ(Events::word(Events::purposes(), "everyone"), "appropriateforallusers");
  EXPECT_EQ(Events::word(Events::badges(), "Live"), std::nullopt);
}

} // namespace
} // namespace kestu::tests
