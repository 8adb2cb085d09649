#pragma once

#include "core/support/error.hpp"
#include "core/support/json_data.hpp"

#include <filesystem>
#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kestu {

/// Where a listing is read, and for what.
struct ListingPlace {
  std::filesystem::path root;
  std::optional<std::string> version;
  std::optional<std::string> platform;
  std::vector<std::string>* faults = nullptr; ///< of all files that can't be read

  /// Calls what reads one file. Where it can't be read that is noted, so that all faults are told together.
  void look(const std::function<void()>& read) const;
};

/// A language's file or folder; "default" is one too.
struct ListingEntry {
  std::string locale;
  std::string path; ///< repository path
};

/// Whose values are written, and whose are to stay.
struct PlatformsWritten {
  std::string platform;
  std::vector<std::string> all{};  ///< the app's, in order
  std::vector<std::string> kept{}; ///< the others that the repository says something of
};

/// What the layouts read their files through. Values are trimmed and have line feeds alone as line ends; one that is
/// empty then isn't given.
namespace ListingFile {

/// "<path>: <message>", or "<path> <message>" without a colon.
CLIError malformed(const std::string& path, const std::string& message);

/// A text file's value; none when there is no file.
std::optional<std::string> text(const std::filesystem::path& root, const std::string& path);

std::optional<std::string> value(std::string_view text);

/// The languages that the folder's entries name, by ascending code: files that end in ".json", or folders.
enum class Entries { jsonFiles, folders };
std::vector<ListingEntry> languages(const std::filesystem::path& root, const std::string& folder, Entries kind);

/// The name of the entry without ".json" in any case; for folders the whole name. Empty for a file of another kind.
std::string localeOf(const std::string& name, Entries kind);

/// The names of a folder's entries, sorted; none when there is no folder.
std::vector<std::string> entries(const std::filesystem::path& root, const std::string& folder);

bool isFolder(const std::filesystem::path& root, const std::string& path);

/// A file or folder in the layout's folder that a Mac takes for the path, or for a folder on it, though it is called
/// otherwise ("metadata/listing/en-us.json" for "metadata/listing/en-US.json").
std::optional<std::string> inTheWay(const std::filesystem::path& root, const std::string& path);

/// The version's folder in `folder`, the highest version's that there is when none is named; none when there is none.
std::optional<std::string> versionFolder(const ListingPlace& place, const std::string& folder);

} // namespace ListingFile

/// A JSON file of the listing, in which a platform's name may hold an object of what is that platform's own. The first
/// of the app's platforms that has none is the one whose values stand at the top level, where all others read them too.
class ListingObject {
 public:
  /// An empty object when there is no file. The listing's fields and the other keys named hold text or null, in the
  /// platforms' objects too.
  static ListingObject read(const std::filesystem::path& root, const std::string& path,
                            std::initializer_list<std::string_view> otherKeys = {});

  /// Any JSON object.
  static ListingObject plain(const std::filesystem::path& root, const std::string& path);

  /// For writing: without what `read` refuses, empty when it isn't a JSON object.
  static ListingObject toChange(const std::filesystem::path& root, const std::string& path);

  const std::string& path() const { return path_; }
  const JSONData& raw() const { return object_; }

  /// The key's text. A value in the platform's object wins, also null, by which the platform has none.
  std::optional<std::string> text(std::string_view key, const std::optional<std::string>& platform = {}) const;

  /// Changes what `text` gives for the platform, and for none of those kept.
  void put(std::string_view key, const std::optional<std::string>& value, const PlatformsWritten& written);
  /// The same for every platform that has no value of its own.
  void putShared(std::string_view key, const std::optional<std::string>& value, const std::string& platform = {});
  void put(std::string_view key, JSONData value) { object_.set(std::string(key), std::move(value)); }
  void drop(std::string_view key) { object_.erase(key); }

  bool isEmpty() const { return object_.isEmpty(); }
  bool isThere() const { return isThere_; } ///< in the repository, as it was read
  std::string serialized() const { return object_.pretty(); }

 private:
  ListingObject(std::string path, bool isThere, std::optional<JSONData> object);
  void mend();
  void check(std::initializer_list<std::string_view> otherKeys) const;
  void checkPlatform(std::string_view platform) const;
  bool isTop(const PlatformsWritten& written) const;
  void dropOwn(std::string_view key, const std::string& platform);
  void putOwn(std::string_view key, const std::optional<std::string>& value, const std::string& platform);

  std::string path_;
  bool isThere_;
  bool wasEmpty_; ///< then the platform that is written first takes the top level
  JSONData object_;
};

} // namespace kestu
