#pragma once

#include "core/assets/asset_file.hpp"

#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>

namespace kestu {

/// Measures a video; none for a file that isn't one. Called from several threads at once.
using VideoProbeFunction = std::function<std::optional<VideoFacts>(const std::filesystem::path&)>;

/// A probe throws it when it can measure nothing at all.
class NoVideoModule : public std::runtime_error {
 public:
  NoVideoModule() : std::runtime_error("no video module") {}
};

/// The video module, libkestu-media: loaded at the first use, since it takes longer to load than most commands to run.
class VideoProbe {
 public:
  /// Loads the module; false when there is none, or one of another version.
  static bool available();

  /// Loads nothing before its first call.
  static VideoProbeFunction system();

  /// The probe of the module in one file; none when it can't be loaded or is of another version.
  static VideoProbeFunction load(const std::filesystem::path& module);
};

} // namespace kestu
