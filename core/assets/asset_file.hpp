#pragma once

#include <compare>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace kestu {

/// A video's measurements, its size as displayed, after rotation.
struct VideoFacts {
  std::int64_t width = 0;
  std::int64_t height = 0;
  double seconds = 0;
  double fps = 0;
  bool audio = false; ///< has a sound track

  bool operator==(const VideoFacts&) const = default;
};

/// One media file of the repository.
struct AssetFile {
  std::string name;
  std::int64_t size = 0;          ///< bytes
  std::optional<std::string> md5; ///< 32 lowercase hexadecimal digits, only when asked for
  std::filesystem::path path;     ///< where it is, to be opened
  std::int64_t width = 0;         ///< pixels; 0 for a video that was not measured
  std::int64_t height = 0;
  bool alpha = false;
  std::optional<VideoFacts> facts; ///< none for images and for videos that were not measured
  bool isVideo = false;
  std::optional<std::string> assetId; ///< the App Store Connect asset that this file is
  std::optional<std::string> frame;   ///< poster frame, HH:MM:SS:FF
};

enum class MediaType { image, video };

/// By the extension, whatever its case; none for any other file and for hidden ones.
std::optional<MediaType> mediaType(std::string_view fileName);

/// ".png" for "A.PNG", "" without one.
std::string dottedExtension(const std::filesystem::path& file);

} // namespace kestu
