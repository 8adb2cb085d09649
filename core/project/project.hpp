#pragma once

#include "core/project/project_link.hpp"

#include <array>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

/// The app's repository.
namespace kestu::Project {

inline constexpr std::string_view fileName = "kestu.json";

/// Folders never searched for Xcode projects.
inline constexpr std::array<std::string_view, 9> skipped = {
    "Pods", "Carthage", "build", "DerivedData", "node_modules", ".build", ".git", "fastlane", "metadata"};

/// The nearest folder, from `folder` upwards, with an entry named ".git", or `folder` itself when there is none.
std::filesystem::path repository(const std::filesystem::path& folder);

/// The nearest folder with a link file, from `folder` up to the repository, or the repository itself: an app in a
/// folder of its own is a project of its own.
std::filesystem::path root(const std::filesystem::path& folder);

/// The link file at the root of `folder`; none when there is none. A CLIError when it cannot be read.
std::optional<ProjectLink> link(const std::filesystem::path& folder);

/// Writes the link file, keeping keys of it that this program does not know. A CLIError when it cannot be written.
void write(const std::filesystem::path& root, const ProjectLink& link);

} // namespace kestu::Project
