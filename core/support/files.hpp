#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestu {

/// A regular file opened for reading; a folder or a device is refused. Errors are std::system_error.
class FileReader {
 public:
  explicit FileReader(const std::filesystem::path& file);
  ~FileReader();
  FileReader(const FileReader&) = delete;
  FileReader& operator=(const FileReader&) = delete;

  /// Bytes when it was opened.
  std::uint64_t size() const { return size_; }

  /// The next bytes, at most `capacity`; 0 at the end.
  std::size_t read(char* buffer, std::size_t capacity);

  /// Up to `capacity` bytes from `offset` on, fewer only at the file's end; does not move the position of `read`.
  std::size_t readAt(std::uint64_t offset, char* buffer, std::size_t capacity) const;

 private:
  int descriptor_;
  std::uint64_t size_ = 0;
};

namespace Files {

/// The file's bytes, at most `limit` of them; none when there is no such file. Other errors are std::system_error.
std::optional<std::string> read(const std::filesystem::path& file, std::uint64_t limit);

/// Writes beside the target, then renames over it, so that a reader sees the old file or the new one, never a part.
/// Keeps the permissions of the file that it replaces, gives a new one those of the umask, and writes through a
/// symbolic link. Errors are std::system_error.
void writeAtomically(const std::filesystem::path& file, std::string_view bytes);

/// Renames a file, a link or a folder where nothing may be in the way: false, and nothing done, when something is. A
/// kill in between leaves a file under both names. Errors are std::system_error.
bool moveWithoutReplacing(const std::filesystem::path& from, const std::filesystem::path& to);

/// Joins a path from outside to a folder; none when it is empty, absolute, or leaves the folder by name.
std::optional<std::filesystem::path> inside(const std::filesystem::path& folder, std::string_view relative);

/// A folder's entry names, unsorted. Errors are std::system_error.
std::vector<std::string> entries(const std::filesystem::path& folder);

} // namespace Files

} // namespace kestu
