#pragma once

#include <filesystem>

namespace kestu {

/// Keeps other programs of this kind out of a folder for as long as it lives; a kill frees it too.
class FolderLock {
 public:
  explicit FolderLock(const std::filesystem::path& folder);
  ~FolderLock();
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;

  /// Another program holds it. A folder that can't be locked is nobody's.
  bool isTaken() const { return taken_; }

 private:
  int descriptor_;
  bool taken_ = false;
};

} // namespace kestu
