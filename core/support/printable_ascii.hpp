#pragma once

#include <string>
#include <string_view>

namespace kestu {

/// A typed word as a message shows it: control characters as question marks.
inline std::string shown(std::string_view text) {
  std::string result(text);
  for (char& c : result) {
    if (static_cast<unsigned char>(c) < ' ' || c == 127) c = '?';
  }
  return result;
}

} // namespace kestu
