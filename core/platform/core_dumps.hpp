#pragma once

namespace kestu {

/// A crash of this process, and of those that it starts, leaves no copy of its memory behind, nor can another program
/// of the user's look into it: the sign-in's token is there.
void leaveNoCoreDump();

} // namespace kestu
