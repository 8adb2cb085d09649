#include "core/release/listing_refusals.hpp"

#include "core/console/printable.hpp"
#include "core/console/readable.hpp"
#include "core/project/apple_locales.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <utility>

namespace kestu::ReleaseCheck {

namespace {

std::string doubt(const std::string& locale) {
  return locale + AppleLocales::doubt(locale) + ", so Apple may not take it.";
}

std::string refusal(const MisnamedLanguage& language) {
  if (Text::lowercased(language.name) == "default") return language.path + " isn't read: it's written default.";
  return language.path + AppleLocales::refusal(language.name);
}

/// Among the languages chosen, or meant as one of them.
bool isChosen(const std::string& name, const std::vector<std::string>& locales) {
  auto has = [&](const std::string& locale) {
    return std::find(locales.begin(), locales.end(), locale) != locales.end();
  };
  return locales.empty() || has(name) || has(AppleLocales::near(name).value_or(""));
}

/// A file of the language, for a message.
std::string pathOf(const RepoListing& listing, const std::string& locale) {
  auto found = listing.files.find(locale);
  if (found == listing.files.end() || found->second.empty()) return locale;
  const std::string& path = found->second.begin()->second;
  return listing.layout == MetadataLayout::fastlane ? path.substr(0, path.rfind('/')) : path;
}

std::vector<MisnamedLanguage> misnamed(const RepoListing& listing) {
  std::vector<MisnamedLanguage> all = listing.misnamed;
  for (const auto& [locale, text] : listing.texts) {
    if (AppleLocales::standing(locale) == AppleLocales::Standing::refused) {
      all.push_back({locale, pathOf(listing, locale)});
    }
  }
  return all;
}

} // namespace

Findings languages(const RepoListing& listing) {
  Findings findings;
  for (const MisnamedLanguage& each : misnamed(listing)) {
    findings.push_back({Level::error, "language", std::nullopt, refusal(each), {}, each.path});
  }
  for (const auto& [locale, text] : listing.texts) {
    if (AppleLocales::standing(locale) != AppleLocales::Standing::unknown) continue;
    // One that resembles another is likely a slip.
    Level level = AppleLocales::near(locale) ? Level::warning : Level::note;
    findings.push_back({level, "language", locale, doubt(locale), {}, pathOf(listing, locale)});
  }
  return findings;
}

Findings refusals(const ListingChange& change) {
  Findings found = texts(change.texts, "", Purpose::repository, "", KeywordCount::characters);
  for (Finding& each : reviewNotes(change.review)) found.push_back(std::move(each));
  std::erase_if(found, [](const Finding& finding) { return finding.level != Level::error; });
  return found;
}

Findings refusals(const RepoListing& repo, const ListingChange& change, const std::vector<std::string>& locales) {
  Findings found;
  for (const MisnamedLanguage& each : misnamed(repo)) {
    if (isChosen(each.name, locales)) found.push_back({Level::error, "language", std::nullopt, refusal(each)});
  }
  for (Finding& each : refusals(change)) found.push_back(std::move(each));
  return found;
}

std::vector<std::string> leftOut(const RepoListing& repo, const std::vector<std::string>& locales) {
  std::vector<std::string> all;
  for (const MisnamedLanguage& each : repo.misnamed) {
    if (isChosen(each.name, locales)) all.push_back(refusal(each) + " Nothing in it is sent.");
  }
  return all;
}

std::vector<std::string> doubts(const ListingChange& change, KeywordCount count) {
  std::vector<std::string> all;
  Findings inCharacters = refusals(change);
  for (const Finding& each : texts(change.texts, "", Purpose::repository, "", count)) {
    bool stops = std::any_of(inCharacters.begin(), inCharacters.end(),
                             [&](const Finding& other) { return other.message == each.message; });
    if (each.level == Level::error && !stops) all.push_back(each.message);
  }
  for (const auto& [locale, text] : change.texts) {
    if (AppleLocales::standing(locale) == AppleLocales::Standing::unknown) all.push_back(doubt(locale));
  }
  return all;
}

CLIError notSent(const Findings& refusals) {
  std::string message = "Apple wouldn't take these, so nothing was sent:";
  for (const Finding& finding : refusals) message += "\n" + printable(readableStart(finding.message));
  return {CLIError::Kind::failed, message};
}

} // namespace kestu::ReleaseCheck
