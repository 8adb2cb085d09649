#include "core/assets/asset_problems.hpp"
#include "core/assets/asset_scan.hpp"
#include "core/assets/display_hint.hpp"
#include "core/assets/frames.hpp"
#include "core/assets/pulled.hpp"
#include "core/support/error.hpp"
#include "core/support/files.hpp"
#include "core/support/md5.hpp"
#include "core/support/text.hpp"
#include "tests/support/asset_files.hpp"
#include "tests/support/tables.hpp"
#include "tests/support/temporary_folder.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <unordered_set>
#include <utility>

namespace kestu::tests {
namespace {

using enum AssetKind;
using Texts = std::vector<std::string>;

const std::string at = "metadata/screenshots/";

AssetDisplay display(std::string group, std::string name, std::int64_t width, std::int64_t height, bool videos,
                     std::string platform = "ios") {
  AssetDisplay made{group, name, platform == "ios" ? "iphone" : "mac", platform, 2, {}, {}};
  if (videos) {
    made.videos = {{.dimensions = {width, width, height, height}}};
  } else {
    made.images = {{.dimensions = {width, width, height, height}}};
  }
  return made;
}

AssetCatalog catalog() {
  return {{{"screenshots",
            {display("P69", "iPhone 6.9″", 6, 9, false), display("P55", "iPhone 5.5″", 5, 8, false),
             display("MAC", "Mac", 16, 10, false, "macos")}},
           {"previews", {display("V69", "iPhone 6.9″", 6, 9, true), display("V55", "iPhone 5.5″", 5, 8, true)}},
           {"header", {display("HEAD", "Header", 6, 9, false)}}}};
}

/// Measures a "video" whose bytes are "<width> <height>"; none for any other.
std::optional<VideoFacts> measured(const std::filesystem::path& path) {
  VideoFacts facts{0, 0, 20, 30, true};
  std::ifstream(path) >> facts.width >> facts.height;
  return facts.height > 0 ? std::optional(facts) : std::nullopt;
}

AssetScan scan(const TemporaryFolder& repo, AssetKind kind,
               ScanOptions options = {.platform = "ios", .probe = measured}) {
  return Assets::sets(kind, repo.path(), catalog(), options);
}

/// "en-US P69 metadata/screenshots/en-US/iPhone 6.9: 01.png 02.png", one for each set.
Texts shown(const AssetScan& scan) {
  Texts lines;
  for (const AssetSet& set : scan.sets) {
    lines.push_back(set.locale + " " + set.display.group + " " + set.folder + ":");
    for (const AssetFile& file : set.files) lines.back() += " " + file.name;
  }
  return lines;
}

TEST(AssetScan, findsSetsInOrder) {
  TemporaryFolder repo;
  for (const char* file : {"en-US/iPhone 6.9/10.png", "en-US/iPhone 6.9/2.PNG", "en-US/p55/.hidden.png", "fr-FR/z.png",
                           "de-DE/P69/1.png"}) {
    repo.write(at + file, png(6, 9));
  }
  for (const char* file : {"en-US/iPhone 6.9/.DS_Store", "en-US/iPhone 6.9/notes.txt"}) repo.write(at + file, "");
  repo.write(at + "en-US/IPHONE  5.5″/a.jpg", jpeg(8, 5));
  repo.write(at + "en-US/Mac/a.png", png(1, 1));
  repo.write(at + "fr-FR/b.png", png(5, 8));
  repo.write(at + "fr-FR/mac.png", png(16, 10));
  repo.write(at + "pulled.json", "{}");
  repo.write("fastlane/screenshots/it/1.png", png(6, 9));
  AssetScan found = scan(repo, screenshots);
  EXPECT_EQ(found.problems, Texts());
  EXPECT_EQ(found.notes, Texts()) << "en-US/p55 is a display, if an empty one";
  EXPECT_EQ(shown(found),
            (Texts{"de-DE P69 metadata/screenshots/de-DE/P69: 1.png",
                   "en-US P69 metadata/screenshots/en-US/iPhone 6.9: 2.PNG 10.png",
                   "en-US P55 metadata/screenshots/en-US/IPHONE  5.5″: a.jpg",
                   "fr-FR P69 metadata/screenshots/fr-FR: z.png", "fr-FR P55 metadata/screenshots/fr-FR: b.png"}));
  ScanOptions some{.platform = "ios", .locales = {"FR-fr", "de-de"}, .groups = {"P55"}};
  EXPECT_EQ(shown(scan(repo, screenshots, some)), Texts{"fr-FR P55 metadata/screenshots/fr-FR: b.png"});
  ScanOptions mac{.platform = "macos", .locales = {"fr-FR"}};
  EXPECT_EQ(shown(scan(repo, screenshots, mac)), Texts{"fr-FR MAC metadata/screenshots/fr-FR: mac.png"});
  EXPECT_EQ(Assets::kinds(repo.path()), std::vector{screenshots});
  EXPECT_TRUE(scan(repo, previews).sets.empty());
  std::unordered_set<AssetKey> keys;
  for (const AssetSet& set : found.sets) keys.insert(set.key());
  EXPECT_TRUE(keys.size() == 5 && keys.contains({"fr-FR", screenshots, "P55"}));
}

TEST(AssetScan, tellsWhatIsWrongWithAFile) {
  for (const auto& [kind, file, bytes, problem] : Rows<AssetKind, const char*, std::string, const char*>{
           {screenshots, "metadata/screenshots/ja/P69/a.mov", "6 9", " is a video, and screenshots are images."},
           {previews, "metadata/previews/ja/V69/a.png", png(6, 9), " is an image, and app previews are videos."},
           {screenshots, "fastlane/screenshots/ja/P69/a.png", png(100, 200),
            " is 100 × 200, not a size of iPhone 6.9″ (6 × 9)."},
           {screenshots, "metadata/screenshots/ja/a.png", png(9, 7),
            " is 9 × 7, which no display takes (6 × 9 or 5 × 8)."},
           {previews, "metadata/previews/ja/V69/a.m4v", "5 8", " is 5 × 8, not a size of iPhone 6.9″ (6 × 9)."},
           {previews, "metadata/previews/ja/V69/a.mov", "no", " isn't a video kestu can read."},
           {screenshots, "metadata/screenshots/ja/P69/a.png", "<html>", " isn't a PNG or a JPEG."},
           {screenshots, "metadata/screenshots/ja/P69/é.png", png(6, 9, PNGColours::greyAlpha),
            " has an alpha channel, which Apple takes none of at 6 × 9: save it without one."},
           {screenshots, "fastlane/screenshots/ja/a.png", "version https://git-lfs.github.com/spec/v1\noid sha256:0\n",
            " is a Git LFS pointer, not the file itself: git lfs pull."},
       }) {
    TemporaryFolder repo;
    repo.write(file, bytes);
    EXPECT_EQ(scan(repo, kind).problems, Texts{file + std::string(problem)});
  }
}

TEST(AssetScan, refusesFoldersThatCanBeNoLanguage) {
  const std::string toaster = at + "de-DE/Toaster: No display is called Toaster: kestu assets sizes lists them.";
  for (const auto& [file, problem, note, sets, groups] :
       Rows<const char*, std::string, std::string, std::size_t, Texts>{
           {"de_DE/P69/1.png", at + "de_DE can't be a language: it's written de-DE.", "", 0, {}},
           {"default/P69/1.png", at + "default can't be a language, which is written as en-US.", "", 0, {}},
           {"default/P55/1.png", "", at + "default can't be", 0, {"P69"}},
           {"de_DE/P69/1.png", at + "de_DE can't be a language: it's written de-DE.", "", 0, {"P69"}},
           {"fonts/A.ttf", "", at + "fonts can't be a language", 0, {}},
           {"xx-YY/P69/1.png", "", at + "xx-YY isn't one of Apple's languages.", 1, {}},
           {"de/P69/1.png", "", at + "de isn't one of Apple's languages (de-DE is).", 1, {}},
           {"de-DE/P69/1.png", "", "", 1, {}},
           // With a display asked for, what is wrong with others' files is no matter.
           {"de-DE/Toaster/1.png", toaster, "", 0, {}},
           {"de-DE/Toaster/1.png", "", at + "de-DE/Toaster: No display", 0, {"P69"}},
           {"de-DE/loose.jpg", "", at + "de-DE/loose.jpg is 9 × 9, which no display takes", 0, {"P69"}},
           {"de-DE/P69/1.jpg", at + "de-DE/P69/1.jpg is 9 × 9, not a size of iPhone 6.9″ (6 × 9).", "", 1, {"P69"}},
       }) {
    SCOPED_TRACE(file + std::string(groups.empty() ? "" : " for P69"));
    TemporaryFolder repo;
    bool isSquare = std::string(file).ends_with(".jpg");
    repo.write(at + file, isSquare ? jpeg(9, 9) : png(6, 9));
    AssetScan found = scan(repo, screenshots, {.platform = "ios", .groups = groups});
    EXPECT_EQ(found.problems, problem.empty() ? Texts() : Texts{problem});
    EXPECT_EQ(found.sets.size(), sets);
    ASSERT_EQ(found.notes.size(), note.empty() ? 0U : 1U);
    if (!note.empty()) EXPECT_TRUE(begins(found.notes[0], note));
  }
}

TEST(AssetScan, goesByNamesAmongDisplaysOfOneSize) {
  auto pad = [](const char* group, const char* name) { return AssetDisplay{group, name, "ipad", "ios", 1, {}, {}}; };
  const AssetDisplay large = pad("IPAD_PRO_BORDERLESS_PROFILE", "iPad 13″"),
                     old = pad("IPAD_PRO_PROFILE", "iPad 12.9″");
  AssetDisplay small{"IPHONE_A", "iPhone 6.1″", "iphone", "ios", 1, {}, {}};
  AssetDisplay other{"IPHONE_AB", "iPhone 6.3″", "iphone", "ios", 1, {}, {}};
  for (const auto& [file, first, second, meant] :
       Rows<const char*, const AssetDisplay*, const AssetDisplay*, const AssetDisplay*>{
           {"1.png", &large, &old, &large},
           {"iPadPro129-2ndGen-1.png", &large, &old, &old},
           {"01_APP_IPAD_PRO_3GEN_129_framed.png", &old, &large, &large},
           {"iPad Pro (12.9-inch) (4th generation)-1.png", &old, &large, &large},
           {"iPad 12.9-1.png", &large, &old, &old},
           {"gen-1.png", &old, &large, &old},
           {"APP_IPHONE_63_1.png", &small, &other, &other},
           {"iphone_ab.png", &small, &other, &other},
           {"6.3.png", &small, &other, &small}})
    EXPECT_EQ(displayMeant(file, {first, second})->name, meant->name) << file;
}

TEST(AssetScan, framedPicturesStandForTheirOriginals) {
  TemporaryFolder repo;
  const std::string ja = "fastlane/screenshots/ja/";
  std::filesystem::create_directories(repo.path() / "metadata/screenshots/en-US"); // empty, it hides nothing
  for (const char* file : {"1.png", "1_framed.png", "2.png", "3_framed.jpg.png", "2_frame.png", "2b.png"}) {
    repo.write(ja + file, png(5, 8, PNGColours::palette, static_cast<std::uint8_t>(file[0])));
  }
  AssetScan found = scan(repo, screenshots, {.hashing = true});
  EXPECT_EQ(shown(found),
            Texts{"ja P55 fastlane/screenshots/ja: 1_framed.png 2_frame.png 2.png 2b.png 3_framed.jpg.png"});
  EXPECT_EQ(found.notes, (Texts{"fastlane/screenshots/ja: a file is left out for the framed one beside it (…_framed).",
                                "fastlane/screenshots/ja/2_frame.png, 2.png and 2b.png are the same picture."}));
}

TEST(AssetScan, groupsFilesWithTheSameFault) {
  // "@" stands for the folder of all of them.
  auto whole = [](std::string text) {
    for (std::size_t place; (place = text.find('@')) != std::string::npos;) text.replace(place, 1, at);
    return text;
  };
  for (const auto& [problems, columns, lines] : Rows<const char*, int, const char*>{
           {"@ja/A/1.png is 1 × 2.\n@ja/A/2.png is 1 × 2.", 0, "@ja/A/1.png is 1 × 2.\n@ja/A/2.png is 1 × 2."},
           {"@ja/A b.c/1.png is 1 × 2.\n@no/A/2.png is 1 × 2.\n@ja/A/3.png is 1 × 2.", 200,
            "@ja/A b.c/1.png (and 2 more in no, ja) is 1 × 2."},
           {"@a/1.png is 1 × 2.\n@b/1.png is 1 × 2.\n@c/1.png is 1 × 2.\n@d/1.png is 1 × 2.\n@e/1.png is 1 × 2.", 200,
            "@a/1.png (and 4 more in 4 languages) is 1 × 2."},
           {"@ja/1.png isn't a PNG.\n@ja/A has 11 screenshots.\n@ja/2.png is 1 × 2.\n@ja/A has 11 screenshots.", 200,
            "@ja/1.png isn't a PNG.\n@ja/A has 11 screenshots.\n@ja/2.png is 1 × 2.\n@ja/A has 11 screenshots."},
           {"@ja/1.mov and @ja/2.mov are the same.", 200, "@ja/1.mov and @ja/2.mov are the same."},
           {"@ja/\x1b[2J.png isn't a PNG.", 200, "@ja/\\u{1b}[2J.png isn't a PNG."},
           {"@ja/1.png is 1 × 2, not a size.", 30, "@ja/1.png\n  is 1 × 2, not a size."},
       })
    EXPECT_EQ(problemLines(Text::split(whole(problems), '\n'), columns), "\n" + whole(lines));
}

TEST(AssetScan, goesOnPastProblemsWithFolders) {
  TemporaryFolder repo;
  for (const char* file :
       {"de-DE/P69/1.png", "de-DE/P69/2.png", "de-DE/P69/3.png", "en-US/P69/1.png", "en-US/iPhone 6.9/2.png", //
        "en-US/iPhone 6.9/3.png", "en-US/4.png", "fr-FR/Foo/1.png", "it/1.png", "it/2.png", "it/3.png"}) {
    repo.write(at + file, png(6, 9));
  }
  std::filesystem::create_symlink("nowhere", repo.path() / at / "fr-FR/iPhone 5.5");
  std::filesystem::create_symlink("loop.png", repo.path() / at / "it/loop.png");
  std::filesystem::create_directory_symlink("de-DE", repo.path() / at / "sv");
  std::filesystem::create_directories(repo.path() / at / "sv/P55/a.png/P69");
  AssetScan found = scan(repo, screenshots);
  std::sort(found.problems.begin(), found.problems.end());
  EXPECT_EQ(found.problems,
            (Texts{at + "de-DE/P69 has 3 screenshots; Apple takes 2 at most.",
                   at + "en-US/iPhone 6.9 and metadata/screenshots/en-US are both iPhone 6.9″; keep one.",
                   at + "en-US/iPhone 6.9 and metadata/screenshots/en-US/P69 are both iPhone 6.9″; keep one.",
                   at + "fr-FR/Foo: No display is called Foo: kestu assets sizes lists them.",
                   at + "fr-FR/iPhone 5.5 can't be read (No such file or directory).",
                   at + "it has 3 screenshots for iPhone 6.9″; Apple takes 2 at most.",
                   at + "it/loop.png can't be read (Too many levels of symbolic links).",
                   at + "sv/P69 has 3 screenshots; Apple takes 2 at most."}));
  EXPECT_EQ(found.sets.size(), 4U);
}

TEST(AssetScan, hashesEveryFileInItsPlace) {
  TemporaryFolder repo;
  std::uint64_t bytes = 0;
  for (int i = 0; i < 40; ++i) {
    // One is longer than a piece, and one has its size only after the first read.
    std::string tail(i == 7 ? 9'000'000 : static_cast<std::size_t>(i), 'x');
    std::string file =
        i == 9 ? "\xFF\xD8" + jpegSegment(0xE1, std::string(65'533, 'x')) + jpeg(6, 9).substr(2) : png(6, 9);
    repo.write("metadata/screenshots/en-US/P69/" + std::to_string(i) + ".png", file + tail);
    bytes += file.size() + tail.size();
  }
  std::uint64_t last = 0;
  ScanOptions options{.hashing = true,
                      .progress = [&](std::uint64_t now) { EXPECT_LT(std::exchange(last, now), now); }};
  AssetScan hashed = scan(repo, screenshots, options);
  ASSERT_EQ(hashed.sets.size(), 1U);
  ASSERT_EQ(hashed.sets[0].files.size(), 40U);
  EXPECT_EQ(last, bytes);
  for (int i = 0; i < 40; ++i) {
    const AssetFile& file = hashed.sets[0].files[static_cast<std::size_t>(i)];
    EXPECT_EQ(file.name, std::to_string(i) + ".png");
    EXPECT_EQ(file.md5, MD5::hex(file.path));
    EXPECT_EQ(static_cast<std::uintmax_t>(file.size), std::filesystem::file_size(file.path));
  }
  AssetScan plain = scan(repo, screenshots);
  ASSERT_EQ(plain.sets[0].files.size(), 40U);
  EXPECT_EQ(plain.sets[0].files[9].height, 9) << "found past the first 64 KiB";
  EXPECT_EQ(plain.sets[0].files[9].md5, std::nullopt);
  std::stop_source stop;
  options.stop = stop.get_token();
  options.progress = [&](std::uint64_t) { stop.request_stop(); };
  EXPECT_THROW(scan(repo, screenshots, options), Stopped);
}

TEST(AssetScan, knowsPulledFilesByTheirBytes) {
  TemporaryFolder repo;
  auto first = repo.write(at + "en-US/P69/1.png", png(6, 9));
  repo.write(at + "en-US/2.png", png(5, 8));
  Pulled::write(screenshots, repo.path(), {{"en-US/P69/1.png", {"A1", MD5::hex(first)}}, {"en-US/2.png", {"A2", "0"}}});
  EXPECT_EQ(Files::read(repo.path() / at / "pulled.json", 1000)->substr(0, 40),
            "{\n  \"en-US/2.png\": {\n    \"assetId\": \"A2\"");
  for (bool hashing : {true, false}) {
    AssetScan found = scan(repo, screenshots, {.hashing = hashing});
    EXPECT_EQ(found.sets.at(0).files.at(0).assetId, "A1");
    EXPECT_EQ(found.sets.at(1).files.at(0).assetId, hashing ? std::nullopt : std::optional<std::string>("A2"));
  }
  repo.write(at + "pulled.json", R"({"en-US/P69/1.png": "A1"})");
  AssetScan found = scan(repo, screenshots);
  EXPECT_EQ(found.problems, Texts());
  EXPECT_EQ(found.notes, Texts{at + "pulled.json isn't what kestu assets pull writes, so it wasn't used."});
  EXPECT_EQ(found.sets.at(0).files.at(0).assetId, std::nullopt);
}

TEST(Frames, areHoursMinutesSecondsAndFrames) {
  for (const char* good : {"00:00:05:00", "99:59:59:99"}) EXPECT_TRUE(Frames::isFrame(good)) << good;
  for (const char* bad : {"0:00:05:00", "00:60:00:00", "00:00:60:00", "00:00:05", "00:00:05:000", "00:00:05:0a", "",
                          "00;00:05:00", "00:00:05:00 ", "00:00:5:000", "+1:00:05:00"})
    EXPECT_FALSE(Frames::isFrame(bad)) << bad;
}

TEST(Frames, areCheckedAgainstTheFiles) {
  TemporaryFolder repo;
  const std::string videos = "metadata/previews/";
  for (const char* file : {"en-US/V69/1.mov", "en-US/V69/2.mov", "en-US/V55/3.mov", "fr-FR/V69/1.mov"}) {
    repo.write(videos + file, std::string(file) == "en-US/V55/3.mov" ? "5 8" : "6 9");
  }
  repo.write(videos + "en-US/poster.png", png(6, 9));
  repo.write(videos + "frames.json",
             R"({"en-US/V69/1.mov": "00:00:05:00", "en-US/V69/2.mov": "00:00:06:00", "en-US/V55/3.mov": "5",
    "en-US/poster.png": "00:00:01:00", "en-US/V69/9.mov": "00:00:01:00", "fr-FR/V69/1.mov": "00:00:07:00", "it/1.mov": "00:00:01:00"})");
  ScanOptions options{.hashing = true, .probe = measured};
  AssetScan found = scan(repo, previews, options);
  EXPECT_EQ(
      found.problems,
      (Texts{videos + "en-US/poster.png is an image, and app previews are videos.",
             videos + "frames.json gives en-US/V55/3.mov the poster frame 5, which isn't HH:MM:SS:FF (00:00:05:00).",
             videos + "frames.json gives en-US/V69/9.mov a poster frame, and there's no such video.",
             videos + "frames.json gives en-US/poster.png a poster frame, and it's an image.",
             videos + "frames.json gives it/1.mov a poster frame, and there's no such video.",
             videos + "en-US/V69/1.mov and " + videos +
                 "en-US/V69/2.mov are the same video with different poster frames in en-US; a video has one."}));
  EXPECT_EQ(found.sets.at(0).files.at(1).frame, "00:00:06:00");
  EXPECT_EQ(found.sets.at(1).files.at(0).frame, std::nullopt);
  options.locales = {"FR-fr"};
  found = scan(repo, previews, options);
  EXPECT_EQ(found.problems, Texts()) << "other languages' frames were not looked for";
  EXPECT_EQ(found.sets.at(0).files.at(0).frame, "00:00:07:00");
}

TEST(Frames, areRewrittenEntryByEntry) {
  TemporaryFolder repo;
  const auto kind = previews;
  const auto& root = repo.path();
  Frames::write(kind, root,
                {{"en-US/A/1.mov", "00:00:01:00"}, {"en-US/A/2.mov", "00:00:02:00"}, {"en-US/AB/1.mov", "bad"}}, {});
  Frames::write(kind, root, {{"en-US/A/3.mov", "00:00:03:00"}}, {"en-US/A/2.mov", "en-US/A/3.mov"});
  auto file = [&] { return Files::read(root / "metadata/previews/frames.json", 1000).value_or("gone"); };
  EXPECT_EQ(file(), "{\n  \"en-US/A/1.mov\": \"00:00:01:00\",\n  \"en-US/A/3.mov\": \"00:00:03:00\",\n  "
                    "\"en-US/AB/1.mov\": \"bad\"\n}\n");
  Frames::moved(kind, root, {{"en-US/A", "en-US/B"}, {"en-US/A/3.mov", "en-US/A/1.mov"}});
  EXPECT_EQ(Frames::read(kind, root).frames,
            (PosterFrames{{"en-US/A/1.mov", "00:00:03:00"}, {"en-US/B/1.mov", "00:00:01:00"}}));
  Frames::write(kind, root, {{"en-US/C/1.mov", "00:00:09:00"}}, {});
  Frames::moved(kind, root, {{"en-US/C", "en-US/B"}});
  EXPECT_EQ(Frames::read(kind, root).frames.at("en-US/B/1.mov"), "00:00:01:00") << "what is there already stays";
  Frames::write(kind, root, {}, {"en-US/A/1.mov", "en-US/AB/1.mov", "en-US/B/1.mov"});
  EXPECT_EQ(file(), "gone");
  const std::string problem = "metadata/previews/frames.json isn't each video's path and its poster frame, as "
                              R"({"en-US/iPhone 6.9/01.mov": "00:00:05:00"}.)";
  for (const char* wrong : {"[]", R"({"en-US/1.mov": 5})", "", "{"}) {
    repo.write("metadata/previews/frames.json", wrong);
    EXPECT_EQ(Frames::read(kind, root).problems, Texts{problem});
    EXPECT_THROW(Frames::write(kind, root, {{"a", "b"}}, {}), CLIError) << wrong;
    EXPECT_EQ(file(), wrong);
  }
}

TEST(VideoProbe, leavesVideosUnmeasuredWithoutAModule) {
  TemporaryFolder repo;
  repo.write("metadata/previews/en-US/V69/1.mov", "6 9");
  repo.write("metadata/previews/en-US/2.mov", "6 9");
  const std::string problem =
      "metadata/previews/en-US/2.mov can't go by its size, which wasn't measured: move it to its display's folder.";
  auto missing = [](const auto&) -> std::optional<VideoFacts> { throw NoVideoModule(); };
  for (const VideoProbeFunction& probe : {VideoProbeFunction(), VideoProbeFunction(missing)}) {
    AssetScan found = scan(repo, previews, {.probe = probe});
    EXPECT_EQ(found.notes,
              Texts{"Videos weren't measured: libkestu-media isn't there. Install the package kestu-media, or "
                    "kestu built with FFmpeg's libraries."});
    EXPECT_EQ(found.problems, Texts{problem});
    EXPECT_EQ(shown(found), Texts{"en-US V69 metadata/previews/en-US/V69: 1.mov"});
  }
  EXPECT_EQ(VideoProbe::load(repo.write("libkestu-media.so", "not a module")), nullptr);
}

TEST(VideoProbe, measuresMovies) {
  if (std::system("ffmpeg -version > /dev/null 2>&1") != 0 || !VideoProbe::available())
    GTEST_SKIP() << "no ffmpeg, or no module";
  TemporaryFolder folder;
  const VideoProbeFunction probe = VideoProbe::system();
  for (const auto& [name, arguments, expected] : Rows<const char*, const char*, std::optional<VideoFacts>>{
           {"sound.mov",
            "-f lavfi -i testsrc=s=64x32:r=30000/1001:d=1.001 -f lavfi -i sine=d=1.001 -c:v mpeg4 -c:a aac -shortest",
            VideoFacts{64, 32, 1.001, 29.97, true}},
           {"portrait.mov", "-i sound.mov -c copy -an -metadata:s:v rotate=90",
            VideoFacts{32, 64, 1.001, 29.97, false}},
           {"wide.mp4", "-f lavfi -i testsrc=s=64x32:r=25:d=2 -vf setsar=2 -c:v mpeg4",
            VideoFacts{128, 32, 2, 25, false}},
           {"pieces.mp4", "-i wide.mp4 -c copy -movflags frag_keyframe+empty_moov", VideoFacts{128, 32, 2, 25, false}},
           // 20 frames at 30 a second, then every third of them: 33 in all.
           {"uneven.mov",
            "-f lavfi -i testsrc=s=64x32:r=30:d=2 -vf \"select='lt(n,20)+not(mod(n,3))'\" -vsync vfr -c:v mpeg4",
            VideoFacts{64, 32, 1.934, 33 / 1.9333, false}},
           // The edit list leaves out what comes before the key frame that it was cut at.
           {"cut.mov", "-ss 1 -i wide.mp4 -c copy", VideoFacts{128, 32, 1, 25, false}},
           {"sound only.m4v", "-f lavfi -i sine=d=1 -c:a aac -f mp4", std::nullopt},
       }) {
    SCOPED_TRACE(name);
    std::string made =
        "cd '" + folder.path().string() + "' && ffmpeg -v error -y " + arguments + " '" + name + "' < /dev/null";
    ASSERT_EQ(std::system(made.c_str()), 0);
    auto facts = probe(folder.path() / name);
    ASSERT_EQ(facts.has_value(), expected.has_value());
    if (!facts) continue;
    EXPECT_EQ(std::pair(facts->width, facts->height), std::pair(expected->width, expected->height));
    EXPECT_NEAR(facts->seconds, expected->seconds, 0.04);
    EXPECT_NEAR(facts->fps, expected->fps, 0.01);
    EXPECT_EQ(facts->audio, expected->audio);
  }
  // Without its end there is no index; with the index first the header still tells.
  std::filesystem::resize_file(folder.path() / "sound.mov",
                               std::filesystem::file_size(folder.path() / "sound.mov") - 100);
  EXPECT_EQ(probe(folder.path() / "sound.mov"), std::nullopt);
  EXPECT_EQ(probe(folder.write("text.mov", "no movie")), std::nullopt);
  EXPECT_EQ(probe("http:/127.0.0.1:1/01.mov"), std::nullopt);
}

} // namespace
} // namespace kestu::tests
