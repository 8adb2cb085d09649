#include "core/listing/listing_file.hpp"

#include "core/console/printable.hpp"
#include "core/listing/listing_field.hpp"
#include "core/listing/metadata.hpp"
#include "core/project/apple_locales.hpp"
#include "core/project/platform.hpp"
#include "core/support/file_name.hpp"
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

/// "line 3, column 12" out of the parser's words; empty when it says none.
std::string placeIn(std::string_view message) {
  std::size_t from = message.find("line ");
  std::size_t to = from == std::string_view::npos ? from : message.find(':', from);
  return to == std::string_view::npos ? "" : std::string(message.substr(from, to - from));
}

/// Empty when it isn't a JSON object; `place` is where it stops being JSON.
std::optional<JSONData> objectOf(std::string_view bytes, std::string* place = nullptr) {
  try {
    JSONValue document = JSONValue::parse(bytes);
    if (document.isObject()) return JSONData::copied(document);
  } catch (const JSONError& error) {
    if (place != nullptr) *place = placeIn(error.what());
  }
  return std::nullopt;
}

void requireText(const JSONData& object, std::string_view key, const std::string& path) {
  const JSONData* found = object.find(key);
  if (found == nullptr || found->isNull() || found->text() != nullptr) return;
  throw ListingFile::malformed(path + ":", std::string(key) + " isn't text or null.");
}

std::optional<std::string> textIn(const JSONData& object, std::string_view key) {
  const JSONData* found = object.find(key);
  if (found == nullptr || found->text() == nullptr) return std::nullopt;
  return ListingFile::value(*found->text());
}

/// Without the white space and byte order marks that it begins with: a file written from them would lose them, too.
std::string_view fromFirstLetter(std::string_view text) {
  constexpr char32_t mark = 0xFEFF;
  while (!text.empty()) {
    UTF8::Decoded first = UTF8::decode(text, 0);
    if (first.value != mark && !UTF8::isWhiteSpace(first.value)) break;
    text.remove_prefix(first.length);
  }
  return text;
}

JSONData textOrNull(const std::optional<std::string>& value) { return value ? JSONData(*value) : JSONData(); }

} // namespace

