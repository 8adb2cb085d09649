#include "core/assets/display_folders.hpp"

#include "core/console/printable.hpp"
#include "core/project/apple_locales.hpp"
#include "core/service/refusal.hpp"
#include "core/support/error.hpp"
#include "core/support/file_name.hpp"
#include "core/support/files.hpp"
#include "core/support/md5.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <optional>
#include <system_error>

namespace kestu {

namespace {

CLIError failed(const std::string& message) { return {CLIError::Kind::failed, printable(message)}; }

/// Fit to be one folder's name on any system.
bool isFolderName(const std::string& name) {
  bool isPlain = std::none_of(name.begin(), name.end(), [](unsigned char c) {
    return c < 0x20 || c == 0x7F || c == '/' || c == '\\' || c == ':';
  });
  return isPlain && !name.empty() && name.size() <= 200 && name.front() != '.' && name == Text::trimmed(name);
}

std::string withoutInchMark(std::string name) {
  for (std::string_view sign : {"\"", "″"}) {
    for (std::size_t at; (at = name.find(sign)) != std::string::npos;) name.erase(at, sign.size());
  }
  return Text::trimmed(name);
}

bool same(const std::string& a, const std::string& b) { return Text::lowercased(a) == Text::lowercased(b); }

} // namespace

Assets::Renames FolderChange::renamed() const {
  if (isRename) return {{from, to}};
  Assets::Renames paths;
  for (const auto* names : {&moved, &dropped}) {
    for (const std::string& name : *names) paths[from + "/" + name] = to + "/" + name;
  }
  return paths;
}

void FolderChange::carryOut(const std::filesystem::path& kindFolder) const {
  auto move = [&](const std::string& path, const std::string& target) {
    if (Files::moveWithoutReplacing(kindFolder / path, kindFolder / target)) return;
    throw failed(path + " can't be renamed: something else is called " + target + ".");
  };
  if (isRename) return move(from, to);
  for (const std::string& name : moved) move(from + "/" + name, to + "/" + name);
  for (const std::string& name : dropped) std::filesystem::remove(kindFolder / from / name);
  std::error_code stillInUse;
  std::filesystem::remove(kindFolder / from, stillInUse);
}

DisplayFolders::DisplayFolders(const std::filesystem::path& root, std::string repositoryPath,
                               const DisplayChoice& displays, const std::vector<std::string>& asked, bool byIDs)
    : kindFolder_(root / repositoryPath), repositoryPath_(std::move(repositoryPath)), displays_(displays),
      byIDs_(byIDs) {
  std::error_code none;
  if (!std::filesystem::is_directory(kindFolder_, none)) return;
  std::map<std::filesystem::path, std::string> real;
  std::vector<std::string>& locales = locales_;
  try {
    for (const Assets::Entry& entry : Assets::entries(kindFolder_)) {
      if (entry.isFolder) locales.push_back(entry.name);
    }
    auto isLink = [&](const std::string& locale) { return std::filesystem::is_symlink(kindFolder_ / locale); };
    std::stable_partition(locales.begin(), locales.end(), [&](const std::string& locale) { return !isLink(locale); });
    for (const std::string& locale : locales) {
      auto [at, isFirst] = real.emplace(std::filesystem::canonical(kindFolder_ / locale), locale);
      if (!isFirst) aliases_[locale] = at->second;
    }
  } catch (const std::system_error& error) {
    throw failed(Assets::unreadable(repositoryPath_, error.code()));
  }
  for (const std::string& locale : locales) {
    if (!aliases_.contains(locale) && isAskedFor(locale, asked)) readLocale(locale);
  }
}

std::string DisplayFolders::localeFolder(const std::string& locale) const {
  auto alias = aliases_.find(locale);
  return alias == aliases_.end() ? locale : alias->second;
}

std::string DisplayFolders::nameOf(const AssetDisplay& display) const {
  std::string name = withoutInchMark(display.name);
  const AssetDisplay* meant = displays_.all().named(name);
  if (!byIDs_ && isFolderName(name) && meant && meant->group == display.group) return name;
  if (!isFolderName(display.group)) throw notUnderstood();
  return display.group;
}

DisplayFolders::Folder DisplayFolders::folder(const std::string& locale, const AssetDisplay& display) const {
  std::string folder = localeFolder(locale);
  auto known = folders_.find({folder, display.group});
  if (known != folders_.end()) return known->second;
  requireSpelled(folder);
  std::string path = folder + "/" + nameOf(display);
  requireFree(path, display);
  return {path, {}};
}

void DisplayFolders::requireSpelled(const std::string& locale) const {
  if (std::find(locales_.begin(), locales_.end(), locale) != locales_.end()) return;
  for (const std::string& other : locales_) {
    if (!FileName::alike(other, locale)) continue;
    throw failed(repositoryPath_ + "/" + other + AppleLocales::refusal(other) +
                 " Rename it: a Mac takes the two for one.");
  }
}

void DisplayFolders::requireFree(const std::string& path, const AssetDisplay& display) const {
  std::error_code none;
  if (std::filesystem::symlink_status(kindFolder_ / path, none).type() == std::filesystem::file_type::not_found) return;
  throw failed(repositoryPath_ + "/" + path + " is a file, and " + display.name + " takes a folder of files.");
}

void DisplayFolders::readLocale(const std::string& locale) {
  struct Found {
    const AssetDisplay* display;
    std::vector<std::string> names;
  };
  std::map<std::string, Found> byDisplay;
  try {
    for (const Assets::Entry& entry : Assets::entries(kindFolder_ / locale)) {
      const AssetDisplay* display = entry.isFolder ? displays_.named(entry.name) : nullptr;
      if (entry.isFolder && !displays_.all().sharing(entry.name).empty()) {
        notes_.push_back(repositoryPath_ + "/" + locale + "/" + entry.name + ": " + displays_.unknown(entry.name));
      }
      if (display && displays_.isLimited() && !displays_.keeps(*display)) continue;
      if (display) byDisplay.try_emplace(display->group, Found{display, {}}).first->second.names.push_back(entry.name);
    }
  } catch (const std::system_error& error) {
    throw failed(Assets::unreadable(repositoryPath_ + "/" + locale, error.code()));
  }
  for (const auto& [group, found] : byDisplay) settle(locale, *found.display, found.names);
}

bool DisplayFolders::isNamedAsAsked(const std::string& name, const AssetDisplay& display) const {
  bool isID = same(name, display.group);
  return byIDs_ ? isID : !isID || same(name, nameOf(display));
}

void DisplayFolders::settle(const std::string& locale, const AssetDisplay& display,
                            const std::vector<std::string>& names) {
  std::string name = nameOf(display);
  if (std::find(names.begin(), names.end(), name) == names.end()) {
    auto asked = [&](const std::string& each) { return isNamedAsAsked(each, display); };
    auto found = std::find_if(names.begin(), names.end(), asked);
    if (found != names.end()) name = *found;
  }
  Folder folder{locale + "/" + name, {}};
  bool exists = std::find(names.begin(), names.end(), name) != names.end();
  if (exists) {
    folder.entries = entriesOf(folder.path);
  } else {
    requireFree(folder.path, display);
  }
  for (const std::string& other : names) {
    if (other == name) continue;
    FolderChange change{locale + "/" + other, folder.path, !exists, {}, {}, {}};
    if (exists) {
      merge(std::move(change), folder);
    } else {
      folder.entries = entriesOf(change.from);
      changes_.push_back(std::move(change));
    }
    exists = true;
  }
  folders_[{locale, display.group}] = std::move(folder);
}

std::map<std::string, std::string> DisplayFolders::entriesOf(const std::string& path) const {
  std::map<std::string, std::string> entries;
  try {
    for (std::string& name : Files::entries(kindFolder_ / path)) entries[name] = path + "/" + name;
  } catch (const std::system_error& error) {
    throw failed(Assets::unreadable(repositoryPath_ + "/" + path, error.code()));
  }
  return entries;
}

void DisplayFolders::merge(FolderChange change, Folder& into) {
  for (const auto& [name, path] : entriesOf(change.from)) {
    auto alike = [&wanted = name](const auto& entry) { return FileName::alike(entry.first, wanted); };
    auto there = into.entries.find(name);
    if (there == into.entries.end()) there = std::find_if(into.entries.begin(), into.entries.end(), alike);
    if (there == into.entries.end()) {
      into.entries[name] = path;
      change.moved.push_back(name);
    } else {
      // What the Finder keeps of a folder is of no use in another one.
      bool isSpare = name == ".DS_Store" || sameFile(path, there->second);
      (isSpare ? change.dropped : change.left).push_back(name);
    }
  }
  changes_.push_back(std::move(change));
}

bool DisplayFolders::sameFile(const std::string& a, const std::string& b) const {
  try {
    for (const std::string& path : {a, b}) {
      if (!std::filesystem::is_regular_file(std::filesystem::symlink_status(kindFolder_ / path))) return false;
    }
    return std::filesystem::file_size(kindFolder_ / a) == std::filesystem::file_size(kindFolder_ / b) &&
           MD5::hex(kindFolder_ / a) == MD5::hex(kindFolder_ / b);
  } catch (const std::system_error&) {
    return false;
  }
}

} // namespace kestu
