#include "core/assets/asset_folders.hpp"

#include "core/assets/asset_file.hpp"
#include "core/support/text.hpp"

#include <algorithm>

namespace kestu::Assets {

namespace {

/// Whether there is any file in the folder or below it that isn't hidden; what can't be read may hold some.
bool holdsFiles(const std::filesystem::path& folder) {
  std::error_code error;
  for (std::filesystem::recursive_directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    std::error_code ignored;
    bool isHidden = entry->path().filename().string().starts_with('.');
    if (!isHidden && (entry->is_symlink(ignored) || !entry->is_directory(ignored))) return true;
    if (isHidden) entry.disable_recursion_pending();
  }
  return static_cast<bool>(error);
}

} // namespace

std::vector<AssetKind> kinds(const std::filesystem::path& root) {
  std::vector<AssetKind> found;
  for (AssetKind kind : allAssetKinds) {
    if (repositoryFolder(kind, root)) found.push_back(kind);
  }
  return found;
}

std::optional<std::string> repositoryFolder(AssetKind kind, const std::filesystem::path& root) {
  std::optional<std::string> first;
  for (std::string_view candidate : facts(kind).folders) {
    std::error_code ignored;
    if (!std::filesystem::is_directory(root / candidate, ignored)) continue;
    if (!first) first = std::string(candidate);
    if (holdsFiles(root / candidate)) return std::string(candidate);
  }
  return first;
}

std::optional<std::filesystem::path> folder(AssetKind kind, const std::filesystem::path& root) {
  auto path = repositoryFolder(kind, root);
  return path ? std::optional(root / *path) : std::nullopt;
}

std::vector<Entry> entries(const std::filesystem::path& folder) {
  std::vector<Entry> found;
  for (const auto& item : std::filesystem::directory_iterator(folder)) {
    Entry entry;
    entry.name = item.path().filename().string();
    if (entry.name.starts_with('.')) continue;
    auto type = item.status(entry.error).type();
    entry.isFolder = type == std::filesystem::file_type::directory;
    if (type == std::filesystem::file_type::not_found && !entry.error) {
      entry.error = std::make_error_code(std::errc::no_such_file_or_directory);
    }
    found.push_back(std::move(entry));
  }
  std::sort(found.begin(), found.end(),
            [](const Entry& a, const Entry& b) { return Text::naturalLess(a.name, b.name); });
  return found;
}

std::vector<std::filesystem::path> mediaFiles(const std::filesystem::path& folder) {
  std::vector<std::filesystem::path> files;
  std::error_code failed;
  if (std::filesystem::status(folder, failed).type() == std::filesystem::file_type::not_found) return files;
  for (const Entry& entry : entries(folder)) {
    if (!entry.isFolder && mediaType(entry.name)) files.push_back(folder / entry.name);
  }
  return files;
}

std::string unreadable(const std::string& repositoryPath, const std::error_code& reason) {
  return repositoryPath + " can't be read (" + reason.message() + ").";
}

std::string textOf(const std::system_error& error, const std::filesystem::path& root) {
  std::string text = error.what();
  std::string prefix = root.string() + "/";
  for (std::size_t at; (at = text.find(prefix)) != std::string::npos;) text.erase(at, prefix.size());
  return text;
}

std::string movedPath(const std::string& path, const Renames& renamed) {
  std::size_t end = path.size();
  while (end != std::string::npos && end > 0) {
    if (auto found = renamed.find(path.substr(0, end)); found != renamed.end()) return found->second + path.substr(end);
    end = path.rfind('/', end - 1);
  }
  return path;
}

} // namespace kestu::Assets
