#pragma once

#include "core/builds/build_archive.hpp"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace kestu {

/// A build to send: an .ipa, or a Mac app's .pkg.
struct BuildFile {
  std::filesystem::path file; ///< absolute
  std::uint64_t size = 0;     ///< bytes
  std::string version;
  std::string number;
  std::string platform;

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
