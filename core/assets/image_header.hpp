#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace kestu {

/// What an image's first bytes tell of it.
struct ImageHeader {
  static constexpr std::size_t limit = 1'048'576; ///< nothing after this many bytes is looked at

  std::int64_t width = 0;
  std::int64_t height = 0;
  bool alpha = false; ///< a PNG of a colour type with alpha; a transparent colour is none

  /// Of a PNG or a JPEG (ITU-T T.81, annex B); none when it is neither, or ends before its size is told.
  static std::optional<ImageHeader> read(std::string_view bytes);

  bool operator==(const ImageHeader&) const = default;
};

} // namespace kestu
