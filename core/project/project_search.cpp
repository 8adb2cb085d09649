#include "core/project/project_search.hpp"

#include "core/project/apple_locales.hpp"
#include "core/project/project.hpp"
#include "core/support/files.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <system_error>
#include <utility>

namespace fs = std::filesystem;

namespace kestu::Project {

namespace {

constexpr int deepest = 3;
constexpr std::uint64_t largestFile = 256 * 1024 * 1024;
constexpr std::string_view setting = "PRODUCT_BUNDLE_IDENTIFIER";

/// A file or folder of the repository; `path` is relative to its root.
struct Found {
  std::string path, name;
  fs::path file;
  bool isFolder = false;
};

/// Everything at most so many levels below the root, but in folders that are never searched. What cannot be read is
/// passed over, links are not followed.
void walk(const fs::path& folder, const std::string& under, int level, const std::function<void(const Found&)>& visit) {
  std::vector<Found> entries;
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    std::error_code ignored;
    if (entry->is_symlink(ignored)) continue;
    std::string name = entry->path().filename().string();
    entries.push_back({under + name, name, entry->path(), entry->is_directory(ignored)});
  }
  std::sort(entries.begin(), entries.end(), [](const Found& a, const Found& b) { return a.name < b.name; });
  for (const Found& entry : entries) {
    if (entry.isFolder && std::find(skipped.begin(), skipped.end(), entry.name) != skipped.end()) continue;
    visit(entry);
    if (entry.isFolder && level < deepest && !entry.name.ends_with(".xcodeproj")) {
      walk(entry.file, entry.path + "/", level + 1, visit);
    }
  }
}

std::optional<std::string> textOf(const fs::path& file) {
  try {
    return Files::read(file, largestFile);
  } catch (const std::system_error&) {
    return std::nullopt;
  }
}

/// The values that a project file gives the bundle ID.
std::set<std::string> valuesIn(std::string_view projectFile) {
  const std::string key = std::string(setting) + " = ";
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
    if (rest.starts_with(';')) found.emplace(value);
  }
  return found;
}

void forProjects(const fs::path& root, const std::function<void(const std::string& text)>& visit) {
  walk(root, "", 1, [&](const Found& entry) {
    if (!entry.isFolder || !entry.name.ends_with(".xcodeproj")) return;
    if (auto text = textOf(entry.file / "project.pbxproj")) visit(*text);
  });
}

/// The objects of a project file by their IDs: each begins in a line of two tabs and its ID, and ends in one of two
/// tabs and "};".
std::map<std::string, std::string> objectsIn(std::string_view projectFile) {
  std::map<std::string, std::string> objects;
  std::string id;
  while (!projectFile.empty()) {
    std::string_view line = projectFile.substr(0, projectFile.find('\n'));
    projectFile.remove_prefix(std::min(projectFile.size(), line.size() + 1));
    bool isOuter = line.starts_with("\t\t") && !line.starts_with("\t\t\t");
    if (id.empty() && isOuter && line.ends_with("{")) id = line.substr(2, line.find(' ') - 2);
    if (!id.empty()) objects[id] += std::string(line) + "\n";
    if (isOuter && line.ends_with("};")) id.clear();
  }
  return objects;
}

/// What an object gives a key, without quotes and the comment behind it.
std::optional<std::string> valueOf(const std::string& object, const std::string& key) {
  std::size_t at = object.find("\t" + key + " = ");
  if (at == std::string::npos) return std::nullopt;
  std::string value = object.substr(at + key.size() + 4);
  if (value.starts_with('"')) return value.substr(1, value.find('"', 1) - 1);
  return value.substr(0, value.find_first_of(" ;"));
}

bool isReference(const std::string& value) { return value.find('$') != std::string::npos; }

bool isOfTests(const std::string& id) {
  std::string last = Text::lowercased(id.substr(id.rfind('.') + 1));
  return last.ends_with("test") || last.ends_with("tests");
}

/// What an .xcconfig file sets the bundle ID to.
std::optional<std::string> configured(const std::string& text) {
  for (const std::string& line : Text::split(text, '\n')) {
    std::string plain = Text::trimmed(line.substr(0, line.find("//")));
    auto equals = plain.find('=');
    if (equals == std::string::npos || !plain.starts_with(setting)) continue;
    std::string key = Text::trimmed(plain.substr(0, equals));
    // A condition may follow: PRODUCT_BUNDLE_IDENTIFIER[config=Debug].
    if (key != setting && key[setting.size()] != '[') continue;
    std::string value = Text::trimmed(plain.substr(plain.rfind('=') + 1));
    if (!value.empty()) return value;
  }
  return std::nullopt;
}

bool isDirectory(const fs::path& path) {
  std::error_code ignored;
  return fs::is_directory(path, ignored);
}

/// Whether a folder has folders of languages in it.
bool holdsLanguages(const fs::path& folder) {
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    std::error_code ignored;
    if (AppleLocales::isApples(entry->path().filename().string()) && entry->is_directory(ignored)) return true;
  }
  return false;
}

