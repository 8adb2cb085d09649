#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace kestu {

/// A language of App Store Connect.
struct AppleLocale {
  std::string_view code; ///< "de-DE"
  std::string_view name; ///< in English: "German"
};

/// The languages of App Store Connect. Apple adds some now and then, so another that is well formed may be one too.
namespace AppleLocales {

/// Every one that is known, by ascending code.
const std::array<AppleLocale, 50>& all();

/// Whether the text looks like a locale code: "en-US", "zh-Hans", also "de-at" and "xx".
bool localeShape(std::string_view text);

/// Whether it is one of Apple's, to the letter.
bool isApples(std::string_view code);

/// Apple's code that the text was likely meant to be ("de_DE", "de-de", "de" and "german" all mean "de-DE"); the code
/// itself when it is one, none when it resembles none ("default", "Screens").
std::optional<std::string> near(std::string_view text);

/// What a name of a file or folder that stands for a language is worth.
enum class Standing {
  apples,  ///< one of Apple's
  unknown, ///< well formed: Apple may have added it
  refused, ///< can't be one: not well formed, or one of Apple's in other letters ("de-de")
};
Standing standing(std::string_view name);

/// " can't be a language: it's written de-DE." or " can't be a language, which is written as en-US.", to follow the
/// name or path of one that is refused.
std::string refusal(std::string_view name);

/// " isn't one of Apple's languages (de-DE is)", without a point, to follow one that is unknown.
std::string doubt(std::string_view name);

} // namespace AppleLocales

} // namespace kestu
