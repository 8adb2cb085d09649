#pragma once

#include "core/assets/asset_walk.hpp"

#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace kestu {

/// A display's folder on its way to the name that the repository's setting asks for: renamed, or emptied into the
/// folder that has the name already. Paths are under the kind's folder, with forward slashes.
struct FolderChange {
  std::string from, to;
  bool isRename = false;
  std::vector<std::string> moved;   ///< entries that go over
  std::vector<std::string> dropped; ///< files that `to` has byte for byte
  std::vector<std::string> left;    ///< entries that stay, since `to` has something else of that name

  /// What files and folders are called afterwards, by what they are called now.
  Assets::Renames renamed() const;

  /// Renames, under the kind's folder; writes over nothing. What can't be moved stays. Throws CLIError for
  /// what is in the way, and std::system_error.
  void carryOut(const std::filesystem::path& kindFolder) const;
};

/// The folders of one kind's displays: how they are called, and how they are to be.
class DisplayFolders {
 public:
  /// A display's folder as it is once the changes are made.
  struct Folder {
    std::string path;                           ///< under the kind's folder; it may not exist yet
    std::map<std::string, std::string> entries; ///< where each of its entries is now, by name
  };

  /// Reads the kind's folder, which may not exist; of languages and displays that aren't asked for nothing is changed.
  /// Throws CLIError when a folder can't be read, or a file is where a folder goes.
  DisplayFolders(const std::filesystem::path& root, std::string repositoryPath, const DisplayChoice& displays,
                 const std::vector<std::string>& locales, bool byIDs);

  const std::vector<FolderChange>& changes() const { return changes_; }

  /// Folders that name no display since several share the name; whole sentences.
  const std::vector<std::string>& notes() const { return notes_; }

  /// The repository's own for the language and the display, or one as the setting names it.
  Folder folder(const std::string& locale, const AssetDisplay& display) const;

  /// The language's folder; of two that are one, as links make them, the real one.
  std::string localeFolder(const std::string& locale) const;

  /// As App Store Connect names it without the inch mark ("iPhone 6.9"), or Apple's ID where `byIDs` is set or where
  /// the name can't be told from another's. Throws CLIError when neither can name a folder.
  std::string nameOf(const AssetDisplay& display) const;

 private:
  using Key = std::pair<std::string, std::string>; ///< language folder, display's ID

  void requireSpelled(const std::string& locale) const;
  void requireFree(const std::string& path, const AssetDisplay& display) const;
  void readLocale(const std::string& locale);
  void settle(const std::string& locale, const AssetDisplay& display, const std::vector<std::string>& names);
  bool isNamedAsAsked(const std::string& name, const AssetDisplay& display) const;
  std::map<std::string, std::string> entriesOf(const std::string& path) const;
  void merge(FolderChange change, Folder& into);
  bool sameFile(const std::string& a, const std::string& b) const;

  std::filesystem::path kindFolder_;
  std::string repositoryPath_;
  const DisplayChoice& displays_;
  bool byIDs_;
  std::vector<std::string> locales_;           ///< the languages' folders
  std::map<std::string, std::string> aliases_; ///< language folders that are links to another one
  std::map<Key, Folder> folders_;
  std::vector<FolderChange> changes_;
  std::vector<std::string> notes_;
};

} // namespace kestu
