#include "core/project/apple_locales.hpp"

#include "core/support/text.hpp"

#include <algorithm>
#include <vector>

namespace kestu::AppleLocales {

namespace {

constexpr std::array<AppleLocale, 50> locales = {{
    {"ar-SA", "Arabic"},
    {"bn-BD", "Bangla"},
    {"ca", "Catalan"},
    {"cs", "Czech"},
    {"da", "Danish"},
    {"de-DE", "German"},
    {"el", "Greek"},
    {"en-AU", "English (Australia)"},
    {"en-CA", "English (Canada)"},
    {"en-GB", "English (U.K.)"},
    {"en-US", "English (U.S.)"},
    {"es-ES", "Spanish (Spain)"},
    {"es-MX", "Spanish (Mexico)"},
    {"fi", "Finnish"},
    {"fr-CA", "French (Canada)"},
    {"fr-FR", "French"},
    {"gu-IN", "Gujarati"},
    {"he", "Hebrew"},
    {"hi", "Hindi"},
    {"hr", "Croatian"},
    {"hu", "Hungarian"},
    {"id", "Indonesian"},
    {"it", "Italian"},
    {"ja", "Japanese"},
    {"kn-IN", "Kannada"},
    {"ko", "Korean"},
    {"ml-IN", "Malayalam"},
    {"mr-IN", "Marathi"},
    {"ms", "Malay"},
    {"nl-NL", "Dutch"},
    {"no", "Norwegian"},
    {"or-IN", "Odia"},
    {"pa-IN", "Punjabi"},
    {"pl", "Polish"},
    {"pt-BR", "Portuguese (Brazil)"},
    {"pt-PT", "Portuguese (Portugal)"},
    {"ro", "Romanian"},
    {"ru", "Russian"},
    {"sk", "Slovak"},
    {"sl-SI", "Slovenian"},
    {"sv", "Swedish"},
    {"ta-IN", "Tamil"},
    {"te-IN", "Telugu"},
    {"th", "Thai"},
    {"tr", "Turkish"},
    {"uk", "Ukrainian"},
    {"ur-PK", "Urdu"},
    {"vi", "Vietnamese"},
    {"zh-Hans", "Chinese (Simplified)"},
    {"zh-Hant", "Chinese (Traditional)"},
}};

struct Meaning {
  std::string_view written, code;
};

/// What a language without a region means where Apple has several, and codes that others use.
constexpr std::array<Meaning, 17> meanings = {{
    {"en", "en-US"},
    {"es", "es-ES"},
    {"fr", "fr-FR"},
    {"pt", "pt-BR"},
    {"zh", "zh-Hans"},
    {"zh-cn", "zh-Hans"},
    {"zh-sg", "zh-Hans"},
    {"zh-tw", "zh-Hant"},
    {"zh-hk", "zh-Hant"},
    {"zh-mo", "zh-Hant"},
    {"nb", "no"},
    {"nn", "no"},
    {"iw", "he"},
    {"in", "id"},
    {"en-uk", "en-GB"},
    {"es-419", "es-MX"},
    {"es-la", "es-MX"},
}};

bool isLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// Lower-cased, dashes for what stands between parts, without the ending of a localization's folder.
std::string plain(std::string_view text) {
  constexpr std::string_view ending = ".lproj";
  std::string result = Text::lowercased(Text::trimmed(text));
  if (result.ends_with(ending)) result.resize(result.size() - ending.size());
  std::replace_if(
      result.begin(), result.end(), [](char c) { return c == '_' || c == ' ' || c == '.'; }, '-');
  return result;
}

std::string squeezed(std::string text) {
  std::erase(text, '-');
  return text;
}

/// "german" and "german-(austria)" alike, as `plain` gives them.
bool isNamed(const AppleLocale& locale, const std::string& text) {
  std::string name = plain(locale.name);
  return text == name || text == name.substr(0, name.find("-("));
}

std::optional<std::string> meaning(std::string_view text) {
  for (const Meaning& each : meanings) {
    if (each.written == text) return std::string(each.code);
  }
  for (const AppleLocale& each : locales) {
    if (Text::lowercased(each.code) == text) return std::string(each.code);
  }
  return std::nullopt;
}

/// The language that Apple has for a code's first part: "de-DE" of "de".
std::optional<std::string> ofLanguage(std::string_view language) {
  if (auto known = meaning(language)) return known;
  for (const AppleLocale& each : locales) {
    if (each.code.substr(0, each.code.find('-')) == language) return std::string(each.code);
  }
  return std::nullopt;
}

/// Scripts have four letters, regions two, or three digits.
bool isScriptOrRegion(std::string_view part) {
  bool letters = std::all_of(part.begin(), part.end(), isLetter);
  bool digits = std::all_of(part.begin(), part.end(), isDigit);
  return (letters && (part.size() == 4 || part.size() == 2)) || (digits && part.size() == 3);
}

std::optional<std::string> ofParts(const std::string& text) {
  std::vector<std::string> parts = Text::split(text, '-');
  if (parts.front().size() > 3 || !std::all_of(parts.begin() + 1, parts.end(), isScriptOrRegion)) return std::nullopt;
  for (; parts.size() > 1; parts.pop_back()) {
    if (auto known = meaning(Text::joined(parts, "-"))) return known;
  }
  return ofLanguage(parts.front());
}

} // namespace

const std::array<AppleLocale, 50>& all() { return locales; }

bool localeShape(std::string_view text) {
  for (std::size_t part = 0; part < 4; ++part) {
    std::size_t length = std::min(text.find('-'), text.size());
    std::string_view subtag = text.substr(0, length);
    bool sized = part == 0 ? length >= 2 && length <= 3 : length >= 2 && length <= 8;
    bool spelled =
        std::all_of(subtag.begin(), subtag.end(), [&](char c) { return isLetter(c) || (part > 0 && isDigit(c)); });
    if (!sized || !spelled) return false;
    if (length == text.size()) return true;
    text.remove_prefix(length + 1);
  }
  return false;
}

bool isApples(std::string_view code) {
  return std::any_of(locales.begin(), locales.end(), [&](const AppleLocale& each) { return each.code == code; });
}

std::optional<std::string> near(std::string_view text) {
  std::string written = plain(text);
  if (auto known = meaning(written)) return known;
  for (const AppleLocale& each : locales) {
    bool joined = each.code.find('-') != std::string_view::npos && squeezed(Text::lowercased(each.code)) == written;
    if (joined) return std::string(each.code);
  }
  if (auto known = ofParts(written)) return known;
  for (const AppleLocale& each : locales) {
    if (written == plain(each.name)) return std::string(each.code);
  }
  auto named = std::find_if(locales.begin(), locales.end(), [&](const auto& each) { return isNamed(each, written); });
  if (named == locales.end()) return std::nullopt;
  return ofLanguage(named->code.substr(0, named->code.find('-')));
}

Standing standing(std::string_view name) {
  if (isApples(name)) return Standing::apples;
  if (!localeShape(name)) return Standing::refused;
  std::string lower = Text::lowercased(name);
  bool otherLetters = std::any_of(locales.begin(), locales.end(),
                                  [&](const auto& each) { return Text::lowercased(each.code) == lower; });
  return otherLetters ? Standing::refused : Standing::unknown;
}

std::string refusal(std::string_view name) {
  auto meant = near(name);
  return meant ? " can't be a language: it's written " + *meant + "."
               : " can't be a language, which is written as en-US.";
}

std::string doubt(std::string_view name) {
  auto meant = near(name);
  return " isn't one of Apple's languages" + (meant ? " (" + *meant + " is)" : "");
}

} // namespace kestu::AppleLocales
