#include "core/platform/loaded_library.hpp"

#include "core/platform/executable.hpp"

#include <system_error>

#include <dlfcn.h>

namespace kestu {

namespace {

NotLoaded notLoaded() {
  const char* reason = dlerror();
  return NotLoaded(reason ? reason : "not found");
}

} // namespace

LoadedLibrary::LoadedLibrary(std::initializer_list<const char*> names) {
  for (const char* name : names) {
    handle_ = dlopen(name, RTLD_LAZY | RTLD_LOCAL | RTLD_NODELETE);
    if (handle_) return;
  }
  throw notLoaded();
}

LoadedLibrary LoadedLibrary::part(const std::string& name, std::string_view build) {
  std::string reason;
  for (const auto& file : partFiles(name)) {
    std::error_code ignored;
    if (!std::filesystem::exists(file, ignored)) continue;
    try {
      LoadedLibrary library({file.c_str()});
      library.requireBuild(build, file);
      return library;
    } catch (const NotLoaded& error) {
      if (reason.empty()) reason = error.what();
    }
  }
  throw NotLoaded(reason.empty() ? name + " isn't there" : reason);
}

void LoadedLibrary::requireBuild(std::string_view build, const std::filesystem::path& file) const {
  using BuildFunction = const char* (*)();
  void* found = dlsym(handle_, "kestuBuild"); // none before there were such names
  std::string own = found ? reinterpret_cast<BuildFunction>(found)() : "";
  if (own == build) return;
  std::string which = own.empty() ? "an older build" : "another build, " + own + ",";
  throw NotLoaded(file.string() + " is of " + which + " than this kestu, " + std::string(build));
}

std::vector<std::filesystem::path> LoadedLibrary::partFiles(const std::filesystem::path& executableFolder,
                                                            const std::string& name) {
  std::filesystem::path lib = executableFolder.parent_path() / "lib";
  std::vector<std::filesystem::path> files;
  // Where it is installed, then where it is built: an older kestu was installed there too, and may have left it behind.
  for (const auto& folder : {lib / "kestu", lib, executableFolder}) {
#ifdef __APPLE__
    files.push_back(folder / (name + ".dylib"));
#endif
    files.push_back(folder / (name + ".so"));
  }
  return files;
}

std::vector<std::filesystem::path> LoadedLibrary::partFiles(const std::string& name) {
  auto executable = executablePath();
  return executable ? partFiles(executable->parent_path(), name) : std::vector<std::filesystem::path>();
}

void* LoadedLibrary::address(const char* name) const {
  void* found = dlsym(handle_, name);
  if (!found) throw notLoaded();
  return found;
}

} // namespace kestu
