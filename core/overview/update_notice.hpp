#pragma once

#include "core/support/clock.hpp"

#include <filesystem>
#include <string>

/// The word on a newer version, at most once a day for a version.
namespace kestu::UpdateNotice {

/// Whether it is to be said now, which is then kept in the folder. Not where it can't be kept: it would be said each
/// time.
bool due(const std::string& version, const std::filesystem::path& folder, Moment now);

/// One line; printable.
std::string text(const std::string& version);

} // namespace kestu::UpdateNotice
