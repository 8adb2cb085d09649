#include "core/assets/asset_scan.hpp"
#include "core/assets/frames.hpp"
#include "core/assets/pulled.hpp"
#include "core/support/error.hpp"
#include "core/support/files.hpp"
#include "core/support/md5.hpp"
#include "tests/support/asset_files.hpp"
#include "tests/support/temporary_folder.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

namespace kestu {
namespace {

using tests::png;
using tests::TemporaryFolder;
using Texts = std::vector<std::string>;

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

Texts sorted(Texts texts) {
  std::sort(texts.begin(), texts.end());
  return texts;
}

TEST(AssetScan, findsSetsInOrder) {
  TemporaryFolder repo;
  for (const char* file : {"en-US/iPhone 6.9/10.png", "en-US/iPhone 6.9/2.PNG", "en-US/p55/.hidden.png", "fr/z.png"}) {
    repo.write(std::string("metadata/screenshots/") + file, png(6, 9));
  }
  repo.write("metadata/screenshots/en-US/iPhone 6.9/.DS_Store", "");
  repo.write("metadata/screenshots/en-US/iPhone 6.9/notes.txt", "");
  repo.write("metadata/screenshots/en-US/IPHONE  5.5″/a.jpg", tests::jpeg(8, 5));
  repo.write("metadata/screenshots/en-US/Mac/a.png", png(1, 1));
  repo.write("metadata/screenshots/fr/b.png", png(5, 8));
  repo.write("metadata/screenshots/fr/mac.png", png(16, 10));
  repo.write("metadata/screenshots/de-DE/P69/1.png", png(6, 9));
  repo.write("metadata/screenshots/pulled.json", "{}");
  repo.write("fastlane/screenshots/it/1.png", png(6, 9));
  AssetScan found = scan(repo, AssetKind::screenshots);
  EXPECT_EQ(found.problems, Texts());
  EXPECT_EQ(found.notes, Texts()) << "en-US/p55 is a display, if an empty one";
  EXPECT_EQ(shown(found), (Texts{"de-DE P69 metadata/screenshots/de-DE/P69: 1.png",
                                 "en-US P69 metadata/screenshots/en-US/iPhone 6.9: 2.PNG 10.png",
                                 "en-US P55 metadata/screenshots/en-US/IPHONE  5.5″: a.jpg",
                                 "fr P69 metadata/screenshots/fr: z.png", "fr P55 metadata/screenshots/fr: b.png"}));
  ScanOptions some{.platform = "ios", .locales = {"FR", "de-de"}, .groups = {"P55"}};
  EXPECT_EQ(shown(scan(repo, AssetKind::screenshots, some)), Texts{"fr P55 metadata/screenshots/fr: b.png"});
  ScanOptions mac{.platform = "macos", .locales = {"fr"}};
  EXPECT_EQ(shown(scan(repo, AssetKind::screenshots, mac)), Texts{"fr MAC metadata/screenshots/fr: mac.png"});
  EXPECT_EQ(Assets::kinds(repo.path()), std::vector{AssetKind::screenshots});
  EXPECT_TRUE(scan(repo, AssetKind::previews).sets.empty());
  std::unordered_set<AssetKey> keys;
  for (const AssetSet& set : found.sets) keys.insert(set.key());
  EXPECT_TRUE(keys.size() == 5 && keys.contains({"fr", AssetKind::screenshots, "P55"}));
}

TEST(AssetScan, tellsWhatIsWrongWithAFile) {
  struct Row {
    AssetKind kind;
    const char* file;
    std::string bytes;
    const char* problem;
  };
  const auto shots = AssetKind::screenshots;
  const auto previews = AssetKind::previews;
  const Row rows[] = {
      {shots, "metadata/screenshots/en-US/iPhone 6.9/a.mov", "6 9", " is a video, and screenshots are images."},
      {shots, "metadata/screenshots/en-US/a.mov", "6 9", " is a video, and screenshots are images."},
      {previews, "metadata/previews/en-US/V69/a.png", png(6, 9), " is an image, and app previews are videos."},
      {AssetKind::header, "metadata/header/en-US/a.mp4", "6 9", " is a video, and header assets are images."},
      {shots, "fastlane/screenshots/en-US/P69/a.png", png(100, 200),
       " is 100 × 200, not a size of iPhone 6.9″ (6 × 9)."},
      {shots, "metadata/screenshots/en-US/a.png", png(9, 7), " is 9 × 7, which no display takes (6 × 9 or 5 × 8)."},
      {previews, "metadata/previews/en-US/V69/a.m4v", "5 8", " is 5 × 8, not a size of iPhone 6.9″ (6 × 9)."},
      {previews, "metadata/previews/en-US/V69/a.mov", "no", " isn't a video kestu can read."},
      {shots, "metadata/screenshots/en-US/P69/a.png", "<html>", " isn't a PNG or a JPEG."},
      {shots, "metadata/screenshots/en-US/P69/é.png", png(6, 9, tests::PNGColours::greyAlpha),
       " has an alpha channel, which Apple takes none of at 6 × 9: save it without one"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.file);
    TemporaryFolder repo;
    repo.write(row.file, row.bytes);
    EXPECT_EQ(scan(repo, row.kind).problems, Texts{row.file + std::string(row.problem)});
  }
}

TEST(AssetScan, goesOnPastProblemsWithFolders) {
  TemporaryFolder repo;
  const std::string at = "metadata/screenshots/";
  for (const char* file : {"de/P69/1.png", "de/P69/2.png", "de/P69/3.png", "en/P69/1.png", "en/iPhone 6.9/2.png", //
                           "en/iPhone 6.9/3.png", "en/4.png", "fr/Foo/1.png", "it/1.png", "it/2.png", "it/3.png"}) {
    repo.write(at + file, png(6, 9));
  }
  std::filesystem::create_symlink("nowhere", repo.path() / at / "fr/iPhone 5.5");
  std::filesystem::create_symlink("loop.png", repo.path() / at / "it/loop.png");
  std::filesystem::create_directory_symlink("de", repo.path() / at / "sv");
  std::filesystem::create_directories(repo.path() / at / "sv/P55/a.png/P69");
  AssetScan found = scan(repo, AssetKind::screenshots);
  EXPECT_EQ(sorted(found.problems),
            (Texts{at + "de/P69 has 3 screenshots; Apple takes 2 at most.",
                   at + "en/iPhone 6.9 and metadata/screenshots/en are both iPhone 6.9″; keep one.",
                   at + "en/iPhone 6.9 and metadata/screenshots/en/P69 are both iPhone 6.9″; keep one.",
                   at + "fr/Foo: No display is called Foo: kestu assets sizes lists them.",
                   at + "fr/iPhone 5.5 can't be read (No such file or directory).",
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
        i == 9 ? "\xFF\xD8" + tests::jpegSegment(0xE1, std::string(65'533, 'x')) + tests::jpeg(6, 9).substr(2)
               : png(6, 9);
    repo.write("metadata/screenshots/en/P69/" + std::to_string(i) + ".png", file + tail);
    bytes += file.size() + tail.size();
  }
  std::uint64_t last = 0;
  ScanOptions options{.hashing = true,
                      .progress = [&](std::uint64_t now) { EXPECT_LT(std::exchange(last, now), now); }};
  AssetScan hashed = scan(repo, AssetKind::screenshots, options);
  ASSERT_EQ(hashed.sets.size(), 1U);
  ASSERT_EQ(hashed.sets[0].files.size(), 40U);
  EXPECT_EQ(last, bytes);
  for (int i = 0; i < 40; ++i) {
    const AssetFile& file = hashed.sets[0].files[static_cast<std::size_t>(i)];
    EXPECT_EQ(file.name, std::to_string(i) + ".png");
    EXPECT_EQ(file.md5, MD5::hex(file.path));
    EXPECT_EQ(static_cast<std::uintmax_t>(file.size), std::filesystem::file_size(file.path));
  }
  AssetScan plain = scan(repo, AssetKind::screenshots);
  ASSERT_EQ(plain.sets[0].files.size(), 40U);
  EXPECT_EQ(plain.sets[0].files[9].height, 9) << "found past the first 64 KiB";
  EXPECT_EQ(plain.sets[0].files[9].md5, std::nullopt);
  std::stop_source stop;
  options.stop = stop.get_token();
  options.progress = [&](std::uint64_t) { stop.request_stop(); };
  EXPECT_THROW(scan(repo, AssetKind::screenshots, options), Stopped);
}

TEST(AssetScan, knowsPulledFilesByTheirBytes) {
  TemporaryFolder repo;
  const std::string at = "metadata/screenshots/";
  auto first = repo.write(at + "en/P69/1.png", png(6, 9));
  repo.write(at + "en/2.png", png(5, 8));
  Pulled::write(AssetKind::screenshots, repo.path(),
                {{"en/P69/1.png", {"A1", MD5::hex(first)}}, {"en/2.png", {"A2", "0"}}});
  EXPECT_EQ(Files::read(repo.path() / at / "pulled.json", 1000)->substr(0, 37),
            "{\n  \"en/2.png\": {\n    \"assetId\": \"A2\"");
  for (bool hashing : {true, false}) {
    AssetScan found = scan(repo, AssetKind::screenshots, {.hashing = hashing});
    EXPECT_EQ(found.sets.at(0).files.at(0).assetId, "A1");
    EXPECT_EQ(found.sets.at(1).files.at(0).assetId, hashing ? std::nullopt : std::optional<std::string>("A2"));
  }
  repo.write(at + "pulled.json", R"({"en/P69/1.png": "A1"})");
  AssetScan found = scan(repo, AssetKind::screenshots);
  EXPECT_EQ(found.problems, Texts());
  EXPECT_EQ(found.notes, Texts{at + "pulled.json isn't what kestu assets pull writes, so it wasn't used."});
  EXPECT_EQ(found.sets.at(0).files.at(0).assetId, std::nullopt);
}

TEST(Frames, areHoursMinutesSecondsAndFrames) {
  for (const char* good : {"00:00:05:00", "99:59:59:99"}) EXPECT_TRUE(Frames::isFrame(good)) << good;
  for (const char* bad : {"0:00:05:00", "00:60:00:00", "00:00:60:00", "00:00:05", "00:00:05:000", "00:00:05:0a", "",
                          "00;00:05:00", "00:00:05:00 ", "00:00:5:000", "+1:00:05:00"}) {
    EXPECT_FALSE(Frames::isFrame(bad)) << bad;
  }
}

TEST(Frames, areCheckedAgainstTheFiles) {
  TemporaryFolder repo;
  const std::string at = "metadata/previews/";
  for (const char* file : {"en/V69/1.mov", "en/V69/2.mov", "en/V55/3.mov", "fr/V69/1.mov"}) {
    repo.write(at + file, std::string(file) == "en/V55/3.mov" ? "5 8" : "6 9");
  }
  repo.write(at + "en/poster.png", png(6, 9));
  repo.write(at + "frames.json", R"({"en/V69/1.mov": "00:00:05:00", "en/V69/2.mov": "00:00:06:00", "en/V55/3.mov": "5",
    "en/poster.png": "00:00:01:00", "en/V69/9.mov": "00:00:01:00", "fr/V69/1.mov": "00:00:07:00", "it/1.mov": "00:00:01:00"})");
  ScanOptions options{.hashing = true, .probe = measured};
  AssetScan found = scan(repo, AssetKind::previews, options);
  EXPECT_EQ(found.problems,
            (Texts{at + "en/poster.png is an image, and app previews are videos.",
                   at + "frames.json gives en/V55/3.mov the poster frame 5, which isn't HH:MM:SS:FF (00:00:05:00).",
                   at + "frames.json gives en/V69/9.mov a poster frame, and there's no such video.",
                   at + "frames.json gives en/poster.png a poster frame, and it's an image.",
                   at + "frames.json gives it/1.mov a poster frame, and there's no such video.",
                   at + "en/V69/1.mov and " + at +
                       "en/V69/2.mov are the same video with different poster frames in en; a video has one."}));
  EXPECT_EQ(found.sets.at(0).files.at(1).frame, "00:00:06:00");
  EXPECT_EQ(found.sets.at(1).files.at(0).frame, std::nullopt);
  options.locales = {"FR"};
  found = scan(repo, AssetKind::previews, options);
  EXPECT_EQ(found.problems.size(), 1U) << "other languages' frames were not looked for";
  EXPECT_EQ(found.sets.at(0).files.at(0).frame, "00:00:07:00");
}

TEST(Frames, areRewrittenEntryByEntry) {
  TemporaryFolder repo;
  const auto kind = AssetKind::previews;
  const auto& root = repo.path();
  Frames::write(kind, root, {{"en/A/1.mov", "00:00:01:00"}, {"en/A/2.mov", "00:00:02:00"}, {"en/AB/1.mov", "bad"}}, {});
  Frames::write(kind, root, {{"en/A/3.mov", "00:00:03:00"}}, {"en/A/2.mov", "en/A/3.mov"});
  auto file = [&] { return Files::read(root / "metadata/previews/frames.json", 1000).value_or("gone"); };
  EXPECT_EQ(
      file(),
      "{\n  \"en/A/1.mov\": \"00:00:01:00\",\n  \"en/A/3.mov\": \"00:00:03:00\",\n  \"en/AB/1.mov\": \"bad\"\n}\n");
  Frames::moved(kind, root, {{"en/A", "en/B"}, {"en/A/3.mov", "en/A/1.mov"}});
  EXPECT_EQ(Frames::read(kind, root).frames,
            (PosterFrames{{"en/A/1.mov", "00:00:03:00"}, {"en/B/1.mov", "00:00:01:00"}}));
  Frames::write(kind, root, {{"en/C/1.mov", "00:00:09:00"}}, {});
  Frames::moved(kind, root, {{"en/C", "en/B"}});
  EXPECT_EQ(Frames::read(kind, root).frames.at("en/B/1.mov"), "00:00:01:00") << "what is there already stays";
  Frames::write(kind, root, {}, {"en/A/1.mov", "en/AB/1.mov", "en/B/1.mov"});
  EXPECT_EQ(file(), "gone");
  for (const char* wrong : {"[]", R"({"en/1.mov": 5})", "", "{"}) {
    repo.write("metadata/previews/frames.json", wrong);
    EXPECT_EQ(
        Frames::read(kind, root).problems,
        Texts{
            R"(metadata/previews/frames.json isn't each video's path and its poster frame, as {"en-US/iPhone 6.9/01.mov": "00:00:05:00"}.)"});
    EXPECT_THROW(Frames::write(kind, root, {{"a", "b"}}, {}), CLIError) << wrong;
    EXPECT_EQ(file(), wrong);
  }
}

TEST(VideoProbe, leavesVideosUnmeasuredWithoutAModule) {
  TemporaryFolder repo;
  repo.write("metadata/previews/en/V69/1.mov", "6 9");
  repo.write("metadata/previews/en/2.mov", "6 9");
  const std::string problem =
      "metadata/previews/en/2.mov can't go by its size, which wasn't measured: move it to its display's folder.";
  auto missing = [](const auto&) -> std::optional<VideoFacts> { throw NoVideoModule(); };
  for (const VideoProbeFunction& probe : {VideoProbeFunction(), VideoProbeFunction(missing)}) {
    AssetScan found = scan(repo, AssetKind::previews, {.probe = probe});
    EXPECT_EQ(found.notes, Texts{"Videos weren't measured: this kestu has no video module."});
    EXPECT_EQ(found.problems, Texts{problem});
    EXPECT_EQ(shown(found), Texts{"en V69 metadata/previews/en/V69: 1.mov"});
  }
  EXPECT_EQ(VideoProbe::load(repo.write("libkestu-media.so", "not a module")), nullptr);
  EXPECT_EQ(VideoProbe::candidates("/opt/kestu/bin").front().parent_path(), "/opt/kestu/lib");
}

TEST(VideoProbe, measuresMovies) {
  if (std::system("ffmpeg -version > /dev/null 2>&1") != 0 || !VideoProbe::available())
    GTEST_SKIP() << "no ffmpeg, or no module";
  TemporaryFolder folder;
  struct Row {
    const char* name;
    const char* arguments;
    std::optional<VideoFacts> facts;
  };
  const Row rows[] = {
      {"sound.mov",
       "-f lavfi -i testsrc=s=64x32:r=30000/1001:d=1.001 -f lavfi -i sine=d=1.001 -c:v mpeg4 -c:a aac -shortest",
       VideoFacts{64, 32, 1.001, 29.97, true}},
      {"portrait.mov", "-i sound.mov -c copy -an -metadata:s:v rotate=90", VideoFacts{32, 64, 1.001, 29.97, false}},
      {"wide.mp4", "-f lavfi -i testsrc=s=64x32:r=25:d=2 -vf setsar=2 -c:v mpeg4", VideoFacts{128, 32, 2, 25, false}},
      {"pieces.mp4", "-i wide.mp4 -c copy -movflags frag_keyframe+empty_moov", VideoFacts{128, 32, 2, 25, false}},
      {"clip.m4v", "-i wide.mp4 -c copy -f mp4", VideoFacts{128, 32, 2, 25, false}},
      {"fast.mov", "-f lavfi -i testsrc=s=64x32:r=60000/1001:d=1.001 -c:v mpeg4",
       VideoFacts{64, 32, 1.001, 59.94, false}},
      // 20 frames at 30 a second, then every third of them: 33 in all.
      {"uneven.mov",
       "-f lavfi -i testsrc=s=64x32:r=30:d=2 -vf \"select='lt(n,20)+not(mod(n,3))'\" -vsync vfr -c:v mpeg4",
       VideoFacts{64, 32, 1.934, 33 / 1.9333, false}},
      // The edit list leaves out what comes before the key frame that it was cut at.
      {"cut.mov", "-ss 1 -i wide.mp4 -c copy", VideoFacts{128, 32, 1, 25, false}},
      {"sound only.m4v", "-f lavfi -i sine=d=1 -c:a aac -f mp4", {}},
      {"other.avi", "-i wide.mp4 -c copy", {}},
  };
  const VideoProbeFunction probe = VideoProbe::system();
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    std::string made = "cd '" + folder.path().string() + "' && ffmpeg -v error -y " + row.arguments + " '" + row.name +
                       "' < /dev/null";
    ASSERT_EQ(std::system(made.c_str()), 0);
    auto facts = probe(folder.path() / row.name);
    ASSERT_EQ(facts.has_value(), row.facts.has_value());
    if (!facts) continue;
    EXPECT_EQ(std::pair(facts->width, facts->height), std::pair(row.facts->width, row.facts->height));
    EXPECT_NEAR(facts->seconds, row.facts->seconds, 0.04);
    EXPECT_NEAR(facts->fps, row.facts->fps, 0.01);
    EXPECT_EQ(facts->audio, row.facts->audio);
  }
  // Without its end there is no index; with the index first the header still tells.
  std::filesystem::resize_file(folder.path() / "sound.mov",
                               std::filesystem::file_size(folder.path() / "sound.mov") - 100);
  EXPECT_EQ(probe(folder.path() / "sound.mov"), std::nullopt);
  EXPECT_EQ(probe(folder.write("text.mov", "no movie")), std::nullopt);
  EXPECT_EQ(probe("http:/127.0.0.1:1/01.mov"), std::nullopt);
}

} // namespace
} // namespace kestu
