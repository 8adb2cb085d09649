#pragma once

#include "core/assets/asset_folders.hpp"
#include "core/assets/asset_kind.hpp"
#include "core/support/file_name.hpp"

#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace kestu {

/// Videos' poster frames (HH:MM:SS:FF) by the videos' paths under their kind's folder ("en-US/iPhone 6.9/01.mov").
using PosterFrames = std::map<std::string, std::string, FileName::Less>;

/// A kind's frames.json. Screenshots have none.
namespace Frames {

inline constexpr std::string_view fileName = "frames.json";

struct Reading {
  PosterFrames frames;                          ///< the well-formed ones
  std::vector<std::string> problems;            ///< of the whole file; sentences
  std::map<std::string, std::string> malformed; ///< of single entries, by the videos' paths
};

/// HH:MM:SS:FF, minutes and seconds below 60.
bool isFrame(std::string_view text);

Reading read(AssetKind kind, const std::filesystem::path& root);

/// Forgets the frames of the videos in `replacing`, then adds `frames`; everything else in the file stays. A file left
/// without frames is removed. Tells whether the file changed. Throws CLIError when the file that is there can't be
/// understood, std::system_error when it can't be written.
bool write(AssetKind kind, const std::filesystem::path& root, const PosterFrames& frames,
           const Assets::Paths& replacing);

/// Gives the frames of renamed videos, or of those in renamed folders, their new paths. A video that had a frame at the
/// new path already keeps it. With `Old::kept` the old paths have them too. Throws as `write` does.
enum class Old { kept, forgotten };
void moved(AssetKind kind, const std::filesystem::path& root, const Assets::Renames& renamed, Old old = Old::forgotten);

} // namespace Frames

} // namespace kestu
