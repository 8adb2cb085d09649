#pragma once

#include <string>

namespace kestu {

/// The computer's name, as the kestu app shows it when a sign-in is approved.
std::string machineName();

} // namespace kestu
