#include "core/builds/build_file.hpp"
#include "core/builds/build_number.hpp"
#include "core/builds/build_reference.hpp"
#include "core/builds/info_plist.hpp"
#include "tests/support/build_files.hpp"
#include "tests/support/tables.hpp"

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace kestu::tests {
namespace {

using Text = std::optional<std::string>;
using Texts = std::vector<std::string>;

TEST(BuildNumber, NextIsTheHighestPlusOne) {
  for (const auto& [numbers, next] : Rows<Texts, const char*>{
           {Texts{}, "1"},
           {{"45", "9"}, "46"},
           {{"1.0.9", "1.0.10"}, "1.0.11"},
           {{"1", "1.0"}, "1.1"},
           {{"1.09"}, "1.10"},
           {{"1.9", "1.99"}, "1.100"},
           {{"1..2."}, "1.3"},
           {{"1.beta"}, "1.1"},
           {{"beta", "0"}, "1"},
           {{"99999999999999999999", "100000000000000000000"}, "100000000000000000001"},
       })
    EXPECT_EQ(BuildNumber::next(numbers), next) << next;
}

TEST(BuildNumber, SameVersionComparesWholeNumbers) {
  for (const auto& [one, other, same] : Rows<Text, Text, bool>{
           {"1.2", "1.2", true},
           {"1.02", "1.2", true},
           {"1.2", "1.2.0", false},
           {"1.2", "1.20", false},
           {"1.2b", "1.2", false},
           {"1.2", std::nullopt, false},
           {std::nullopt, std::nullopt, false},
       }) {
    SCOPED_TRACE(one.value_or("-") + " " + other.value_or("-"));
    EXPECT_EQ(BuildNumber::sameVersion(one, other), same);
    EXPECT_EQ(BuildNumber::sameVersion(other, one), same);
  }
}

TEST(BuildReference, ReadsEachWayToNameABuild) {
  for (const auto& [given, version, number, id, text, word] :
       Rows<const char*, Text, Text, Text, const char*, const char*>{
           {"45", std::nullopt, "45", std::nullopt, "45", "45"},
           {" 1.0.8\n", std::nullopt, "1.0.8", std::nullopt, "1.0.8", "1.0.8"},
           {"1.2 (45)", "1.2", "45", std::nullopt, "1.2 (45)", "\"1.2 (45)\""},
           {"1.2(45)", "1.2", "45", std::nullopt, "1.2 (45)", "\"1.2 (45)\""},
           {"1.2 ($(rm))", std::nullopt, std::nullopt, "1.2 ($(rm))", "1.2 ($(rm))", "'1.2 ($(rm))'"},
           {"1.2 `x`", "1.2", "`x`", std::nullopt, "1.2 (`x`)", "'1.2 (`x`)'"},
           {"1..2 45", std::nullopt, std::nullopt, "1..2 45", "1..2 45", "'1..2 45'"},
           {"1.2 3 45", std::nullopt, std::nullopt, "1.2 3 45", "1.2 3 45", "'1.2 3 45'"},
           {"...", std::nullopt, std::nullopt, "...", "...", "..."},
           {"6f9e\x1b[2J", std::nullopt, std::nullopt, "6f9e\x1b[2J", "6f9e\\u{1b}[2J", "'6f9e\\u{1b}[2J'"},
       }) {
    SCOPED_TRACE(given);
    BuildReference read = BuildReference::read(given);
    EXPECT_EQ(read.version, version);
    EXPECT_EQ(read.number, number);
    EXPECT_EQ(read.id, id);
    EXPECT_EQ(read.text(), text);
    EXPECT_EQ(read.word(), word);
  }
}

ManagedBuild listed(const std::string& id, const std::string& platform, const std::string& version,
                    const std::string& number, bool upload = false) {
  ManagedBuild build;
  build.buildId = id;
  build.platform = platform;
  build.version = version;
  build.number = number;
  build.upload = upload;
  return build;
}

TEST(BuildReference, FindsTheBuildThatIsMeant) {
  const std::vector<ManagedBuild> builds = {
      listed("a", "ios", "1.2", "45", true), listed("b", "ios", "1.2", "45"), listed("c", "ios", "1.1", "44"),
      listed("d", "macos", "1.1", "44"),     listed("e", "ios", "1.0", "44"), listed("f", "tvos", "1.2", "7", true),
      listed("g", "tvos", "1.2", "7", true),
  };
  for (const auto& [text, platform, expected] : Rows<const char*, Text, std::string>{
           {"45", std::nullopt, "b"},
           {"1.02 (45)", std::nullopt, "b"},
           {"1.1 (44)", "macos", "d"},
           {"7", std::nullopt, "f"},
           {"a", std::nullopt, "a"},
           {"045", std::nullopt, "No build is 045: kestu builds list lists them."},
           {"1.1 (45)", "tvos", "No build is 1.1 (45) for tvOS: kestu builds list lists them."},
           {"44", std::nullopt,
            "Several builds are 44: name its version too (\"1.2 (45)\"), or --platform.\n  1.1 (44) for iOS\n  1.1 "
            "(44) for macOS\n  1.0 (44) for iOS"},
           {"44", "ios",
            "Several builds are 44: name its version too (\"1.2 (45)\"), or --platform.\n  1.1 (44) for iOS\n  1.0 "
            "(44) for iOS\nHere the version tells them apart: \"1.1 (44)\""},
           {"1.1 (44)", std::nullopt,
            "Several builds are 1.1 (44): name its version too (\"1.2 (45)\"), or --platform.\n  1.1 (44) for iOS\n  "
            "1.1 (44) for macOS\nHere the platform tells them apart: --platform ios"},
       }) {
    SCOPED_TRACE(text);
    BuildReference reference = BuildReference::read(text);
    EXPECT_EQ(outcomeOf([&, of = platform] { return reference.find(builds, of).buildId; }), expected);
  }
}

TEST(InfoPlist, ReadsXMLAndBinaryAlike) {
  for (const auto& [xml, version, platform] : Rows<std::string, const char*, const char*>{
           {plist("1.2", "45"), "1.2", "ios"},
           {plist("1.2", "45", "AppleTVOS"), "1.2", "tvos"},
           {plist("1.2", "45", "XROS"), "1.2", "visionos"},
           {plist("1.2", "45", "WatchOS</string><string>XROS"), "1.2", "ios"},
           {plist({{"CFBundleVersion", "45"}, {"CFBundleSupportedPlatforms", "XROS"}}), "", "ios"},
           {plist(" 1.2\n", "45"), "1.2", "ios"},
       }) {
    for (const std::string& bytes : {xml, binaryPlist(xml)}) {
      SCOPED_TRACE(xml);
      auto info = InfoPlist::read(bytes);
      ASSERT_TRUE(info);
      EXPECT_EQ(info->version.value_or(""), version);
      EXPECT_EQ(info->number, "45");
      EXPECT_EQ(info->platform, platform);
    }
  }
  for (const std::string& bytes : Texts{"", "bplist00", "<plist><array/></plist>", "{\"CFBundleVersion\": \"45\"}",
                                        binaryPlist(plist("1", "2")).substr(9)})
    EXPECT_FALSE(InfoPlist::read(bytes)) << bytes;
}

/// `count` arrays, each within the one before, or in binary form also several times in it.
std::string nested(int count, int times, bool binary) {
  std::string text;
  if (!binary) {
    for (int i = 0; i < count; ++i) text += "<array>";
    for (int i = 0; i < count; ++i) text += "</array>";
    return "<plist><dict><key>a</key>" + text + "<key>CFBundleVersion</key><string>45</string></dict></plist>";
  }
  auto big = [](std::int64_t value, int bytes) {
    std::string number;
    while (bytes-- > 0) number += static_cast<char>(value >> 8 * bytes & 0xFF);
    return number;
  };
  // The dictionary is object 0, its key 1 and value 2, then its other key and the arrays.
  text = "bplist00" + std::string("\xD2") + big(1, 2) + big(3, 2) + big(2, 2) + big(4, 2);
  text += std::string("\x5F\x10\x0F") + "CFBundleVersion";
  std::string places = big(8, 4) + big(17, 4) + big(35, 4) + big(38, 4);
  text += std::string("\x52") + "45\x51" + "a";
  for (int i = 0; i < count; ++i) {
    places += big(static_cast<int>(text.size()), 4);
    bool last = i == count - 1;
    text += static_cast<char>(0xA0 + (last ? 0 : times));
    for (int j = 0; j < times && !last; ++j) text += big(5 + i, 2);
  }
  int table = static_cast<int>(text.size());
  return text + places + std::string(6, '\0') + "\x04\x02" + big(0, 4) + big(4 + count, 4) + big(0, 8) + big(0, 4) +
         big(table, 4);
}

TEST(InfoPlist, RefusesWhatWouldExhaustItsReader) {
  for (const auto& [count, times, binary, read] : Rows<int, int, bool, bool>{
           {50, 1, false, true},
           {100'000, 1, false, false},
           {50, 1, true, true},
           {60'000, 1, true, false},
           {12, 2, true, true},
           {60, 2, true, false},
       }) {
    SCOPED_TRACE(std::to_string(count) + (binary ? " binary" : " XML"));
    auto info = InfoPlist::read(nested(count, times, binary));
    EXPECT_EQ(info.has_value(), read);
    if (info) {
      EXPECT_EQ(info->number, "45");
    }
  }
  // A binary one that ends anywhere too soon, or has any byte turned, is read or refused.
  std::string whole = nested(3, 1, true);
  for (std::size_t at = 0; at < whole.size(); ++at) {
    InfoPlist::read(whole.substr(0, at));
    for (int bit = 0; bit < 8; ++bit) {
      std::string turned = whole;
      turned[at] = static_cast<char>(turned[at] ^ 1 << bit);
      InfoPlist::read(turned);
    }
  }
}

TEST(BuildArchive, TakesOnlyTheAppsOwnInfoPlist) {
  for (const auto& [names, member] : Rows<const char*, const char*>{
           {"Payload/\nPayload/A.app/\nPayload/A.app/Info.plist\n", "Payload/A.app/Info.plist"},
           {"Payload/A.app/Watch/W.app/Info.plist\nPayload/A.app/Info.plist", "Payload/A.app/Info.plist"},
           {"Payload/A.app/PlugIns/E.appex/Info.plist\n", ""},
           {"payload/A.app/Info.plist\nPayload/A/Info.plist\nX/Payload/A.app/Info.plist\n", ""},
           {"Payload/Info.plist\n/Payload/A.app/Info.plist\nPayload/A.app/Info.plist/\n", ""},
           {"Payload/B.app/Info.plist\nPayload/A.app/Info.plist\n", "Payload/B.app/Info.plist"},
       })
    EXPECT_EQ(infoPlistMember(names), member) << names;
}

/// "1.2 (45) ios", or the message.
std::string outcome(const fs::path& folder, const std::string& path, const BuildFile::Given& given = {},
                    const Texts& programs = BuildArchive::unzipPrograms) {
  return outcomeOf([&] {
    BuildFile build = BuildFile::read(folder, path, given, {}, programs);
    return build.text() + " " + build.platform;
  });
}

TEST(BuildFile, ReadsARealArchive) {
  TemporaryFolder place;
  const fs::path& folder = place.path();
  std::string nested = plist("9.9", "99", "WatchOS");
  int count = 1;
  for (const auto& [file, app] : Rows<const char*, const char*>{
           {"plain.ipa", "Daylight"},
           {"-d.ipa", "A"},
           {"a 'b' \"c\"\n$(d).IPA", "A"},
           {"x1.ipa", "A"},
           {"x[1].ipa", "A"}, // as a pattern this is the one above
           {"u.ipa", "Café 天気"},
           {"m.ipa", "x[1]*?\\y"},
       }) {
    SCOPED_TRACE(file);
    const std::string number = std::to_string(++count), at = "Payload/" + std::string(app) + ".app/";
    ipa(folder / file, {{at + "Watch/W.app/Info.plist", nested},
                        {at + "PlugIns/E.appex/Info.plist", nested},
                        {at + "Info.plist", binaryPlist(plist("1.2", number))}});
    EXPECT_EQ(outcome(folder, file), "1.2 (" + number + ") ios");
  }
  EXPECT_EQ(outcome("/", (folder / "plain.ipa").string()), "1.2 (2) ios");
  EXPECT_EQ(outcome(folder, "plain.ipa", {"3.0", {}, {}}), "3.0 (2) ios");
  EXPECT_EQ(outcome(folder, "plain.ipa", {{}, "7", "tvos"}), "1.2 (7) tvos");
}

TEST(BuildFile, SaysWhyAFileIsNoBuild) {
  TemporaryFolder place;
  const fs::path& folder = place.path();
  auto unread = [](const std::string& file, const std::string& why = "") {
    return "Couldn't read the version and build number from " + file + ": give --version and --build." + why;
  };
  place.write("junk.ipa", "no zip");
  place.write("empty.pkg", "");
  place.write("mac.pkg", "xar!");
  place.write("app.zip", "PK");
  place.write("Payload/A.app/Info.plist", plist("1", "2"));
  fs::create_directory(folder / "folder.ipa");
  ipa(folder / "bare.ipa", {{"Payload/A.app/Watch/W.app/Info.plist", plist("1", "2")}});
  ipa(folder / "half.ipa", {{"Payload/A.app/Info.plist", plist({{"CFBundleVersion", "2"}})}});
  ipa(folder / "text.ipa", {{"Payload/A.app/Info.plist", "text"}});
  ipa(folder / "huge.ipa", {{"Payload/A.app/Info.plist", std::string(2U << 20U, ' ')}});
  auto encrypted =
      Process::run({.arguments = {"zip", "-q", "-r", "-P", "pw", "secret.ipa", "Payload"}, .folder = folder}, {});
  ASSERT_TRUE(encrypted.succeeded()) << encrypted.err;
  const BuildFile::Given nothing, version = {"1", {}, {}}, both = {"1", "2", {}}, all = {"1", "2", "ios"};
  for (const auto& [file, given, expected] : Rows<const char*, BuildFile::Given, std::string>{
           {"app.zip", nothing, "app.zip isn't an .ipa or a .pkg."},
           {"gone.ipa", nothing, "No file at gone.ipa"},
           {"folder.ipa", nothing, "folder.ipa isn't a file."},
           {"empty.pkg", both, "empty.pkg is empty."},
           {"mac.pkg", nothing, unread("mac.pkg")},
           {"mac.pkg", both, "1 (2) macos"},
           {"junk.ipa", nothing, unread("junk.ipa", " It can't be read as a zip archive, which an .ipa is.")},
           {"junk.ipa", both,
            "Couldn't read the platform from junk.ipa: give --platform. It can't be read as a zip archive, which an "
            ".ipa is."},
           {"bare.ipa", nothing, unread("bare.ipa", " It has no Info.plist of an app in Payload.")},
           {"half.ipa", nothing, unread("half.ipa")},
           {"half.ipa", version, "1 (2) ios"},
           {"text.ipa", nothing, unread("text.ipa", " Its Info.plist isn't a property list.")},
           {"huge.ipa", nothing, unread("huge.ipa", " Its Info.plist is over 1 MB, which no app's is.")},
           {"huge.ipa", all, "huge.ipa can't be sent. Its Info.plist is over 1 MB, which no app's is."},
           {"secret.ipa", nothing, unread("secret.ipa", " Its Info.plist is encrypted.")},
       })
    EXPECT_EQ(outcome(folder, file, given), expected) << file;
  EXPECT_EQ(outcome(folder, "half.ipa", nothing, {"/nowhere/unzip", "kestu-no-unzip"}),
            unread("half.ipa", " This machine has no unzip to look into it with: install unzip."));
  for (const std::string& unusable : {std::string("/nowhere/unzip"), (folder / "app.zip").string()})
    EXPECT_EQ(outcome(folder, "half.ipa", version, {unusable, "unzip"}), "1 (2) ios") << unusable;
}

TEST(BuildFile, NeedsAFolderForThePathsThatUnzipTakesForPatterns) {
  TemporaryFolder place;
  ipa(place.path() / "x[1].ipa", {{"Payload/A.app/Info.plist", plist("1", "2")}});
  const char* before = std::getenv("TMPDIR");
  const std::string kept = before ? before : "";
  ::setenv("TMPDIR", (place.path() / "gone").c_str(), 1);
  std::string message = outcome(place.path(), "x[1].ipa");
  before ? ::setenv("TMPDIR", kept.c_str(), 1) : ::unsetenv("TMPDIR");
  EXPECT_TRUE(message.ends_with("no temporary folder can be made to read it through: set TMPDIR.")) << message;
}

} // namespace
} // namespace kestu::tests
