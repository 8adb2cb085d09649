#include "core/listing/unread.hpp"

#include "core/project/apple_locales.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>

namespace kestu {

namespace {

using ListingFile::Entries;

std::string lettersOf(std::string_view text) {
  std::string letters;
  for (char c : Text::lowercased(text)) {
    if (std::isalnum(static_cast<unsigned char>(c)) != 0) letters += c;
  }
  return letters;
}

std::string_view stem(std::string_view file) { return file.substr(0, file.rfind('.')); }

/// "a.json", "a.json and b.json", "40 files".
std::string places(const std::vector<std::string>& names) {
  constexpr std::size_t most = 3;
  if (names.size() > most) return std::to_string(names.size()) + (names[0].ends_with("json") ? " files" : " languages");
  std::string last = names.back();
  std::vector<std::string> before(names.begin(), names.end() - 1);
  return before.empty() ? last : Text::joined(before, ", ") + " and " + last;
}

/// Whether the folder or file holds what a language's would.
bool looksLikeText(const std::filesystem::path& root, const std::string& path, Entries kind) {
  if (kind == Entries::folders) {
    return std::any_of(listingFields().begin(), listingFields().end(), [&](const ListingFieldFacts& field) {
      std::error_code ignored;
      return std::filesystem::is_regular_file(root / path / field.fastlaneFile, ignored);
    });
  }
  try {
    const JSONData object = ListingObject::plain(root, path).raw();
    return std::any_of(listingFields().begin(), listingFields().end(),
                       [&](const ListingFieldFacts& field) { return object.find(field.key) != nullptr; });
  } catch (const CLIError&) {
    return false;
  }
}

} // namespace

void Unread::add(const std::string& what, const std::string& in, std::string hint) {
  auto& places = found_[{what, std::move(hint)}];
  if (!in.empty() && std::find(places.begin(), places.end(), in) == places.end()) places.push_back(in);
}

void Unread::tell(RepoListing& listing) const {
  if (found_.empty()) return;
  std::vector<std::string> items;
  for (const auto& [item, in] : found_) {
    items.push_back(item.first + (in.empty() ? "" : " in " + places(in)) +
                    (item.second.empty() ? "" : " (" + item.second + ")"));
  }
  listing.notes.push_back(folder_ + ": not read: " + Text::joined(items, "; ") + ".");
}

const ListingFieldFacts* fieldMeant(std::string_view written) {
  struct Word {
    std::string_view letters;
    ListingField field;
  };
  static constexpr std::array<Word, 5> others = {{{"changelog", ListingField::whatsNew},
                                                  {"keyword", ListingField::keywords},
                                                  {"title", ListingField::name},
                                                  {"privacypolicy", ListingField::privacyPolicyUrl},
                                                  {"promotext", ListingField::promotionalText}}};
  std::string letters = lettersOf(written);
  for (const ListingFieldFacts& field : listingFields()) {
    if (letters == lettersOf(field.key) || letters == lettersOf(field.label) ||
        letters == lettersOf(stem(field.fastlaneFile))) {
      return &field;
    }
  }
  for (const Word& word : others) {
    if (word.letters == letters) return &facts(word.field);
  }
  return nullptr;
}

bool isBeside(std::string_view name) {
  return name.starts_with('.') || Text::lowercased(name).starts_with("readme") || name.ends_with(".md");
}

void noteEntries(RepoListing& listing, Unread& unread, const std::filesystem::path& root, const std::string& folder,
                 Entries kind, const std::vector<std::string_view>& known) {
  for (const std::string& name : ListingFile::entries(root, folder)) {
    std::string path = folder + "/" + name;
    std::string locale = ListingFile::localeOf(name, kind);
    bool fits = ListingFile::isFolder(root, path) == (kind == Entries::folders) && !locale.empty();
    if (isBeside(name) || std::find(known.begin(), known.end(), name) != known.end()) continue;
    if (fits && (locale == "default" || AppleLocales::localeShape(locale))) continue;
    bool meant = fits && (AppleLocales::near(locale) || looksLikeText(root, path, kind));
    if (meant) {
      listing.misnamed.push_back({locale, path});
    } else {
      unread.add(name, "");
    }
  }
}

void noteAround(RepoListing& listing, const std::filesystem::path& root, const std::vector<std::string_view>& known) {
  const std::string folder = "metadata";
  Unread unread(folder);
  for (const std::string& name : ListingFile::entries(root, folder)) {
    if (isBeside(name) || std::find(known.begin(), known.end(), name) != known.end()) continue;
    bool isText = name.ends_with(".txt") || name.ends_with(".json");
    bool isLanguage = AppleLocales::standing(name) == AppleLocales::Standing::apples;
    if (ListingFile::isFolder(root, folder + "/" + name) ? isLanguage : isText) unread.add(name, "");
  }
  unread.tell(listing);
}

} // namespace kestu
