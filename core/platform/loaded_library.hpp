#pragma once

#include <filesystem>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace kestu {

/// The library is not on this machine, lacks a function or is of another build; the text is the system's reason.
class NotLoaded : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A shared library loaded when it is first needed, so that a start doesn't pay for it; never unloaded, since not every
/// library can be.
class LoadedLibrary {
 public:
  /// The first of the names that the system finds. Throws NotLoaded.
  explicit LoadedLibrary(std::initializer_list<const char*> names);

  /// A part of the program, as "libkestu-program": the first of `partFiles` that can be loaded and whose function
  /// `kestuBuild` names the build. Throws NotLoaded, with the reason of the first that is there.
  static LoadedLibrary part(const std::string& name, std::string_view build);

  /// Where the part may be for a program in the folder, first come first served.
  static std::vector<std::filesystem::path> partFiles(const std::filesystem::path& executableFolder,
                                                      const std::string& name);

  /// Those of this program; none when the system doesn't say where it is.
  static std::vector<std::filesystem::path> partFiles(const std::string& name);

  /// The address of the function, of the type that its header declares. Throws NotLoaded.
  template <class Function>
  Function function(const char* name) const {
    return reinterpret_cast<Function>(address(name));
  }

 private:
  void* address(const char* name) const;
  void requireBuild(std::string_view build, const std::filesystem::path& file) const;

  void* handle_ = nullptr;
};

} // namespace kestu
