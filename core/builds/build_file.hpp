#pragma once

#include "core/builds/build_archive.hpp"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace kestu {

/// What tells a file from another at the same path, or from itself before it was written again.
struct FileStamp {
  std::uint64_t device = 0, inode = 0, size = 0; ///< the size in bytes
  std::int64_t written = 0, changed = 0;         ///< nanoseconds of the system's clock

  bool operator==(const FileStamp&) const = default;

  /// None for what can't be looked at.
  static std::optional<FileStamp> of(const std::filesystem::path& file);
};

/// A build to send: an .ipa, or a Mac app's .pkg.
struct BuildFile {
  std::filesystem::path file; ///< absolute
  std::uint64_t size = 0;     ///< bytes
  FileStamp stamp{};          ///< of the file before any of it was read
  std::string version;
  std::string number;
  std::string platform;
  std::string problem{}; ///< why the file itself says nothing, though the user did; a whole sentence, or empty

  /// What the user says of a file; wins over what the file says.
  struct Given {
    std::optional<std::string> version{}, number{}, platform{};
  };

  /// The file at `path`, seen from `folder`. What can't be sent, and what can't be known of it, is a CLIError.
  static BuildFile read(const std::filesystem::path& folder, const std::string& path, const Given& given,
                        const std::stop_token& stop,
                        const std::vector<std::string>& unzipPrograms = BuildArchive::unzipPrograms);

  std::string name() const; ///< of the file; printable
  std::string text() const; ///< "1.2 (45)"; printable
};

} // namespace kestu
