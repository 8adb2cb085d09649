#include "core/assets/frames.hpp"
#include "core/assets/pulled.hpp"
#include "core/support/error.hpp"
#include "core/support/files.hpp"
#include "tests/fuzz/targets.hpp"

namespace kestu::fuzz {

namespace {

constexpr AssetKind kind = AssetKind::previews;
const std::string video = "en-US/iPhone 6.9/01.mov", moved = "en-US/iPhone 6.9/02.mov";

void frames(const std::filesystem::path& root) {
  Frames::Reading before = Frames::read(kind, root);
  for (const auto& [path, frame] : before.frames) {
    require(Frames::isFrame(frame) && !before.malformed.contains(path), "a frame is one: " + frame);
  }
  try {
    require(!Frames::write(kind, root, {}, {}), "nothing to write changes nothing");
    require(before.problems.empty(), "what can't be understood isn't written over");
    Frames::write(kind, root, {{video, "00:00:05:00"}}, {moved});
  } catch (const CLIError& error) {
    require(!before.problems.empty() && error.kind == CLIError::Kind::failed, "a broken file is told of");
    return;
  }
  Frames::Reading after = Frames::read(kind, root);
  auto expected = before.frames;
  expected.erase(moved);
  expected[video] = "00:00:05:00";
  require(after.frames == expected && after.problems.empty(), "what is written is read, and all else stays");
  Frames::moved(kind, root, {{video, moved}});
  expected[moved] = expected.extract(video).mapped();
  require(Frames::read(kind, root).frames == expected, "a frame moves with its video");
}

void pulled(const std::filesystem::path& root) {
  Pulled::Reading before = Pulled::read(kind, root);
  require(before.notes.empty() || before.assets.empty(), "a file that can't be used gives nothing");
  for (const auto& [path, asset] : before.assets) {
    require(Pulled::assetOf(before.assets, path, asset.md5) == asset.assetId, "a file's asset is found");
    require(Pulled::assetOf(before.assets, "elsewhere", asset.md5).has_value(), "and by its bytes alone");
  }
  Pulled::write(kind, root, before.assets);
  require(Pulled::read(kind, root).assets == before.assets, "what is written is read");
}

} // namespace

/// frames.json and pulled.json as anybody may have edited them: read or told of, kept, and written so that they read
/// the same.
void assetFiles(std::string_view bytes) {
  Input input(bytes);
  bool isFrames = input.byte() % 2 == 0;
  const auto& root = freshFolder();
  const std::string folder(facts(kind).folders.front());
  write(root, folder + "/" + std::string(isFrames ? Frames::fileName : Pulled::fileName), input.rest());
  if (isFrames) {
    frames(root);
  } else {
    pulled(root);
  }
  for (char c : {'a', '0', ':'}) require(!Frames::isFrame(std::string(11, c)), "a frame has its form");
}

} // namespace kestu::fuzz
