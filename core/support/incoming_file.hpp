#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include <sys/types.h>

namespace kestu {

/// A file on its way: written under a hidden name beside its target and renamed when it is whole, so that nobody meets
/// a part of it. Goes away unless it is kept. Errors are std::system_error.
class IncomingFile {
 public:
  explicit IncomingFile(const std::filesystem::path& target);
  ~IncomingFile();
  IncomingFile(const IncomingFile&) = delete;
  IncomingFile& operator=(const IncomingFile&) = delete;

  void write(std::string_view bytes);
  std::uint64_t size() const { return size_; }

  /// Flushed to the disk and renamed over the target; without permissions of its own with those that the umask leaves.
  void replaceTarget(std::optional<mode_t> mode = std::nullopt);

  /// The same where nothing may be in the way: false, and the target left as it is, when something is.
  bool becomeTarget();

  /// Removes what programs that were killed left in a folder; files that are still being written stay.
  static void removeAbandoned(const std::filesystem::path& folder);

 private:
  void flush();

  std::filesystem::path target_;
  std::string path_;
  int descriptor_ = -1;
  std::uint64_t size_ = 0;
};

} // namespace kestu