namespace ListingFile {

CLIError malformed(const std::string& path, const std::string& message) {
  return {CLIError::Kind::failed, printable(path) + " " + message};
}

std::optional<std::string> value(std::string_view text) {
  std::string trimmed = Text::trimmed(fromFirstLetter(text));
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
  if (!UTF8::isValid(*bytes)) throw malformed(path, "isn't UTF-8 text.");
  return value(*bytes);
}

std::string localeOf(const std::string& name, Entries kind) {
  if (kind == Entries::folders) return name;
  constexpr std::size_t length = std::string_view(".json").size();
  if (name.size() <= length || Text::lowercased(name.substr(name.size() - length)) != ".json") return {};
  return name.substr(0, name.size() - length);
}

std::vector<std::string> entries(const fs::path& root, const std::string& folder) {
  if (!isFolder(root, folder)) return {};
  try {
    auto names = Files::entries(root / folder);
    std::sort(names.begin(), names.end());
    return names;
  } catch (const std::system_error& error) {
    throw unreadable(folder, error.code());
  }
}

bool isFolder(const fs::path& root, const std::string& path) {
  std::error_code ignored;
  return fs::is_directory(root / path, ignored);
}

std::optional<std::string> inTheWay(const fs::path& root, const std::string& path) {
  for (std::size_t at = path.find('/'); at != std::string::npos;) {
    std::string folder = path.substr(0, at);
    std::size_t end = path.find('/', at + 1);
    std::string name = path.substr(at + 1, end == std::string::npos ? end : end - at - 1);
    auto names = entries(root, folder);
    if (std::find(names.begin(), names.end(), name) == names.end()) {
      auto alike = [&](const std::string& other) { return FileName::alike(other, name); };
      auto found = std::find_if(names.begin(), names.end(), alike);
      return found == names.end() ? std::nullopt : std::optional(folder + "/" + *found);
    }
    at = end;
  }
  return std::nullopt;
}

std::vector<ListingEntry> languages(const fs::path& root, const std::string& folder, Entries kind) {
  std::vector<ListingEntry> found;
  for (const std::string& name : entries(root, folder)) {
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
  for (const std::string& name : entries(place.root, folder)) {
    bool numbered = name.front() >= '0' && name.front() <= '9';
    if (numbered && isFolder(place.root, folder + "/" + name) && Text::naturalLess(highest, name)) highest = name;
  }
  return highest.empty() ? std::nullopt : std::optional(folder + "/" + highest);
}

} // namespace ListingFile

void ListingPlace::look(const std::function<void()>& read) const {
  try {
    read();
  } catch (const CLIError& error) {
    faults->push_back(error.description);
  }
}

ListingObject::ListingObject(std::string path, bool isThere, std::optional<JSONData> object)
    : path_(std::move(path)), isThere_(isThere), wasEmpty_(!object || object->isEmpty()),
      object_(object ? *std::move(object) : JSONData::object()) {}

ListingObject ListingObject::plain(const fs::path& root, const std::string& path) {
  auto bytes = bytesOf(root, path);
  if (bytes && !UTF8::isValid(*bytes)) throw ListingFile::malformed(path, "isn't UTF-8 text.");
  std::string place;
  auto object = bytes ? objectOf(*bytes, &place) : std::nullopt;
  if (bytes && !object) {
    throw ListingFile::malformed(path,
                                 "isn't a JSON object." + (place.empty() ? "" : "\nIt's JSON up to " + place + "."));
  }
  return {path, bytes.has_value(), std::move(object)};
}

ListingObject ListingObject::read(const fs::path& root, const std::string& path,
                                  std::initializer_list<std::string_view> otherKeys) {
  ListingObject result = plain(root, path);
  result.check(otherKeys);
  return result;
}

ListingObject ListingObject::toChange(const fs::path& root, const std::string& path) {
  auto bytes = bytesOf(root, path);
  ListingObject result(path, bytes.has_value(), bytes ? objectOf(*bytes) : std::nullopt);
  result.mend();
  return result;
}

void ListingObject::mend() {
  auto drop = [](JSONData& object, std::string_view key, bool refused) {
    const JSONData* found = object.find(key);
    if (found != nullptr && (refused || !(found->text() != nullptr || found->isNull()))) object.erase(key);
  };
  for (const ListingFieldFacts& field : listingFields()) drop(object_, field.key, false);
  for (std::string_view platform : platforms) {
    JSONData* own = object_.find(platform);
    if (own == nullptr) continue;
    if (own->isObject()) {
      for (const ListingFieldFacts& field : listingFields()) drop(*own, field.key, field.isAppInfo);
    } else {
      object_.erase(platform);
    }
  }
}

void ListingObject::check(std::initializer_list<std::string_view> otherKeys) const {
  for (const ListingFieldFacts& field : listingFields()) requireText(object_, field.key, path_);
  for (std::string_view key : otherKeys) requireText(object_, key, path_);
  for (std::string_view platform : platforms) {
    const JSONData* own = object_.find(platform);
    if (own == nullptr) continue;
    checkPlatform(platform);
    for (std::string_view key : otherKeys) requireText(*own, key, path_);
  }
}

void ListingObject::checkPlatform(std::string_view platform) const {
  const JSONData& own = *object_.find(platform);
  std::string name(platform);
  if (!own.isObject()) {
    throw ListingFile::malformed(path_ + ":", name + " isn't an object of what's that platform's own.");
  }
  for (const ListingFieldFacts& field : listingFields()) {
    if (field.isAppInfo && own.find(field.key) != nullptr) {
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
    const JSONData* own = object_.find(*platform);
    if (own != nullptr && own->find(key) != nullptr) return textIn(*own, key);
  }
  return textIn(object_, key);
}

bool ListingObject::isTop(const PlatformsWritten& written) const {
  if (wasEmpty_ || written.all.empty()) return true;
  auto top = std::find_if(written.all.begin(), written.all.end(),
                          [&](const std::string& platform) { return object_.find(platform) == nullptr; });
  return written.platform == (top == written.all.end() ? written.all.front() : *top);
}

void ListingObject::dropOwn(std::string_view key, const std::string& platform) {
  if (JSONData* own = object_.find(platform); own != nullptr) own->erase(key);
}

void ListingObject::putOwn(std::string_view key, const std::optional<std::string>& value, const std::string& platform) {
  if (object_.find(platform) == nullptr) object_.set(platform, JSONData::object());
  object_.find(platform)->set(std::string(key), textOrNull(value));
}

void ListingObject::put(std::string_view key, const std::optional<std::string>& value,
                        const PlatformsWritten& written) {
  if (text(key, written.platform) == value) return;
  const bool top = isTop(written);
  dropOwn(key, written.platform);
  if (const JSONData* own = object_.find(written.platform); top && own != nullptr && own->isEmpty()) {
    object_.erase(written.platform);
  }
  if (text(key) == value) return;
  if (!top) return putOwn(key, value, written.platform);
  std::vector<std::optional<std::string>> before;
  for (const std::string& platform : written.kept) before.push_back(text(key, platform));
  putShared(key, value);
  for (std::size_t i = 0; i < before.size(); ++i) {
    if (text(key, written.kept[i]) != before[i]) putOwn(key, before[i], written.kept[i]);
  }
  if (!wasEmpty_) return;
  // An object, be it empty, says of those before this one that the top level isn't theirs.
  for (const std::string& platform : written.all) {
    if (platform == written.platform) return;
    if (object_.find(platform) == nullptr) object_.set(platform, JSONData::object());
  }
}

void ListingObject::putShared(std::string_view key, const std::optional<std::string>& value,
                              const std::string& platform) {
  if (text(key, platform) == value) return;
  dropOwn(key, platform);
  if (text(key) == value) return;
  if (value) {
    object_.set(std::string(key), *value);
  } else {
    object_.erase(key);
  }
}

} // namespace kestu
