#include "core/platform/loaded_library.hpp"

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

void* LoadedLibrary::address(const char* name) const {
  void* found = dlsym(handle_, name);
  if (!found) throw notLoaded();
  return found;
}

} // namespace kestu
