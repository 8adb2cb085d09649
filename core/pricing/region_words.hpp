#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace kestu {

/// What a word for countries names.
struct RegionWord {
  std::string word;                          ///< "se", "eu": a country by its code, a region in lower case
  bool isRegion = false;                     ///< of several countries
  std::vector<std::string_view> storefronts; ///< codes, in order

  bool isEuro() const { return word == "eur"; }

  /// A country (se, or Apple's territory SWE), eu, eur or one of Apple's regions, letters of either case. Any other
  /// word is a CLIError of kind usage.
  static RegionWord read(std::string_view text);
};

namespace RegionWords {

/// The storefronts of words between commas ("my,in,eu"), each once, in order of their codes. Words that name nothing
/// are a CLIError of kind usage, and so is a text without any. `twice` takes the words that stand there more than once,
/// and the countries that stand beside their region.
std::vector<std::string> storefronts(std::string_view list, std::set<std::string>* twice = nullptr);

/// What follows a word that names nothing: " isn't a country (se, …)".
std::string isNone();

} // namespace RegionWords

} // namespace kestu
