#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

/// What one file's text, its comments blanked, holds of flags. Each function takes time linear in the text.
namespace kestu::FlagPatterns {

/// A key and the offset that it is read at.
struct KeyAt {
  std::string key;
  std::size_t offset = 0;
};

/// Reads through the SDK's type with a key literal, in the order of the text:
/// KestuFlags\s*\.\s*(?:isOn|string|number|int|value|force)\s*\(\s*"([^"\\\n]+)"
std::vector<KeyAt> literalReads(std::string_view text);

/// A type's declaration or extension that names what it inherits.
struct Declaration {
  std::string_view name;
  std::vector<std::string> inherited; ///< split at commas, trimmed
  std::size_t brace = 0;              ///< the offset of its opening brace

  bool inherits(std::string_view type) const;
};

/// (?:enum|extension)\s+(\w+)\s*:\s*([^{]*)\{ in the order of the text, or with "enum" alone.
enum class Declared { enumerations, enumerationsAndExtensions };
std::vector<Declaration> declarations(std::string_view text, Declared which);

/// The keys of the cases declared in the bodies of enumerations with raw type String that `isFlag` names; cases of
/// types nested in them, and patterns of a switch, are none.
std::vector<KeyAt> enumCases(std::string_view text, const std::function<bool(std::string_view)>& isFlag);

/// The names that may follow "enum" in a text whose comments are still there: at least every name that `declarations`
/// would find. False when a comment after the word hides one.
bool namesAfterEnum(std::string_view text, const std::function<void(std::string_view)>& found);

} // namespace kestu::FlagPatterns
