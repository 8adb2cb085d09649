#pragma once

#include "core/assets/asset_kind.hpp"
#include "core/support/file_name.hpp"

#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <system_error>
#include <vector>

/// Where a repository keeps its assets. Repository paths are relative to its root, with forward slashes; they hold file
/// names as they are, so printable they are not.
namespace kestu::Assets {

using Paths = std::set<std::string, FileName::Less>;
using Renames = std::map<std::string, std::string, FileName::Less>; ///< new paths by old ones

struct Entry {
  std::string name;
  bool isFolder = false; ///< links are followed
  std::error_code error; ///< why it can't be told, as of a link to nowhere or in a circle
};

/// The kinds whose folder exists.
std::vector<AssetKind> kinds(const std::filesystem::path& root);

/// The repository path of the kind's folder, the first of its folders that holds files, or where none does the first
/// that exists; none without one.
std::optional<std::string> repositoryFolder(AssetKind kind, const std::filesystem::path& root);

/// The same folder, to be opened.
std::optional<std::filesystem::path> folder(AssetKind kind, const std::filesystem::path& root);

/// Everything in a folder that isn't hidden, in the order of a file browser. Throws std::system_error.
std::vector<Entry> entries(const std::filesystem::path& folder);

/// A folder's images and videos, in the order in which a display shows them; empty when there is no such folder. Throws
/// std::system_error when it can't be read.
std::vector<std::filesystem::path> mediaFiles(const std::filesystem::path& folder);

/// "metadata/previews/en-US can't be read (Permission denied)."
std::string unreadable(const std::string& repositoryPath, const std::error_code& reason);

/// An error's text with paths as the repository has them.
std::string textOf(const std::system_error& error, const std::filesystem::path& root);

/// The path after files or whole folders were renamed, all at once: a file's own entry counts before its folder's.
std::string movedPath(const std::string& path, const Renames& renamed);

} // namespace kestu::Assets
