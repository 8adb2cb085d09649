#pragma once

#include "core/release/release_preview.hpp"

#include <cstdint>
#include <filesystem>
#include <stop_token>

namespace kestu {

/// Where a preview's page is written: whole or not at all, and over nothing but another page of the kind.
class PreviewFile {
 public:
  /// A file of kestu's own is for the user's eyes alone, and its folder is made.
  PreviewFile(const std::filesystem::path& path, bool isOwn);

  const std::filesystem::path& path() const { return path_; }

  /// Tells the bytes written. Throws CLIError when something else is there or nothing can be written, and Stopped.
  std::uint64_t write(const ReleasePreview& preview, const std::stop_token& stop) const;

 private:
  std::filesystem::path path_;
  bool isOwn_;
};

} // namespace kestu
