#include "core/assets/frames.hpp"

#include "core/assets/asset_folders.hpp"
#include "core/support/error.hpp"
#include "core/support/files.hpp"
#include "core/support/json.hpp"
#include "core/support/json_data.hpp"

#include <algorithm>
#include <fmt/format.h>
#include <utility>

namespace kestu::Frames {

namespace {

constexpr std::uint64_t longest = 64'000'000;

std::string repositoryPath(AssetKind kind, const std::filesystem::path& root) {
  auto folder = Assets::repositoryFolder(kind, root);
  return (folder ? *folder : std::string(facts(kind).folders.front())) + "/" + std::string(fileName);
}

std::string wrongForm(const std::string& file) {
  return file + R"( isn't each video's path and its poster frame, as {"en-US/iPhone 6.9/01.mov": "00:00:05:00"}.)";
}

/// Every entry of the file, well-formed or not; empty without a file. Throws JSONError and std::system_error.
PosterFrames entriesOf(const std::filesystem::path& file) {
  PosterFrames entries;
  auto bytes = Files::read(file, longest);
  if (!bytes) return entries;
  for (const auto& [video, frame] : JSONValue::parse(*bytes).members()) entries[video] = frame.text();
  return entries;
}

PosterFrames entriesToChange(const std::string& file, const std::filesystem::path& root) {
  try {
    return entriesOf(root / file);
  } catch (const JSONError&) {
    throw CLIError(CLIError::Kind::failed, wrongForm(file));
  }
}

bool replace(const std::filesystem::path& file, const PosterFrames& before, const PosterFrames& after) {
  if (before == after) return false;
  if (after.empty()) return std::filesystem::remove(file);
  std::filesystem::create_directories(file.parent_path());
  JSONData document = JSONData::object();
  for (const auto& [video, frame] : after) document.set(video, frame);
  Files::writeAtomically(file, document.pretty());
  return true;
}

} // namespace

bool isFrame(std::string_view text) {
  if (text.size() != 11) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    bool fits = i % 3 == 2 ? text[i] == ':' : text[i] >= '0' && text[i] <= '9';
    if (!fits) return false;
  }
  return text[3] < '6' && text[6] < '6';
}

Reading read(AssetKind kind, const std::filesystem::path& root) {
  Reading reading;
  if (kind == AssetKind::screenshots || !Assets::repositoryFolder(kind, root)) return reading;
  std::string file = repositoryPath(kind, root);
  try {
    reading.frames = entriesOf(root / file);
  } catch (const JSONError&) {
    reading.problems.push_back(wrongForm(file));
  } catch (const std::system_error& error) {
    reading.problems.push_back(Assets::unreadable(file, error.code()));
  }
  std::erase_if(reading.frames, [&](const auto& entry) {
    if (isFrame(entry.second)) return false;
    reading.malformed[entry.first] = fmt::format(
        "{} gives {} the poster frame {}, which isn't HH:MM:SS:FF (00:00:05:00).", file, entry.first, entry.second);
    return true;
  });
  return reading;
}

bool write(AssetKind kind, const std::filesystem::path& root, const PosterFrames& frames,
           const Assets::Paths& replacing) {
  if (kind == AssetKind::screenshots) return false;
  std::string file = repositoryPath(kind, root);
  PosterFrames before = entriesToChange(file, root);
  PosterFrames after = before;
  std::erase_if(after, [&](const auto& entry) { return replacing.contains(entry.first); });
  for (const auto& [video, frame] : frames) after[video] = frame;
  return replace(root / file, before, after);
}

void moved(AssetKind kind, const std::filesystem::path& root, const Assets::Renames& renamed, Old old) {
  if (kind == AssetKind::screenshots) return;
  std::string file = repositoryPath(kind, root);
  PosterFrames before = entriesToChange(file, root);
  PosterFrames after;
  for (const auto& [video, frame] : before) {
    if (old == Old::kept || Assets::movedPath(video, renamed) == video) after[video] = frame;
  }
  for (const auto& [video, frame] : before) after.emplace(Assets::movedPath(video, renamed), frame);
  replace(root / file, before, after);
}

} // namespace kestu::Frames
