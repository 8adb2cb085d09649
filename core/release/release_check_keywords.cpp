#include "core/release/release_check.hpp"
#include "core/support/text.hpp"
#include "core/support/utf8.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <set>
#include <utility>

namespace kestu::ReleaseCheck {

namespace {

/// Runs of word characters, lower-cased.
std::vector<std::string> bareWords(std::string_view text) {
  std::string separated;
  for (std::size_t position = 0; position < text.size();) {
    UTF8::Decoded decoded = UTF8::decode(text, position);
    if (Text::isWordCharacter(decoded.value)) {
      separated += text.substr(position, decoded.length);
    } else {
      separated += ' ';
    }
    position += decoded.length;
  }
  return Text::words(Text::lowercased(separated));
}

std::set<std::string> wordsOf(const LocaleText& text) {
  std::set<std::string> words;
  for (ListingField field : {ListingField::name, ListingField::subtitle}) {
    if (!text[field]) continue;
    for (std::string& word : bareWords(*text[field])) words.insert(std::move(word));
  }
  return words;
}

bool beginsWithBlank(std::string_view entry) {
  return !entry.empty() && UTF8::isWhiteSpace(UTF8::decode(entry, 0).value);
}

/// The commas of other scripts that are there, by name.
std::vector<std::string> otherCommas(const std::string& text) {
  static constexpr std::array<std::pair<std::string_view, std::string_view>, 4> all = {
      {{"，", "full-width commas (，)"},
       {"、", "ideographic commas (、)"},
       {"､", "half-width ideographic commas (､)"},
       {"،", "Arabic commas (،)"}}};
  std::vector<std::string> found;
  for (const auto& [comma, name] : all) {
    if (text.find(comma) != std::string::npos) found.emplace_back(name);
  }
  return found;
}

} // namespace

Findings keywords(const LocaleText& text, const std::string& locale) {
  Findings findings;
  const auto& value = text[ListingField::keywords];
  if (!value) return findings;
  std::set<std::string> searched = wordsOf(text);
  std::set<std::string> seen;
  std::vector<std::string> repeated;
  std::vector<std::string> known;
  bool spaced = false;
  bool first = true;
  auto addOnce = [](std::vector<std::string>& to, const std::string& keyword) {
    if (std::find(to.begin(), to.end(), keyword) == to.end()) to.push_back(keyword);
  };
  for (const std::string& entry : Text::split(*value, ',')) {
    std::string keyword = Text::trimmed(entry);
    spaced = spaced || (!first && !keyword.empty() && beginsWithBlank(entry));
    first = false;
    if (keyword.empty()) continue;
    std::string lowered = Text::lowercased(keyword);
    if (!seen.insert(lowered).second) addOnce(repeated, lowered);
    std::vector<std::string> words = bareWords(keyword);
    bool allSearched =
        std::all_of(words.begin(), words.end(), [&](const auto& word) { return searched.contains(word); });
    if (!words.empty() && allSearched) addOnce(known, lowered);
  }
  auto add = [&](const std::string& message) {
    findings.push_back({Level::warning, "keywords", locale, message, {ListingField::keywords}});
  };
  if (auto commas = otherCommas(*value); !commas.empty()) {
    add(fmt::format("{}: the keywords have {}, and only a plain comma is sure to separate them, in 1 byte.", locale,
                    list(commas)));
  }
  if (spaced) add(locale + ": keywords have spaces after commas, which use up bytes of the 100.");
  if (!repeated.empty()) add(locale + ": the keywords repeat " + list(repeated) + " twice.");
  if (!known.empty()) {
    add(locale + ": the keywords have " + list(known) +
        " from the name or subtitle, which the App Store searches anyway.");
  }
  return findings;
}

} // namespace kestu::ReleaseCheck