/// The folders under `root` that hold the contents where kestu reads them.
std::vector<std::string> readable(Contents contents, const fs::path& root) {
  static constexpr std::string_view listings[] = {"metadata/listing", "metadata/app-info", "metadata/version",
                                                  "fastlane/metadata"};
  static constexpr std::string_view screenshots[] = {"metadata/screenshots", "fastlane/screenshots"};
  std::vector<std::string> found;
  auto add = [&](std::string_view folder) {
    if (holdsLanguages(root / folder)) found.emplace_back(folder);
  };
  if (contents == Contents::listing) {
    for (std::string_view folder : listings) {
      // The layouts of metadata/ hold files of languages rather than folders.
      if (folder.starts_with("metadata/") && isDirectory(root / folder)) found.emplace_back(folder);
      if (folder.starts_with("fastlane/")) add(folder);
    }
  } else {
    for (std::string_view folder : screenshots) add(folder);
  }
  return found;
}

} // namespace

std::set<std::string> bundleIDs(const fs::path& root) {
  std::set<std::string> found;
  forProjects(root, [&](const std::string& text) { found.merge(bundleIDsIn(text)); });
  return found;
}

std::set<std::string> bundleIDsIn(std::string_view projectFile) {
  std::set<std::string> found = valuesIn(projectFile);
  std::erase_if(found, isReference);
  return found;
}

std::set<std::string> partIDsIn(std::string_view projectFile) {
  auto objects = objectsIn(projectFile);
  std::set<std::string> parts, apps;
  for (const auto& [id, target] : objects) {
    auto type = valueOf(target, "productType");
    auto list = valueOf(target, "buildConfigurationList");
    if (!type || !list || !objects.contains(*list)) continue;
    bool isApp = *type == "com.apple.product-type.application";
    for (const std::string& word : Text::words(objects.at(*list))) {
      if (auto configuration = objects.find(word); configuration != objects.end()) {
        (isApp ? apps : parts).merge(bundleIDsIn(configuration->second));
      }
    }
  }
  std::erase_if(parts, [&](const std::string& id) { return apps.contains(id); });
  return parts;
}

std::vector<std::string> appIDs(const fs::path& root) {
  std::set<std::string> all, parts;
  forProjects(root, [&](const std::string& text) {
    all.merge(bundleIDsIn(text));
    parts.merge(partIDsIn(text));
  });
  std::vector<std::string> ids;
  for (const std::string& id : all) {
    auto isWhole = [&](const std::string& other) { return id.starts_with(other + "."); };
    bool isPart = parts.contains(id) || isOfTests(id) || std::any_of(all.begin(), all.end(), isWhole);
    if (!isPart) ids.push_back(id);
  }
  return ids.empty() ? std::vector<std::string>(all.begin(), all.end()) : ids;
}

std::vector<std::string> bundleIDSources(const fs::path& root) {
  std::vector<std::string> sources;
  bool hasProject = false;
  std::vector<std::pair<std::string, std::string>> generators; // the file, and what makes a project of it
  walk(root, "", 1, [&](const Found& entry) {
    if (entry.isFolder && entry.name.ends_with(".xcodeproj")) {
      hasProject = true;
      auto text = textOf(entry.file / "project.pbxproj");
      for (const std::string& value : valuesIn(text.value_or(""))) {
        if (isReference(value)) sources.push_back(entry.path + " takes it from a variable: " + value + ".");
      }
    } else if (!entry.isFolder && entry.name.ends_with(".xcconfig")) {
      auto value = configured(textOf(entry.file).value_or(""));
      if (value) sources.push_back(entry.path + " sets it: " + *value + ".");
    } else if (!entry.isFolder && entry.name == "project.yml") {
      generators.emplace_back(entry.path, "xcodegen generate");
    } else if (!entry.isFolder && entry.name == "Project.swift") {
      generators.emplace_back(entry.path, "tuist generate");
    }
  });
  for (const auto& [file, command] : generators) {
    if (!hasProject) sources.push_back(file + " makes the Xcode project, which isn't here yet (" + command + ").");
  }
  return sources;
}

std::vector<std::string> elsewhere(Contents contents, const fs::path& root) {
  std::vector<std::string> found;
  const std::string what = contents == Contents::listing ? "a listing" : "screenshots";
  const std::string lane = contents == Contents::listing ? "fastlane/metadata" : "fastlane/screenshots";
  for (const char* platform : {"ios", "macos", "mac"}) {
    std::string folder = lane + "/" + platform;
    if (!holdsLanguages(root / folder)) continue;
    found.push_back(folder + " holds " + what + ", and kestu reads the languages' folders in " + lane +
                    ": move them there (git mv " + folder + "/* " + lane + "/).");
  }
  walk(root, "", 1, [&](const Found& entry) {
    if (!entry.isFolder) return;
    auto folders = readable(contents, entry.file);
    if (folders.empty()) return;
    std::error_code ignored;
    bool isLinked = fs::exists(entry.file / fileName, ignored);
    found.push_back(entry.path + "/" + folders.front() + " holds " + what + ": run kestu in " + entry.path +
                    (isLinked ? "." : ", after kestu link --here there."));
  });
  return found;
}

} // namespace kestu::Project
