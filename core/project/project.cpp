#include "core/project/project.hpp"

#include "core/support/error.hpp"
#include "core/support/files.hpp"
#include "core/support/json_data.hpp"

#include <optional>
#include <system_error>

namespace fs = std::filesystem;

namespace kestu::Project {

namespace {

constexpr std::uint64_t largestLink = 1024 * 1024;

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

bool has(const fs::path& folder, std::string_view name) {
  std::error_code ignored;
  return fs::symlink_status(folder / name, ignored).type() != fs::file_type::not_found;
}

} // namespace

fs::path repository(const fs::path& folder) {
  for (fs::path at = folder;; at = at.parent_path()) {
    if (has(at, ".git")) return at;
    if (at == at.parent_path()) return folder;
  }
}

fs::path root(const fs::path& folder) {
  fs::path top = repository(folder);
  for (fs::path at = folder; at != top; at = at.parent_path()) {
    if (has(at, fileName)) return at;
  }
  return top;
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
    if (JSONValue before = JSONValue::parse(bytes.value_or("{}")); before.isObject()) {
      document = JSONData::copied(before);
      for (const auto& [key, value] : before.members()) {
        const bool isSetting = key == "screenshotFolders" || key == "keywords";
        if (isSetting && !value.isText()) document.erase(key); // it would keep the file from being read
      }
    }
  } catch (const JSONError&) {
    document = JSONData::object();
  } catch (const std::system_error&) {
    document = JSONData::object();
  }
  document.set("appId", link.appId).set("bundleId", link.bundleId);
  document.setGiven("screenshotFolders", link.assetFolders).setGiven("keywords", link.keywords);
  try {
    Files::writeAtomically(root / fileName, document.pretty());
  } catch (const std::system_error& error) {
    throw CLIError(CLIError::Kind::failed,
                   std::string(fileName) + ": couldn't be written (" + error.code().message() + ").");
  }
}

} // namespace kestu::Project
