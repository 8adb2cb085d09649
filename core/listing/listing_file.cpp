#include "core/listing/listing_file.hpp"

#include "core/console/printable.hpp"
#include "core/listing/listing_field.hpp"
#include "core/listing/metadata.hpp"
#include "core/project/apple_locales.hpp"
#include "core/project/platform.hpp"
#include "core/support/files.hpp"
#include "core/support/json.hpp"
#include "core/support/text.hpp"
#include "core/support/utf8.hpp"

#include <algorithm>
#include <system_error>
#include <tuple>

namespace kestu {

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

constexpr std::uint64_t largest = std::uint64_t{16} << 20U;
constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

CLIError unreadable(const std::string& path, const std::error_code& reason) {
  return ListingFile::malformed(path, "can't be read (" + reason.message() + ").");
}

/// The file's bytes without a byte order mark.
std::optional<std::string> bytesOf(const fs::path& root, const std::string& path) {
  try {
    auto bytes = Files::read(root / path, largest + 1);
    if (!bytes) return std::nullopt;
    if (bytes->size() > largest) throw ListingFile::malformed(path, "is over 16 MB, too much for a listing.");
    if (bytes->starts_with(byteOrderMark)) bytes->erase(0, byteOrderMark.size());
    return bytes;
  } catch (const std::system_error& error) {
    throw unreadable(path, error.code());
  }
}

bool isUTF8(std::string_view text) {
  for (std::size_t position = 0; position < text.size();) {
    UTF8::Decoded decoded = UTF8::decode(text, position);
    if (decoded.broken) return false;
    position += decoded.length;
  }
  return true;
}

/// Empty when it isn't a JSON object.
std::optional<json> objectOf(std::string_view bytes) {
  try {
    JSONValue document = JSONValue::parse(bytes);
    if (document.isObject()) return document.raw();
  } catch (const JSONError&) {
  }
  return std::nullopt;
}

void requireText(const json& object, std::string_view key, const std::string& path) {
  auto found = object.find(key);
  if (found == object.end() || found->is_null() || found->is_string()) return;
  throw ListingFile::malformed(path + ":", std::string(key) + " isn't text or null.");
}

std::optional<std::string> textIn(const json& object, std::string_view key) {
  auto found = object.find(key);
  if (found == object.end() || !found->is_string()) return std::nullopt;
  return ListingFile::value(found->get_ref<const std::string&>());
}

std::string localeOf(const std::string& name, ListingFile::Entries kind) {
  if (kind == ListingFile::Entries::folders) return name;
  constexpr std::size_t length = std::string_view(".json").size();
  if (name.size() <= length || Text::lowercased(name.substr(name.size() - length)) != ".json") return {};
  return name.substr(0, name.size() - length);
}

std::vector<std::string> entriesOf(const fs::path& root, const std::string& folder) {
  if (!ListingFile::isFolder(root, folder)) return {};
  try {
    return Files::entries(root / folder);
  } catch (const std::system_error& error) {
    throw unreadable(folder, error.code());
  }
}

} // namespace

namespace ListingFile {

CLIError malformed(const std::string& path, const std::string& message) {
  return {CLIError::Kind::failed, printable(path) + " " + message};
}

std::optional<std::string> value(std::string_view text) {
  if (text.starts_with(byteOrderMark)) text.remove_prefix(byteOrderMark.size());
  std::string trimmed = Text::trimmed(text);
  if (trimmed.empty()) return std::nullopt;
  std::string result;
  result.reserve(trimmed.size());
  for (std::size_t i = 0; i < trimmed.size(); ++i) {
    bool pair = trimmed[i] == '\r' && i + 1 < trimmed.size() && trimmed[i + 1] == '\n';
    if (!pair) result += trimmed[i] == '\r' ? '\n' : trimmed[i];
  }
  return result;
}

std::optional<std::string> text(const fs::path& root, const std::string& path) {
  auto bytes = bytesOf(root, path);
  if (!bytes) return std::nullopt;
  if (!isUTF8(*bytes)) throw malformed(path, "isn't UTF-8 text.");
  return value(*bytes);
}

bool isFolder(const fs::path& root, const std::string& path) {
  std::error_code ignored;
  return fs::is_directory(root / path, ignored);
}

std::vector<ListingEntry> languages(const fs::path& root, const std::string& folder, Entries kind) {
  std::vector<ListingEntry> found;
  for (const std::string& name : entriesOf(root, folder)) {
    std::string locale = localeOf(name, kind);
    if (locale != "default" && !AppleLocales::localeShape(locale)) continue;
    std::string path = folder + "/" + name;
    if (isFolder(root, path) == (kind == Entries::folders)) found.push_back({locale, path});
  }
  std::sort(found.begin(), found.end(), [](const ListingEntry& a, const ListingEntry& b) {
    return std::tie(a.locale, a.path) < std::tie(b.locale, b.path);
  });
  return found;
}

std::optional<std::string> versionFolder(const ListingPlace& place, const std::string& folder) {
  if (place.version) {
    if (!Metadata::versionShape(*place.version)) return std::nullopt;
    std::string path = folder + "/" + *place.version;
    return isFolder(place.root, path) ? std::optional(path) : std::nullopt;
  }
  std::string highest;
  for (const std::string& name : entriesOf(place.root, folder)) {
    bool numbered = name.front() >= '0' && name.front() <= '9';
    if (numbered && isFolder(place.root, folder + "/" + name) && Text::naturalLess(highest, name)) highest = name;
  }
  return highest.empty() ? std::nullopt : std::optional(folder + "/" + highest);
}

} // namespace ListingFile

