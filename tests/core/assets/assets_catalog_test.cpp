#include "core/assets/asset_catalog.hpp"
#include "core/assets/image_header.hpp"
#include "core/support/error.hpp"
#include "core/support/json.hpp"
#include "core/support/text.hpp"
#include "tests/support/asset_files.hpp"
#include "tests/support/tables.hpp"

#include <gtest/gtest.h>

namespace kestu::tests {
namespace {

using namespace std::string_literals;
using Texts = std::vector<std::string>;

/// "none" for no spec that fits, else the problems one a line.
std::string checked(const AssetDisplay& display, const AssetFile& file, bool turns = true) {
  auto problems = display.problems(file, turns);
  return problems ? Text::joined(*problems, "\n") : "none";
}

AssetFile image(std::string path, std::int64_t width, std::int64_t height, bool alpha = false, std::int64_t size = 1) {
  AssetFile file;
  file.path = std::move(path);
  file.width = width;
  file.height = height;
  file.alpha = alpha;
  file.size = size;
  return file;
}

AssetFile video(std::optional<VideoFacts> facts) {
  AssetFile file;
  file.path = "01.mov";
  file.isVideo = true;
  file.facts = facts;
  return file;
}

AssetCatalog catalog() {
  return AssetCatalog::read(JSONValue::parse(R"({"future": 1, "screenshots": [
    {"group": "DUO", "name": "iPhone Duo", "device": "iphone", "platform": "ios", "max": 10, "new": 1, "images": [
      {"minWidth": 1290, "maxWidth": 1290, "minHeight": 2796, "maxHeight": 2796, "maxBytes": 2097152, "extensions": [".png"]},
      {"minWidth": 1200, "maxWidth": 1242, "minHeight": 2208, "maxHeight": 2688, "alpha": true, "universal": true, "extensions": [".JPG", ".jpeg", ".png"]}]},
    {"group": "BIG", "name": "iPhone 6.9″", "device": "iphone", "platform": "ios", "max": 3, "images": [
      {"minWidth": 2796, "maxWidth": 2796, "minHeight": 1290, "maxHeight": 1290}]},
    {"group": "TWIN_A", "name": "Twin", "device": "mac", "platform": "macos", "max": 1, "images": [
      {"minWidth": 100, "maxWidth": 100, "minHeight": 200, "maxHeight": 200}], "videos": []},
    {"group": "TWIN_B", "name": "twin", "device": "mac", "platform": "macos", "max": 1}]})"));
}

TEST(AssetDisplays, areNamedByIDOrByName) {
  const AssetDisplays displays = catalog()[AssetKind::screenshots];
  for (const auto& [folder, group] : Rows<const char*, const char*>{{"DUO", "DUO"},
                                                                    {"iPhone Duo", "DUO"},
                                                                    {" iphone \t DUO ", "DUO"},
                                                                    {"iPhone 6.9", "BIG"},
                                                                    {"iPhone 6.9\"", "BIG"},
                                                                    {"twin_b", "TWIN_B"}}) {
    const AssetDisplay* found = displays.named(folder);
    EXPECT_EQ(found ? found->group : "", group) << folder;
  }
  for (const char* folder : {"iPhone 6.9'", "Twin", "", "″"}) EXPECT_EQ(displays.named(folder), nullptr) << folder;
  EXPECT_EQ(displays.position({.group = "TWIN_A"}), 2U);
  EXPECT_EQ(displays.position({.group = "twin_a"}), 4U) << "unknown displays go last";
  EXPECT_TRUE(catalog()[AssetKind::header].displays.empty());
}

TEST(AssetDisplays, takeTheFirstThatFits) {
  const AssetDisplays displays = catalog()[AssetKind::screenshots];
  for (const auto& [width, height, group, minWidth] :
       Rows<std::int64_t, std::int64_t, const char*, std::int64_t>{{1290, 2796, "DUO", 1290},
                                                                   {2796, 1290, "DUO", 1290},
                                                                   {1242, 2688, "DUO", 1200},
                                                                   {1243, 2688, "", 0},
                                                                   {1199, 2208, "", 0},
                                                                   {100, 200, "TWIN_A", 100},
                                                                   {200, 100, "", 0}}) {
    SCOPED_TRACE(std::to_string(width) + " × " + std::to_string(height));
    auto found = displays.sized(&AssetDisplay::images, width, height);
    EXPECT_EQ(found ? found->display->group : "", group);
    EXPECT_EQ(found ? found->spec->dimensions.minWidth : 0, minWidth);
  }
  EXPECT_EQ(displays.displays[0].spec(&AssetDisplay::images, 2796, 1290, false), nullptr);
  EXPECT_EQ(displays.displays[0].sizes(MediaType::image), (Texts{"1290 × 2796", "1200–1242 × 2208–2688"}));
}

TEST(AssetDisplay, checksImages) {
  const AssetDisplays displays = catalog()[AssetKind::screenshots];
  const AssetDisplay& display = displays.displays[0];
  for (const auto& [file, problems] : Rows<AssetFile, const char*>{
           {image("IMG.PNG", 1290, 2796, false, 2097152), ""},
           {image("a.png", 1290, 2796, true),
            "has an alpha channel, which Apple takes none of at 1290 × 2796: save it without one"},
           {image("a.gif", 1242, 2688), "is a .gif, and Apple takes .JPG, .jpeg or .png here"},
           {image("a.png", 1290, 2796, false, 3145728), "is 3 MB, and Apple takes 2 MB at most"},
           {image("a.JPG", 2796, 1290, true, 2097153),
            "has an alpha channel, which Apple takes none of at 1290 × 2796: save it without one\n"
            "is a .jpg, and Apple takes .png here\nis 2 MB, and Apple takes 2 MB at most"},
           {image("a.png", 1291, 2796), "none"},
       })
    EXPECT_EQ(checked(display, file), problems) << file.path;
  EXPECT_EQ(checked(display, image("a.png", 2796, 1290), false), "none");
}

TEST(AssetDisplay, checksVideos) {
  const VideoSpec any{.dimensions = {886, 886, 1920, 1920}}, half{.dimensions = any.dimensions, .minSeconds = 15};
  const VideoSpec strict{
      .dimensions = any.dimensions, .fps = {{23.976, 25}, {30, 30}}, .minSeconds = 15, .maxSeconds = 30, .audio = true};
  for (const auto& [spec, facts, problems] : Rows<VideoSpec, VideoFacts, const char*>{
           {strict, {886, 1920, 30.04, 30.4, true}, ""},
           {strict, {886, 1920, 14.96, 23.5, true}, ""},
           {strict, {886, 1920, 30.06, 30, true}, "runs 30.1 s, and Apple takes 15–30 s"},
           {strict,
            {886, 1920, 14.94, 31, false},
            "runs 14.9 s, and Apple takes 15–30 s\nis 31 fps, and Apple takes 23.98–25 or 30 fps\n"
            "has no sound track, which Apple needs here (a silent one will do)"},
           {strict, {1920, 886, 20, 29.97, true}, ""},
           {strict, {886, 1920, 20, 27.256, true}, "is 27.26 fps, and Apple takes 23.98–25 or 30 fps"},
           {half, {886, 1920, 1, 240, false}, ""},
           {any, {887, 1920, 20, 30, true}, "none"},
       })
    EXPECT_EQ(checked({.device = "ipad", .videos = {spec}}, video(facts)), problems) << problems;
  EXPECT_EQ(checked({.videos = {any}}, video({})), "");
  EXPECT_EQ(checked({.images = {ImageSpec{}}}, video({})), "none");
  EXPECT_EQ(strict.text(), "15–30 s, 23.98–25 or 30 fps, with sound");
  EXPECT_EQ(half.text(), "");
  EXPECT_EQ(VideoSpec::number(29.995) + " " + VideoSpec::number(30.02) + " " + VideoSpec::number(59.94),
            "30 30.02 59.94");
}

TEST(AssetCatalog, readsStrictlyAndStopsAtBrokenRanges) {
  AssetCatalog read = catalog();
  EXPECT_EQ(read.kinds.size(), 1U);
  EXPECT_TRUE(read.displays("future").empty());
  const ImageSpec& spec = read.kinds["screenshots"][0].images[1];
  EXPECT_TRUE(spec.alpha && spec.universal && !spec.maxBytes);
  auto readVideo = [](const std::string& facts) {
    AssetCatalog::read(
        JSONValue::parse(R"({"previews": [{"group": "G", "name": "N", "device": "mac", "platform": "p", "max": 1,
      "videos": [{"minWidth": 1, "maxWidth": 2, "minHeight": 1, "maxHeight": 2, )" +
                         facts + "}]}]}"));
  };
  EXPECT_NO_THROW(readVideo(R"("fps": [{"min": 30, "max": 30}], "minSeconds": 15, "maxSeconds": 15, "audio": null)"));
  for (const char* broken : {R"("fps": 30)", R"("audio": "yes")", R"("maxBytes": 1.5)", R"("minWidth": "1")"})
    EXPECT_THROW(readVideo(broken), JSONError) << broken;
  for (const char* broken : {R"("maxHeight": 0)", R"("minWidth": 3)", R"("fps": [{"min": 31, "max": 30}])"}) {
    try {
      readVideo(broken);
      ADD_FAILURE() << broken;
    } catch (const CLIError& error) {
      EXPECT_EQ(error.kind, CLIError::Kind::unavailable) << broken;
    }
  }
}

TEST(ImageHeader, readsSizesFromTheFirstBytes) {
  const std::string full = png(3, 2, PNGColours::colour);
  const std::string transparent = full.substr(0, 33) + pngChunk("tRNS", "\0\0\0\0\0\0"s) + full.substr(33);
  std::string large;
  while (large.size() < 1'048'576) large += jpegSegment(0xE1, std::string(65'533, 'x'));
  const std::string head = jpeg(7, 9).substr(0, jpegStart().size() + 11); // up to the frame's first component count
  for (const auto& [name, bytes, header] : Rows<const char*, std::string, std::optional<ImageHeader>>{
           {"colour", full, ImageHeader{3, 2, false}},
           {"a transparent colour is no alpha", transparent, ImageHeader{3, 2, false}},
           {"colour with alpha", png(1290, 2, PNGColours::colourAlpha), ImageHeader{1290, 2, true}},
           {"grey with alpha", png(70000, 1, PNGColours::greyAlpha).substr(0, 26), ImageHeader{70000, 1, true}},
           {"PNG one byte short", full.substr(0, 25), std::nullopt},
           {"progressive", jpeg(1290, 2796), ImageHeader{1290, 2796, false}},
           {"baseline", jpeg(40000, 1, 0xC0), ImageHeader{40000, 1, false}},
           {"last of the row", jpeg(5, 6, 0xCF), ImageHeader{5, 6, false}},
           {"no frame: DAC", jpeg(5, 6, 0xCC), std::nullopt},
           {"no frame: JPG", jpeg(5, 6, 0xC8), std::nullopt},
           {"fill bytes", "\xFF\xD8\xFF\xFF"s + jpeg(5, 6).substr(2), ImageHeader{5, 6, false}},
           {"cut before the frame", jpegStart(), std::nullopt},
           {"shortest frame", head.substr(0, jpegStart().size() + 10), ImageHeader{7, 9, false}},
           {"one byte short", head.substr(0, jpegStart().size() + 9), std::nullopt},
           {"a segment of no length", "\xFF\xD8\xFF\xE0\0\0"s + jpeg(5, 6).substr(2), std::nullopt},
           {"beyond the limit", "\xFF\xD8" + large + jpeg(5, 6).substr(2), std::nullopt},
           {"nothing", "", std::nullopt},
       })
    EXPECT_EQ(ImageHeader::read(bytes), header) << name;
}

} // namespace
} // namespace kestu::tests
