#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace kestu {

/// How this program came onto the machine, told by where its file lies.
struct Installation {
  enum class Kind {
    homebrew, ///< in Homebrew's Cellar
    debian,   ///< one of the files of the Debian package
    build,    ///< in the folder that it was built in
    folder,   ///< unpacked from an archive, or put there by the sources' own script
  };

  Kind kind = Kind::folder;
  std::filesystem::path place{}; ///< of a build its sources, of a folder what the program's `bin` is in

  /// `packages` is where the system keeps the lists of its packages' files.
  static Installation of(const std::filesystem::path& program,
                         const std::filesystem::path& packages = "/var/lib/dpkg/info");

  std::string described() const; ///< "with Homebrew"; printable

  /// The commands that update it, each to be run as it stands, in a shell; none for a folder.
  std::vector<std::string> commands() const;

  /// The one to run in this program's place, without rights that the user doesn't have: words, the program first.
  std::optional<std::vector<std::string>> runnable() const;

  /// What to do, in sentences; printable.
  std::string advice() const;
};

} // namespace kestu
