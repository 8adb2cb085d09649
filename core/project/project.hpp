#pragma once

#include "core/project/project_link.hpp"

#include <array>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <string_view>

/// The app's repository.
namespace kestu::Project {

inline constexpr std::string_view fileName = "kestu.json";

/// Folders never searched for Xcode projects.
inline constexpr std::array<std::string_view, 9> skipped = {
    "Pods", "Carthage", "build", "DerivedData", "node_modules", ".build", ".git", "fastlane", "metadata"};

/// The nearest folder, from `folder` upwards, with an entry named ".git"; `folder` itself when there is none.
std::filesystem::path root(const std::filesystem::path& folder);

/// The link file at the root of `folder`'s repository; none when there is none. A CLIError when it cannot be read.
std::optional<ProjectLink> link(const std::filesystem::path& folder);

/// Writes the link file, keeping keys of it that this program does not know. A CLIError when it cannot be written.
void write(const std::filesystem::path& root, const ProjectLink& link);

/// The bundle IDs that the repository's Xcode projects set, from project files in `.xcodeproj` folders at most three
/// levels below the root. What cannot be read is passed over.
std::set<std::string> bundleIDs(const std::filesystem::path& root);

/// The bundle IDs that one project file's text sets; references to build settings are left out.
std::set<std::string> bundleIDsIn(std::string_view projectFile);

} // namespace kestu::Project
