#include "core/project/apple_locales.hpp"
#include "core/release/placeholder.hpp"
#include "core/release/release_check.hpp"
#include "core/release/web_address.hpp"
#include "core/support/text.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <set>

namespace kestu::ReleaseCheck {

namespace {

using enum ListingField;

bool isLookedAt(ListingField field, Purpose purpose) { return purpose != Purpose::out || field == promotionalText; }

/// What App Store Connect wants of every language before it lets a version go to App Review.
bool isRequired(ListingField field, Purpose purpose, std::string_view platform) {
  if (purpose == Purpose::out || purpose == Purpose::repository) return false;
  switch (field) {
  case name:
  case description:
  case keywords:
  case supportUrl:
    return true;
  case whatsNew:
    return purpose == Purpose::update;
  case privacyPolicyUrl:
    return platform != "tvos"; // an Apple TV app's policy is a text
  default:
    return false;
  }
}

bool has(const LocaleText& text, ListingField field) { return text[field] && !text[field]->empty(); }

void checkLength(Findings& findings, const std::string& locale, const ListingFieldFacts& field,
                 const std::string& value, KeywordCount counting) {
  const bool areKeywords = field.field == keywords;
  const bool inBytes = areKeywords && counting == KeywordCount::bytes;
  // There are never more characters than bytes, and counting them takes its time.
  if (field.limit && value.size() > *field.limit) {
    const std::size_t characters = Text::characters(value);
    const std::size_t count = inBytes ? value.size() : characters;
    if (count > *field.limit) {
      const bool bytesAlone = characters <= *field.limit;
      findings.push_back({Level::error,
                          "limit",
                          locale,
                          fmt::format("{}: {} {} {} {}, {} at most.{}", locale, field.label, areKeywords ? "are" : "is",
                                      count, inBytes ? "bytes" : "characters", *field.limit,
                                      bytesAlone ? " App Store Connect has been seen to take 100 characters: kestu "
                                                   "config keywords characters counts so."
                                                 : ""),
                          {field.field}});
    }
  }
  if (field.field == name && Text::characters(value) < 2) {
    findings.push_back({Level::error, "limit", locale, locale + ": name is under 2 characters.", {name}});
  }
}

void checkField(Findings& findings, const std::string& locale, const ListingFieldFacts& field, const std::string& value,
                KeywordCount counting) {
  checkLength(findings, locale, field, value, counting);
  if (field.isURL && !isWebAddress(value)) {
    findings.push_back({Level::error,
                        "url",
                        locale,
                        fmt::format("{}: {} isn't a web address: {}", locale, field.label, value),
                        {field.field}});
  }
  // A warning: "your text" is what some apps are about, and TODO is a word of Spanish.
  if (auto found = placeholderIn(value)) {
    findings.push_back({Level::warning,
                        "placeholder",
                        locale,
                        fmt::format("{}: {} has \"{}\", which reads as placeholder text.", locale, field.label,
                                    Text::joined(Text::words(*found), " ")),
                        {field.field}});
  }
}

void checkGaps(Findings& findings, const std::string& locale, const LocaleText& text, const LocaleText* primaryText,
               const std::string& primary, Purpose purpose, std::string_view platform) {
  if (AppleLocales::standing(locale) == AppleLocales::Standing::refused) return; // nothing but its name is wrong
  std::vector<std::string> required;
  std::vector<std::string> missing;
  std::vector<ListingField> requiredFields;
  std::vector<ListingField> missingFields;
  for (const ListingFieldFacts& field : listingFields()) {
    if (has(text, field.field) || !isLookedAt(field.field, purpose)) continue;
    if (isRequired(field.field, purpose, platform)) {
      required.emplace_back(field.label);
      requiredFields.push_back(field.field);
    } else if (primaryText && has(*primaryText, field.field)) {
      missing.emplace_back(field.label);
      missingFields.push_back(field.field);
    }
  }
  if (!required.empty()) {
    findings.push_back({Level::error, "required", locale,
                        fmt::format("{}: no {}, which App Review needs.", locale, list(required, true)),
                        requiredFields});
  }
  if (!missing.empty()) {
    findings.push_back({Level::warning, "missing", locale,
                        fmt::format("{}: no {}, which {} has.", locale, list(missing, true), primary), missingFields});
  }
}

/// The file that one of the fields is read from, or where none of them is there, that in which the first belongs. None
/// for a language that the repository hasn't.
std::optional<std::string> fileOf(const RepoListing& repository, const std::string& locale,
                                  const std::vector<ListingField>& fields) {
  const FieldFiles& files = repository.files;
  for (const std::string& each : {locale, std::string("default")}) {
    auto language = files.find(each);
    if (language == files.end()) continue;
    for (ListingField field : fields) {
      if (auto path = language->second.find(field); path != language->second.end()) return path->second;
    }
  }
  auto own = files.find(locale);
  if (own == files.end() || own->second.empty()) return std::nullopt;
  auto place = fields.empty() ? repository.places.end() : repository.places.find(fields.front());
  return place == repository.places.end() ? own->second.begin()->second : place->second.of(locale);
}

} // namespace

Findings texts(const LocaleTexts& texts, const std::string& primary, Purpose purpose, std::string_view platform,
               KeywordCount count, const RepoListing& repository) {
  Findings findings;
  auto primaryText = texts.find(primary);
  for (const auto& [locale, text] : texts) {
    for (const ListingFieldFacts& field : listingFields()) {
      const auto& value = text[field.field];
      if (value && isLookedAt(field.field, purpose)) checkField(findings, locale, field, *value, count);
    }
    bool compared = primaryText != texts.end() && locale != primary;
    checkGaps(findings, locale, text, compared ? &primaryText->second : nullptr, primary, purpose, platform);
    if (purpose == Purpose::out) continue;
    Findings ofKeywords = ReleaseCheck::keywords(text, locale);
    findings.insert(findings.end(), ofKeywords.begin(), ofKeywords.end());
  }
  for (Finding& finding : findings) finding.file = fileOf(repository, *finding.locale, finding.fields);
  return findings;
}

namespace {

/// Calls with the locale, the field, its path and the primary language's path for each translation that changed before
/// the primary language.
template <class Take>
void eachStale(const FieldFiles& files, const std::map<std::string, Moment>& lastChanged, const std::string& primary,
               Take take) {
  auto ofPrimary = files.find(primary);
  if (ofPrimary == files.end()) return;
  for (const auto& [locale, fields] : files) {
    if (locale == primary || locale == "default") continue;
    for (const auto& [field, path] : fields) {
      auto primaryPath = ofPrimary->second.find(field);
      if (primaryPath == ofPrimary->second.end()) continue;
      auto own = lastChanged.find(path);
      auto of = lastChanged.find(primaryPath->second);
      if (own == lastChanged.end() || of == lastChanged.end() || own->second >= of->second) continue;
      take(locale, field, path, primaryPath->second);
    }
  }
}

} // namespace

Findings stale(const FieldFiles& files, const std::map<std::string, Moment>& lastChanged, const std::string& primary) {
  Findings findings;
  eachStale(files, lastChanged, primary, [&](const auto& locale, ListingField field, const auto& path, const auto&) {
    findings.push_back({Level::warning,
                        "stale",
                        locale,
                        fmt::format("{}: {} last changed before {}'s, so may not say what it says now.", locale,
                                    facts(field).label, primary),
                        {field},
                        path});
  });
  return findings;
}

std::vector<std::string> suspects(const FieldFiles& files, const Git::Changes& changes, const std::string& primary) {
  std::set<std::string> paths;
  eachStale(files, changes.dates, primary, [&](const auto&, ListingField, const auto& own, const auto& of) {
    paths.insert({own, of});
  });
  return {paths.begin(), paths.end()};
}

Findings translations(const FieldFiles& files, const Git::Changes& changes, const std::string& primary) {
  if (!changes.unknown) return stale(files, changes.dates, primary);
  auto isTranslation = [&](const auto& language) { return language.first != primary && language.first != "default"; };
  if (!files.contains(primary) || std::none_of(files.begin(), files.end(), isTranslation)) return {};
  return {{Level::note, "stale", std::nullopt,
           fmt::format("Whether translations are older than {}'s wasn't checked: {}.", primary, *changes.unknown)}};
}

std::vector<std::string> paths(const FieldFiles& files) {
  std::set<std::string> paths;
  for (const auto& [locale, fields] : files) {
    for (const auto& [field, path] : fields) paths.insert(path);
  }
  return {paths.begin(), paths.end()};
}

} // namespace kestu::ReleaseCheck
