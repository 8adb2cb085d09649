#pragma once

#include <string>
#include <vector>

namespace kestu {

struct Rewritten {
  std::vector<std::string> arguments;
  std::string notice; ///< for standard error; empty when there is none
};

/// The arguments with retired command words as they are called now.
Rewritten rewritten(std::vector<std::string> arguments);

} // namespace kestu
