#pragma once

#include "cli/options.hpp"

#include <string>

namespace kestu {

/// The answer of a change where all is so already and nothing is sent; a dry run gives an empty list of `changes` too.
void tellUnchanged(Context& context, const ChangeOptions& options, const std::string& line);

} // namespace kestu
