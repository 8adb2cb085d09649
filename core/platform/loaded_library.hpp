#pragma once

#include <initializer_list>
#include <stdexcept>

namespace kestu {

/// The library is not on this machine, or lacks a function; the text is the system's reason.
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

  /// The address of the function, of the type that its header declares. Throws NotLoaded.
  template <class Function>
  Function function(const char* name) const {
    return reinterpret_cast<Function>(address(name));
  }

 private:
  void* address(const char* name) const;

  void* handle_ = nullptr;
};

} // namespace kestu
