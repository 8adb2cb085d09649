#include "core/listing/listing_file.hpp"
#include "core/listing/metadata.hpp"
#include "core/support/json.hpp"

#include <algorithm>
#include <set>

namespace kestu::Metadata {

namespace {

std::optional<JSONData> objectOf(const std::optional<std::string>& text) {
  if (!text) return JSONData::object();
  try {
    JSONValue value = JSONValue::parse(*text);
    if (value.isObject()) return JSONData::copied(value);
  } catch (const JSONError&) {
  }
  return std::nullopt;
}

std::optional<std::string> said(const JSONData* value) {
  if (value == nullptr || value->isNull()) return std::nullopt;
  return value->text() != nullptr ? *value->text() : value->compact();
}

/// Somebody's phone or e-mail, by its key or its file's name.
bool isPersonal(std::string_view name) {
  return std::any_of(reviewTexts().begin(), reviewTexts().end(), [&](const ReviewTextFacts& text) {
    return text.isPersonal && (text.key == name || name.ends_with("/" + std::string(text.fastlaneFile)));
  });
}

void compare(std::vector<ChangeItem>& items, const std::string& path, const std::string& lead, const JSONData& before,
             const JSONData& after) {
  std::set<std::string> keys;
  for (const JSONData* object : {&before, &after}) {
    for (const auto& [key, value] : object->members()) keys.insert(key);
  }
  for (const std::string& key : keys) {
    const JSONData* old = before.find(key);
    const JSONData* now = after.find(key);
    auto isObject = [](const JSONData* value) { return value != nullptr && value->isObject(); };
    if (isObject(old) || isObject(now)) {
      compare(items, path, lead + key + ".", isObject(old) ? *old : JSONData::object(),
              isObject(now) ? *now : JSONData::object());
    } else if (said(old) != said(now)) {
      items.push_back({path, lead + key, said(old), said(now), isPersonal(key) || key == "demoAccountPassword"});
    }
  }
}

} // namespace

std::vector<ChangeItem> differences(const std::string& path, const std::optional<std::string>& before,
                                    const std::string& after) {
  auto old = objectOf(before);
  auto now = objectOf(after);
  std::vector<ChangeItem> items;
  if (old && now) {
    compare(items, path, "", *old, *now);
    return items;
  }
  auto from = before ? ListingFile::value(*before) : std::nullopt;
  auto to = ListingFile::value(after);
  if (from != to) items.push_back({path, "text", from, to, isPersonal(path)});
  return items;
}

} // namespace kestu::Metadata
