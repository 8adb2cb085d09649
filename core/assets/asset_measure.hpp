#pragma once

#include "core/assets/asset_file.hpp"
#include "core/assets/asset_scan.hpp"
#include "core/support/md5_several.hpp"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string_view>
#include <system_error>

namespace kestu {

/// What brings the video module where it is missing.
inline constexpr std::string_view videoModuleRemedy =
    "Install the package kestu-media, or kestu built with FFmpeg's libraries.";

/// Opens files for their size, measurements and checksum, from several threads.
class AssetMeasurer {
 public:
  explicit AssetMeasurer(const ScanOptions& options) : options_(options) {}

  /// A measured file, open to be read on.
  struct Opened;

  /// Fills in what the first bytes tell; null for a file of the wrong type. Throws std::system_error.
  std::shared_ptr<Opened> measure(AssetFile& file);

  /// What comes of a file that is hashed: its checksum is filled in before `done`.
  struct Ends {
    std::function<void()> done;
    std::function<void()> changed; ///< while it was read
    std::function<void(const std::system_error&)> failed;
  };
  MD5Message toHash(std::shared_ptr<Opened> opened, AssetFile& file, Ends ends);

  enum class Outcome { fine, wrongType, changed }; ///< the last: while it was read

  /// Measures and hashes one file. Throws std::system_error, and Stopped.
  Outcome measureAndHash(AssetFile& file, const std::stop_token& stop);

  /// Whether a video was left unmeasured for want of a probe.
  bool unmeasuredVideos() const { return unmeasured_; }

 private:
  bool measureImage(AssetFile& file, Opened& opened);
  bool measureVideo(AssetFile& file);
  void tell(std::uint64_t bytes);

  const ScanOptions& options_;
  std::atomic<bool> unmeasured_ = false;
  std::mutex telling_;
  std::uint64_t hashed_ = 0;
};

} // namespace kestu
