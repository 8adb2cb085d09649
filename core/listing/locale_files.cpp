#include "core/listing/layouts.hpp"

#include "core/project/platform.hpp"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

namespace kestu::LocaleFiles {

namespace {

constexpr std::string_view notesKey = "whatToTest";

/// The language's file in the folder; where its name's ending is in capitals, that one.
std::string pathOf(const std::vector<ListingEntry>& entries, const std::string& folder, const std::string& locale) {
  for (const ListingEntry& entry : entries) {
    if (entry.locale == locale) return entry.path;
  }
  return folder + "/" + locale + ".json";
}

void noteKeys(RepoListing& listing, const std::string& path, const nlohmann::json& object, Fields fields) {
  for (const auto& [key, value] : object.items()) {
    if (std::find(platforms.begin(), platforms.end(), key) != platforms.end()) {
      if (value.is_object()) noteKeys(listing, path, value, fields);
      continue;
    }
    auto field = listingFieldOfKey(key);
    bool released = key == notesKey || (field && *field == ListingField::whatsNew);
    if (released ? fields == Fields::released : field && holds(fields, *field)) continue;
    listing.notes.push_back(path + ": " + key +
                            (released ? " isn't read here: it goes in metadata/releases/<version>/<locale>.json."
                             : field  ? " isn't read here: it goes in metadata/listing/<locale>.json."
                                      : " isn't a key that kestu reads."));
  }
}

/// Keys that nobody reads, and files that no language names: as often as not a slip.
void noteUnread(RepoListing& listing, const ListingPlace& place, const std::string& folder, Fields fields,
                const std::vector<ListingEntry>& entries) {
  if (fields != Fields::listed && fields != Fields::released) return;
  for (const ListingEntry& entry : entries) {
    noteKeys(listing, entry.path, ListingObject::plain(place.root, entry.path).raw(), fields);
  }
  std::error_code none;
  std::vector<std::string> names;
  for (const auto& item : std::filesystem::directory_iterator(place.root / folder, none)) {
    std::string name = item.path().filename().string();
    bool isOther = name == "release.json" || name == "review.json" || name.starts_with('.');
    auto isEntry = [&](const ListingEntry& entry) { return entry.path == folder + "/" + name; };
    if (!name.ends_with(".json") || isOther || std::any_of(entries.begin(), entries.end(), isEntry)) continue;
    names.push_back(name);
  }
  std::sort(names.begin(), names.end());
  for (const std::string& name : names) {
    listing.notes.push_back(folder + "/" + name + " isn't read: no language is written so, as en-US is.");
  }
}

} // namespace

bool holds(Fields fields, ListingField field) {
  switch (fields) {
  case Fields::ofApp:
    return facts(field).isAppInfo;
  case Fields::ofVersion:
    return !facts(field).isAppInfo;
  case Fields::listed:
    return field != ListingField::whatsNew;
  case Fields::released:
    return field == ListingField::whatsNew;
  }
  return false;
}

void take(RepoListing& listing, const ListingEntry& entry, ListingField field, std::optional<std::string> value,
          const std::string& path) {
  if (!value) return;
  if (entry.locale == "default" && !listing.defaults) listing.defaults.emplace();
  LocaleText& text = entry.locale == "default" ? *listing.defaults : listing.texts[entry.locale];
  text[field] = std::move(value);
  listing.files[entry.locale][field] = path;
}

void read(RepoListing& listing, const ListingPlace& place, const std::string& folder, Fields fields) {
  std::optional<std::string> defaultNotes;
  auto entries = ListingFile::languages(place.root, folder, ListingFile::Entries::jsonFiles);
  for (const ListingEntry& entry : entries) {
    ListingObject object = ListingObject::read(place.root, entry.path, {notesKey});
    if (entry.locale != "default") listing.texts.try_emplace(entry.locale);
    for (const ListingFieldFacts& field : listingFields()) {
      if (!holds(fields, field.field)) continue;
      take(listing, entry, field.field, object.text(field.key, place.platform), entry.path);
    }
    if (fields != Fields::released) continue;
    auto notes = object.text(notesKey, place.platform);
    if (notes) (entry.locale == "default" ? defaultNotes.emplace() : listing.testNotes[entry.locale]) = *notes;
  }
  noteUnread(listing, place, folder, fields, entries);
  if (!defaultNotes) return;
  for (const auto& [locale, text] : listing.texts) listing.testNotes.try_emplace(locale, *defaultNotes);
}

void files(ListingFiles& result, const std::filesystem::path& root, const std::string& folder, Fields fields,
           const ListingToWrite& listing) {
  auto entries = ListingFile::languages(root, folder, ListingFile::Entries::jsonFiles);
  ListingObject defaults = ListingObject::toChange(root, pathOf(entries, folder, "default"));
  auto put = [&](ListingObject& object, std::string_view key, const std::optional<std::string>& value, bool first) {
    bool given = value && !object.text(key, listing.platform) && defaults.text(key, listing.platform) == value;
    if (!given) object.put(key, value, listing.platform, first);
  };
  LocaleTexts texts = listing.texts;
  for (const auto& [locale, notes] : listing.testNotes) texts.try_emplace(locale);
  for (const auto& [locale, text] : texts) {
    ListingObject object = ListingObject::toChange(root, pathOf(entries, folder, locale));
    for (const ListingFieldFacts& field : listingFields()) {
      if (!holds(fields, field.field)) continue;
      put(object, field.key, text[field.field], listing.firstPlatform || field.isAppInfo);
    }
    if (fields == Fields::released) {
      auto notes = listing.testNotes.find(locale);
      put(object, notesKey, notes == listing.testNotes.end() ? std::nullopt : std::optional(notes->second),
          listing.firstPlatform);
    }
    if (!object.isEmpty() || object.isThere()) result[object.path()] = object.serialized();
  }
}

} // namespace kestu::LocaleFiles
