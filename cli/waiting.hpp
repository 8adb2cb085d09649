#pragma once

#include "cli/options.hpp"

#include <string>

namespace kestu {

/// That the change waits for the approval.
void tellWaiting(Context& context, const Output& output, const Plan& plan);

/// Keeps in mind a change that waits, by its identity, for the next time that it is asked for.
void rememberWaiting(Context& context, const std::string& identity, const Plan& plan);

/// A line that says so where the same change, sent from here before, waits already: it would wait twice. Else empty.
std::string waitsAlready(Context& context, const std::string& identity, const std::string& what = "A change like this");

} // namespace kestu
