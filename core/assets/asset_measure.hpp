#pragma once

#include "core/assets/asset_file.hpp"
#include "core/assets/asset_scan.hpp"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string_view>
#include <vector>

namespace kestu {

class FileReader;

/// Opens files for their size, measurements and checksum, several at once.
class AssetMeasurer {
 public:
  explicit AssetMeasurer(const ScanOptions& options) : options_(options) {}

  enum class Outcome { fine, wrongType, changed }; ///< the last: while it was read

  /// Fills in what the bytes tell. `isWanted` is asked once the file is measured; an unwanted one is not hashed. Throws
  /// std::system_error, and Stopped.
  Outcome measure(AssetFile& file, const std::stop_token& stop, const std::function<bool(const AssetFile&)>& isWanted);

  /// Whether a video was left unmeasured for want of a probe.
  bool unmeasuredVideos() const { return unmeasured_; }

 private:
  using Buffer = std::unique_ptr<char[]>;

  bool measureImage(AssetFile& file, FileReader& reader, char* buffer, std::size_t& begun);
  bool measureVideo(AssetFile& file);
  bool hash(AssetFile& file, FileReader& reader, char* buffer, std::size_t begun, const std::stop_token& stop);
  void tell(std::size_t bytes);
  Buffer takeBuffer();
  void giveBack(Buffer buffer);

  const ScanOptions& options_;
  std::atomic<bool> unmeasured_ = false;
  std::mutex mutex_;
  std::vector<Buffer>
      buffers_; ///< one for each worker in the end; filling new ones with zeros for each file costs more
  std::mutex telling_;
  std::uint64_t hashed_ = 0;
};

} // namespace kestu
