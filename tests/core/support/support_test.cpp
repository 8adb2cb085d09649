#include "core/support/files.hpp"
#include "core/support/json.hpp"
#include "core/support/md5.hpp"
#include "core/support/moments.hpp"
#include "tests/support/tables.hpp"
#include "tests/support/temporary_folder.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sys/stat.h>

namespace fs = std::filesystem;

namespace kestu::tests {
namespace {

TEST(Moments, ParseISO8601AndNothingElse) {
  for (const auto& [text, canonical] : Rows<std::string, std::string>{
           {"2026-11-21T14:00:00Z", "2026-11-21T14:00:00Z"},
           {"2026-11-21t14:00:00.999z", "2026-11-21T14:00:00Z"},
           {"2026-11-21T01:30:00+02:00", "2026-11-20T23:30:00Z"},
           {"2026-12-31T23:30:00-0130", "2027-01-01T01:00:00Z"},
           {"1969-12-31T23:59:59Z", "1969-12-31T23:59:59Z"},
           {"9999-12-31T23:59:59Z", "2190-01-01T00:00:00Z"},
           {"0000-01-01T00:00:00+23:59", "1900-01-01T00:00:00Z"},
       }) {
    SCOPED_TRACE(text);
    auto moment = Moments::parse(text);
    EXPECT_EQ(moment ? Moments::iso8601(*moment) : "", canonical);
  }
  for (const char* text :
       {"2026-02-29T00:00:00Z", "2026-11-21T24:00:00Z", "2026-11-21T14:60:00Z", "2026-11-21T14:00:00", "2026-11-21",
        "2026-13-01T00:00:00Z", "2026-11-21T14:00:00ZZ", "2026-11-21T14:00:00+25:00", ""})
    EXPECT_FALSE(Moments::parse(text)) << text;
}

TEST(Files, NewOnesFollowTheUmaskAndOthersKeepTheirs) {
  TemporaryFolder folder;
  for (const auto& [umask, before, after] :
       Rows<mode_t, int, int>{{022, 0, 0644}, {077, 0, 0600}, {002, 0, 0664}, {077, 0640, 0640}, {0, 0600, 0600}}) {
    SCOPED_TRACE(after);
    auto file = folder.path() / "new.json";
    fs::remove(file);
    if (before != 0) fs::permissions(folder.write("new.json", "old"), fs::perms(before));
    mode_t usual = ::umask(umask);
    Files::writeAtomically(file, "new");
    ::umask(usual);
    EXPECT_EQ(static_cast<int>(fs::status(file).permissions()), after);
    EXPECT_EQ(Files::entries(folder.path()).size(), 1U);
  }
}

TEST(JSONValue, IsStrictOnTypesAndNamesThePath) {
  JSONValue value =
      JSONValue::parse(R"({"a":{"list":[1,2.0,"x",null]},"big":18446744073709551615,"half":0.5,"no":null,"yes":true})");
  EXPECT_EQ(value.at("a").at("list").list()[1].integer(), 2);
  EXPECT_FALSE(value.find("no"));
  EXPECT_TRUE(value.whenTrue("yes"));
  EXPECT_FALSE(value.whenTrue("no"));
  for (const auto& [read, message] : Rows<std::function<void()>, std::string>{
           {[&] { value.at("a").listAt("list", &JSONValue::integer); }, "a.list[2] isn't an integer"},
           {[&] { value.at("a").at("list").list()[3].text(); }, "a.list[3] isn't a text"},
           {[&] { value.at("big").integer(); }, "big isn't a 64-bit integer"},
           {[&] { value.at("half").integer(); }, "half isn't an integer"},
           {[&] { value.at("no"); }, "no is missing"},
           {[&] { value.at("a").at("b"); }, "a.b is missing"},
           {[&] { value.at("half").find("x"); }, "half isn't an object"},
           {[&] { value.whenTrue("half"); }, "half isn't true or false"},
           {[&] { value.list(); }, "the document isn't a list"},
           {[&] { JSONValue::parse(std::string(513, '[') + std::string(513, ']')); }, "too deeply nested"},
       })
    EXPECT_EQ(outcomeOf<JSONError>(read), message);
  EXPECT_NO_THROW(JSONValue::parse(std::string(512, '[') + std::string(512, ']')));
  EXPECT_NO_THROW(JSONValue::parse(R"(["\"[[[[", ")" + std::string(600, '[') + "\"]"));
  EXPECT_EQ(JSON::pretty({{"b", "a/b"}, {"a", "\xFF"}}), "{\n  \"a\": \"\uFFFD\",\n  \"b\": \"a/b\"\n}\n");
}

TEST(Files, StayInsideTheirFolder) {
  for (const std::string bad : {"", "/etc/passwd", "..", "a/../../b", "a//../b", "./a", "a/", "a/..", "../a"})
    EXPECT_FALSE(Files::inside("/r", bad)) << bad;
  EXPECT_FALSE(Files::inside("/r", std::string_view("a\0b", 3)));
  EXPECT_EQ(Files::inside("/r", "en-US/iPhone 6.9/..01.png"), fs::path("/r/en-US/iPhone 6.9/..01.png"));
}

TEST(Files, AreReplacedWholeWhereALinkLeads) {
  TemporaryFolder folder;
  fs::path file = folder.write("a.json", "old");
  fs::create_symlink("a.json", folder.path() / "link.json");
  Files::writeAtomically(folder.path() / "link.json", "new");
  EXPECT_EQ(Files::read(file, 100), "new");
  EXPECT_TRUE(fs::is_symlink(folder.path() / "link.json"));
  fs::create_directory(folder.path() / "taken");
  folder.write("taken/x", "");
  EXPECT_THROW(Files::writeAtomically(folder.path() / "taken", "new"), std::system_error);
  EXPECT_THROW(Files::writeAtomically(folder.path() / "none/a.json", "new"), std::system_error);
  EXPECT_EQ(Files::entries(folder.path()).size(), 3U) << "a temporary file was left";
  EXPECT_EQ(Files::read(folder.path() / "none", 10), std::nullopt);
  EXPECT_EQ(Files::read(file, 2), "ne");
  EXPECT_THROW(Files::read(folder.path(), 10), std::system_error);
}

TEST(MD5, HashesAcrossItsPieces) {
  TemporaryFolder folder;
  EXPECT_EQ(MD5::hex(std::string_view("")), "d41d8cd98f00b204e9800998ecf8427e");
  EXPECT_EQ(MD5::hex(std::string_view("message digest")), "f96b697d7cb7938d525a2f31aaf161d0");
  for (std::size_t size : {0U, 4'194'303U, 4'194'304U, 4'194'305U}) {
    std::string bytes(size, 'k');
    EXPECT_EQ(MD5::hex(folder.write("f", bytes)), MD5::hex(std::string_view(bytes))) << size;
  }
}

} // namespace
} // namespace kestu::tests
