#pragma once

#include <string_view>

namespace kestu {

/// Whether a property list, in XML or binary form, nests no deeper and spreads no wider than real ones do. libplist
/// would run out of stack or memory on what was made to do so. Says nothing of what else may be wrong with it.
bool hasPlainShape(std::string_view plist);

} // namespace kestu
