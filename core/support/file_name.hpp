#pragma once

#include <string>
#include <string_view>

/// What two names of files have to do with each other, whichever file system they come from. A Mac's takes names that
/// differ only in how an accent is written (é as one character, or as e and an accent) for one, and mostly those that
/// differ in case too. Names that aren't UTF-8 are compared by their bytes.
namespace kestu::FileName {

/// With accents composed (NFC), as git, editors and the service write them.
std::string composed(std::string_view name);

/// Whether some Mac takes the two for one: case and the form of accents aside. Paths may be compared so too.
bool alike(std::string_view a, std::string_view b);

/// Orders names, or paths, by their composed forms: a key is found in whichever form it is written.
struct Less {
  bool operator()(std::string_view a, std::string_view b) const;
};

} // namespace kestu::FileName
