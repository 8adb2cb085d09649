#pragma once

#include <string_view>

namespace kestu {

/// This program, as it names itself to the service.
struct CLI {
  static constexpr std::string_view version = "1.1.2";
  static constexpr std::string_view client = "kestu-cli 1.1.2";
};

} // namespace kestu
