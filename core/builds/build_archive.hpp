#pragma once

#include <cstddef>
#include <filesystem>
#include <stop_token>
#include <string>
#include <vector>

namespace kestu {

/// An .ipa, which is a zip archive, read through the system's unzip and never unpacked to disk.
class BuildArchive {
 public:
  /// The programs to try, in order: paths, or names that PATH knows.
  static const std::vector<std::string> unzipPrograms;
  static constexpr std::size_t largestInfoPlist = std::size_t{1} << 20U; ///< bytes

  /// `file` is absolute.
  BuildArchive(std::filesystem::path file, std::vector<std::string> programs, std::stop_token stop);

  /// What came of looking for the app's Info.plist: its bytes, or why there are none, in a whole sentence.
  struct InfoPlistBytes {
    std::string bytes;
    std::string problem;
    bool noBuild = false; ///< Apple wouldn't take it either
  };
  InfoPlistBytes infoPlist() const;

 private:
  std::filesystem::path file_;
  std::vector<std::string> programs_;
  std::stop_token stop_;
};

/// The member that is the Info.plist of the app itself, not of what is nested in it; empty when there is none. `names`
/// has one name a line.
std::string infoPlistMember(const std::string& names);

/// A member's name as a pattern that matches nothing but it.
std::string unzipPattern(const std::string& member);

} // namespace kestu
