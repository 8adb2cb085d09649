#include "core/project/project.hpp"

#include "core/support/error.hpp"
#include "core/support/files.hpp"
#include "core/support/json_data.hpp"

#include <algorithm>
#include <system_error>

namespace fs = std::filesystem;

namespace kestu::Project {

namespace {

constexpr int deepest = 3;
constexpr std::uint64_t largestLink = 1024 * 1024;
constexpr std::uint64_t largestProjectFile = 256 * 1024 * 1024;

CLIError unreadable() {
  return {CLIError::Kind::failed,
          std::string(fileName) + " isn't a kestu.json this CLI can read. Run kestu link again."};
}

std::optional<std::string> bytesOfLink(const fs::path& root) {
  try {
    return Files::read(root / fileName, largestLink);
  } catch (const std::system_error&) {
    throw unreadable();
  }
}

void collect(const fs::path& folder, int level, std::set<std::string>& found) {
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    std::string name = entry->path().filename().string();
    std::error_code ignored;
    if (!entry->is_directory(ignored) || entry->is_symlink(ignored)) continue;
    if (std::find(skipped.begin(), skipped.end(), name) != skipped.end()) continue;
    if (name.ends_with(".xcodeproj")) {
      try {
        auto text = Files::read(entry->path() / "project.pbxproj", largestProjectFile);
        if (text) found.merge(bundleIDsIn(*text));
      } catch (const std::system_error&) {
        continue;
      }
    } else if (level < deepest) {
      collect(entry->path(), level + 1, found);
    }
  }
}

} // namespace

fs::path root(const fs::path& folder) {
  for (fs::path at = folder;; at = at.parent_path()) {
    std::error_code ignored;
    if (fs::symlink_status(at / ".git", ignored).type() != fs::file_type::not_found) return at;
    if (at == at.parent_path()) return folder;
  }
}

std::optional<ProjectLink> link(const fs::path& folder) {
  auto bytes = bytesOfLink(root(folder));
  if (!bytes) return std::nullopt;
  try {
    return ProjectLink::read(JSONValue::parse(*bytes));
  } catch (const JSONError&) {
    throw unreadable();
  }
}

void write(const fs::path& root, const ProjectLink& link) {
  JSONData document = JSONData::object();
  try {
    auto bytes = Files::read(root / fileName, largestLink);
    if (JSONValue before = JSONValue::parse(bytes.value_or("{}")); before.isObject())
      document = JSONData::copied(before);
  } catch (const JSONError&) {
    document = JSONData::object();
  } catch (const std::system_error&) {
    document = JSONData::object();
  }
  document.set("appId", link.appId).set("bundleId", link.bundleId);
  document.setGiven("screenshotFolders", link.assetFolders);
  try {
    Files::writeAtomically(root / fileName, document.pretty());
  } catch (const std::system_error& error) {
    throw CLIError(CLIError::Kind::failed,
                   std::string(fileName) + ": couldn't be written (" + error.code().message() + ").");
  }
}

std::set<std::string> bundleIDs(const fs::path& root) {
  std::set<std::string> found;
  collect(root, 1, found);
  return found;
}

std::set<std::string> bundleIDsIn(std::string_view projectFile) {
  constexpr std::string_view key = "PRODUCT_BUNDLE_IDENTIFIER = ";
  std::set<std::string> found;
  for (std::size_t at = projectFile.find(key); at != std::string_view::npos; at = projectFile.find(key, at)) {
    at += key.size();
    std::string_view rest = projectFile.substr(at);
    if (rest.starts_with('"')) rest.remove_prefix(1);
    std::size_t end = rest.find_first_of("\";\n");
    if (end == 0 || end == std::string_view::npos) continue;
    std::string_view value = rest.substr(0, end);
    rest.remove_prefix(end);
    if (rest.starts_with('"')) rest.remove_prefix(1);
    if (rest.starts_with(';') && value.find('$') == std::string_view::npos) found.emplace(value);
  }
  return found;
}

} // namespace kestu::Project
