#pragma once

#include <optional>
#include <string>
#include <vector>

/// Build and version numbers: whole numbers between dots, of any length.
namespace kestu::BuildNumber {

/// The number after the highest: 46 after 45, 1.0.8 after 1.0.7, and 1 after none. A piece that is no whole number
/// counts as 0.
std::string next(const std::vector<std::string>& numbers);

/// Both are there, and the same numbers: 1.02 is 1.2, 1.2.0 isn't.
bool sameVersion(const std::optional<std::string>& one, const std::optional<std::string>& other);

} // namespace kestu::BuildNumber
