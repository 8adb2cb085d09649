#pragma once

#include "core/support/error.hpp"

#include <nlohmann/json.hpp>

#include <filesystem>
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
};

/// A language's file or folder; "default" is one too.
struct ListingEntry {
  std::string locale;
  std::string path; ///< repository path
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

bool isFolder(const std::filesystem::path& root, const std::string& path);

/// The version's folder in `folder`, the highest version's that there is when none is named; none when there is none.
std::optional<std::string> versionFolder(const ListingPlace& place, const std::string& folder);

} // namespace ListingFile

/// A JSON file of the listing, in which a platform's name may hold an object of what is that platform's own.
class ListingObject {
 public:
  /// An empty object when there is no file. The listing's fields and the other keys named hold text or null, in the
  /// platforms' objects too.
  static ListingObject read(const std::filesystem::path& root, const std::string& path,
                            std::initializer_list<std::string_view> otherKeys = {});

  /// Any JSON object.
  static ListingObject plain(const std::filesystem::path& root, const std::string& path);

  /// The same for writing: what can't be read is taken as an empty object.
  static ListingObject toChange(const std::filesystem::path& root, const std::string& path);

  const std::string& path() const { return path_; }
  const nlohmann::json& raw() const { return object_; }

  /// The key's text. A value in the platform's object wins, also null, by which the platform has none.
  std::optional<std::string> text(std::string_view key, const std::optional<std::string>& platform = {}) const;

  /// Changes what `text` gives for the platform; the first platform's values and those of every platform stand at the
  /// top level, and other platforms' objects stay.
  void put(std::string_view key, const std::optional<std::string>& value, const std::string& platform, bool first);
  void put(std::string_view key, nlohmann::json value) { object_[std::string(key)] = std::move(value); }
  void drop(std::string_view key) { object_.erase(std::string(key)); }

  bool isEmpty() const { return object_.empty(); }
  bool isThere() const { return isThere_; } ///< in the repository, as it was read
  std::string serialized() const;

 private:
  ListingObject(std::string path, const std::optional<std::string>& bytes, std::optional<nlohmann::json> object)
      : path_(std::move(path)), isThere_(bytes.has_value()),
        object_(object ? std::move(*object) : nlohmann::json::object()) {}
  void check(std::initializer_list<std::string_view> otherKeys) const;
  void checkPlatform(std::string_view platform) const;

  std::string path_;
  bool isThere_;
  nlohmann::json object_;
};

} // namespace kestu
