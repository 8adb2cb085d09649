#include "core/listing/layouts.hpp"

#include "core/listing/unread.hpp"
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

/// Where a key belongs, or how it is spelt.
std::string hintOf(const std::string& key, Fields fields) {
  bool isKestus = fields == Fields::listed || fields == Fields::released;
  auto field = listingFieldOfKey(key);
  if (key == notesKey && !isKestus) return "kestu's layout has it";
  if (field || key == notesKey) {
    bool released = key == notesKey || *field == ListingField::whatsNew;
    if (isKestus)
      return released ? "it goes in metadata/releases/<version>/<locale>.json"
                      : "it goes in metadata/listing/<locale>.json";
    return facts(*field).isAppInfo ? "it goes in metadata/app-info/<locale>.json"
                                   : "it goes in metadata/version/<version>/<locale>.json";
  }
  const ListingFieldFacts* meant = fieldMeant(key);
  return meant != nullptr ? std::string(meant->key) + " is" : "";
}

/// Keys that aren't read, in the platforms' objects too.
void noteKeys(Unread& unread, const std::string& file, const JSONData& object, Fields fields) {
  for (const auto& [key, value] : object.members()) {
    if (std::find(platforms.begin(), platforms.end(), key) != platforms.end()) {
      if (value.isObject()) noteKeys(unread, file, value, fields);
      continue;
    }
    auto field = listingFieldOfKey(key);
    bool read = field ? holds(fields, *field) : key == notesKey && fields == Fields::released;
    if (!read) unread.add(key, file, hintOf(key, fields));
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
  keepPlaces(listing, folder, fields);
  std::optional<std::string> defaultNotes;
  Unread unread(folder);
  auto entries = ListingFile::languages(place.root, folder, ListingFile::Entries::jsonFiles);
  for (const ListingEntry& entry : entries) {
    place.look([&] {
      ListingObject object = ListingObject::read(place.root, entry.path, {notesKey});
      noteKeys(unread, entry.path.substr(folder.size() + 1), object.raw(), fields);
      for (const ListingFieldFacts& field : listingFields()) {
        if (!holds(fields, field.field)) continue;
        take(listing, entry, field.field, object.text(field.key, place.platform), entry.path);
      }
      if (fields != Fields::released) return;
      auto notes = object.text(notesKey, place.platform);
      if (notes) (entry.locale == "default" ? defaultNotes.emplace() : listing.testNotes[entry.locale]) = *notes;
    });
  }
  std::vector<std::string_view> known;
  if (fields == Fields::released) known = {"release.json", "review.json", "whatsnew"};
  noteEntries(listing, unread, place.root, folder, ListingFile::Entries::jsonFiles, known);
  unread.tell(listing);
  if (!defaultNotes) return;
  for (const auto& [locale, text] : listing.texts) listing.testNotes.try_emplace(locale, *defaultNotes);
}

void keepPlaces(RepoListing& listing, const std::string& folder, Fields fields) {
  for (const ListingFieldFacts& field : listingFields()) {
    if (holds(fields, field.field)) listing.places[field.field] = {folder + "/", ".json"};
  }
}

void files(ListingFiles& result, const std::filesystem::path& root, const std::string& folder, Fields fields,
           const ListingToWrite& listing, const PlatformsWritten& written) {
  auto entries = ListingFile::languages(root, folder, ListingFile::Entries::jsonFiles);
  ListingObject defaults = ListingObject::toChange(root, pathOf(entries, folder, "default"));
  auto put = [&](ListingObject& object, std::string_view key, const std::optional<std::string>& value, bool shared) {
    const std::string& platform = written.platform;
    if (value && !object.text(key, platform) && defaults.text(key, platform) == value) return;
    shared ? object.putShared(key, value, platform) : object.put(key, value, written);
  };
  LocaleTexts texts = listing.texts;
  for (const auto& [locale, notes] : listing.testNotes) texts.try_emplace(locale);
  for (const auto& [locale, text] : texts) {
    ListingObject object = ListingObject::toChange(root, pathOf(entries, folder, locale));
    for (const ListingFieldFacts& field : listingFields()) {
      if (holds(fields, field.field)) put(object, field.key, text[field.field], field.isAppInfo);
    }
    if (fields == Fields::released) {
      auto notes = listing.testNotes.find(locale);
      put(object, notesKey, notes == listing.testNotes.end() ? std::nullopt : std::optional(notes->second), false);
    }
    if (!object.isEmpty() || object.isThere()) result[object.path()] = object.serialized();
  }
}

} // namespace kestu::LocaleFiles