ListingObject ListingObject::plain(const fs::path& root, const std::string& path) {
  auto bytes = bytesOf(root, path);
  auto object = bytes ? objectOf(*bytes) : std::nullopt;
  if (bytes && !object) throw ListingFile::malformed(path, "isn't a JSON object.");
  return {path, bytes, std::move(object)};
}

ListingObject ListingObject::read(const fs::path& root, const std::string& path,
                                  std::initializer_list<std::string_view> otherKeys) {
  ListingObject result = plain(root, path);
  result.check(otherKeys);
  return result;
}

ListingObject ListingObject::toChange(const fs::path& root, const std::string& path) {
  auto bytes = bytesOf(root, path);
  ListingObject result(path, bytes, bytes ? objectOf(*bytes) : std::nullopt);
  result.mend();
  return result;
}

void ListingObject::mend() {
  auto drop = [](json& object, std::string_view key, bool refused) {
    auto found = object.find(key);
    if (found != object.end() && (refused || !(found->is_string() || found->is_null()))) object.erase(found);
  };
  for (const ListingFieldFacts& field : listingFields()) drop(object_, field.key, false);
  for (std::string_view platform : platforms) {
    auto own = object_.find(platform);
    if (own == object_.end()) continue;
    if (own->is_object()) {
      for (const ListingFieldFacts& field : listingFields()) drop(*own, field.key, field.isAppInfo);
    } else {
      object_.erase(own);
    }
  }
}

void ListingObject::check(std::initializer_list<std::string_view> otherKeys) const {
  for (const ListingFieldFacts& field : listingFields()) requireText(object_, field.key, path_);
  for (std::string_view key : otherKeys) requireText(object_, key, path_);
  for (std::string_view platform : platforms) {
    if (!object_.contains(platform)) continue;
    checkPlatform(platform);
    for (std::string_view key : otherKeys) requireText(object_.at(std::string(platform)), key, path_);
  }
}

void ListingObject::checkPlatform(std::string_view platform) const {
  const json& own = object_.at(std::string(platform));
  std::string name(platform);
  if (!own.is_object()) {
    throw ListingFile::malformed(path_ + ":", name + " isn't an object of what's that platform's own.");
  }
  for (const ListingFieldFacts& field : listingFields()) {
    if (field.isAppInfo && own.contains(field.key)) {
      throw ListingFile::malformed(path_ + ":",
                                   std::string(field.key) +
                                       " is the app's on every platform in App Store Connect, so it can't be " + name +
                                       "'s own: say it once, outside " + name + ".");
    }
    requireText(own, field.key, path_);
  }
}

std::optional<std::string> ListingObject::text(std::string_view key, const std::optional<std::string>& platform) const {
  if (platform) {
    auto own = object_.find(*platform);
    if (own != object_.end() && own->is_object() && own->contains(key)) return textIn(*own, key);
  }
  return textIn(object_, key);
}

void ListingObject::put(std::string_view name, const std::optional<std::string>& value, const std::string& platform,
                        bool first) {
  if (text(name, platform) == value) return;
  std::string key(name);
  auto own = object_.find(platform);
  if (own != object_.end() && own->is_object()) {
    own->erase(key);
    if (own->empty()) object_.erase(own);
  }
  if (text(name) == value) return;
  if (first) {
    if (value) {
      object_[key] = *value;
    } else {
      object_.erase(key);
    }
    return;
  }
  json& kept = object_[platform];
  if (!kept.is_object()) kept = json::object();
  kept[key] = value ? json(*value) : json(nullptr);
}

std::string ListingObject::serialized() const { return Metadata::serialized(object_); }

} // namespace kestu
