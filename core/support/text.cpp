#include "core/support/text.hpp"

#include "core/support/utf8.hpp"

#include <unicode/brkiter.h>
#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/coll.h>
#include <unicode/normalizer2.h>
#include <unicode/tblcoll.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utext.h>

#include <algorithm>
#include <functional>
#include <memory>

namespace kestu::Text {

namespace {

// ICU is opened where it is first needed, since most runs of the program meet nothing but ASCII.

icu::UnicodeString unicode(std::string_view text) {
  return icu::UnicodeString::fromUTF8({text.data(), static_cast<int32_t>(text.size())});
}

std::string utf8(const icu::UnicodeString& text) {
  std::string result;
  return text.toUTF8String(result);
}

/// Each extended grapheme cluster in turn, until `each` answers false.
void eachCharacter(std::string_view text, const std::function<bool(std::string_view)>& each) {
  // Loading the rules costs far more than a text, and an iterator serves one thread at a time.
  thread_local std::unique_ptr<icu::BreakIterator> breaks = [] {
    UErrorCode status = U_ZERO_ERROR;
    return std::unique_ptr<icu::BreakIterator>(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
  }();
  UErrorCode status = U_ZERO_ERROR;
  UText source = UTEXT_INITIALIZER;
  utext_openUTF8(&source, text.data(), static_cast<int64_t>(text.size()), &status);
  if (breaks) breaks->setText(&source, status);
  if (breaks && U_SUCCESS(status)) {
    int32_t start = breaks->first();
    for (int32_t end = breaks->next(); end != icu::BreakIterator::DONE; start = end, end = breaks->next()) {
      if (!each(text.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(end - start)))) break;
    }
  }
  utext_close(&source);
}

std::size_t columnsOfCodePoint(char32_t value) {
  auto point = static_cast<UChar32>(value);
  int32_t width = u_getIntPropertyValue(point, UCHAR_EAST_ASIAN_WIDTH);
  if (width == U_EA_WIDE || width == U_EA_FULLWIDTH) return 2;
  // The selector of emoji presentation widens what it follows; a regional indicator alone is drawn as a wide letter.
  if (value == 0xFE0F || (value >= 0x1F1E6 && value <= 0x1F1FF)) return 2;
  constexpr uint32_t invisible = U_GC_MN_MASK | U_GC_ME_MASK | U_GC_CC_MASK | U_GC_CF_MASK;
  return (U_GET_GC_MASK(point) & invisible) == 0 ? 1 : 0;
}

std::size_t columnsOfCharacter(std::string_view character) {
  std::size_t widest = 0;
  for (std::size_t position = 0; position < character.size();) {
    UTF8::Decoded decoded = UTF8::decode(character, position);
    widest = std::max(widest, columnsOfCodePoint(decoded.value));
    position += decoded.length;
  }
  return widest;
}

bool isShownASCII(char byte) { return byte >= 0x20 && byte < 0x7F; }

const icu::Collator* naturalCollator() {
  static const std::unique_ptr<const icu::Collator> collator = []() -> std::unique_ptr<const icu::Collator> {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Collator> made(icu::Collator::createInstance(icu::Locale::getRoot(), status));
    if (U_FAILURE(status)) return nullptr;
    made->setAttribute(UCOL_NUMERIC_COLLATION, UCOL_ON, status);
    return made;
  }();
  return collator.get();
}

void decompose(icu::UnicodeString& text) {
  UErrorCode status = U_ZERO_ERROR;
  const icu::Normalizer2* normalizer = icu::Normalizer2::getNFDInstance(status);
  if (U_FAILURE(status)) return;
  icu::UnicodeString result = normalizer->normalize(text, status);
  if (U_SUCCESS(status)) text = result;
}

std::string lowercasedASCII(std::string_view text) {
  std::string result(text);
  for (char& byte : result) {
    if (byte >= 'A' && byte <= 'Z') byte = static_cast<char>(byte - 'A' + 'a');
  }
  return result;
}

} // namespace

std::size_t characters(std::string_view text) {
  std::size_t count = 0;
  if (UTF8::isASCII(text)) {
    // A carriage return and its line feed are one character, the only such pair in ASCII.
    for (std::size_t i = 0; i < text.size(); ++i) count += text[i] == '\n' && i > 0 && text[i - 1] == '\r' ? 0 : 1;
    return count;
  }
  eachCharacter(text, [&](std::string_view) { return ++count, true; });
  return count;
}

std::size_t columns(std::string_view text) {
  if (UTF8::isASCII(text)) return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), isShownASCII));
  std::size_t count = 0;
  eachCharacter(text, [&](std::string_view character) { return count += columnsOfCharacter(character), true; });
  return count;
}

std::string_view fitting(std::string_view text, std::size_t columns) {
  std::size_t used = 0;
  std::size_t bytes = 0;
  eachCharacter(text, [&](std::string_view character) {
    used += columnsOfCharacter(character);
    if (used > columns) return false;
    bytes += character.size();
    return true;
  });
  return text.substr(0, bytes);
}

std::string folded(std::string_view text) {
  if (UTF8::isASCII(text)) return lowercasedASCII(text);
  icu::UnicodeString result = unicode(text);
  decompose(result);
  result.foldCase();
  decompose(result); // folding can compose again
  icu::UnicodeString kept;
  for (int32_t i = 0; i < result.length(); i = result.moveIndex32(i, 1)) {
    UChar32 point = result.char32At(i);
    if (u_charType(point) != U_NON_SPACING_MARK) kept.append(point);
  }
  return utf8(kept);
}

bool naturalLess(std::string_view a, std::string_view b) {
  // One collator for all texts: another order for ASCII alone would contradict it where both meet in a list.
  if (const icu::Collator* collator = naturalCollator()) {
    UErrorCode status = U_ZERO_ERROR;
    UCollationResult order = collator->compareUTF8({a.data(), static_cast<int32_t>(a.size())},
                                                   {b.data(), static_cast<int32_t>(b.size())}, status);
    if (U_SUCCESS(status) && order != UCOL_EQUAL) return order == UCOL_LESS;
  }
  return a < b;
}

bool isWordCharacter(char32_t value) {
  auto point = static_cast<UChar32>(value);
  constexpr uint32_t others = U_GC_M_MASK | U_GC_ND_MASK | U_GC_PC_MASK;
  return u_isUAlphabetic(point) || (U_GET_GC_MASK(point) & others) != 0 ||
         u_hasBinaryProperty(point, UCHAR_JOIN_CONTROL);
}

std::string lowercased(std::string_view text) {
  if (UTF8::isASCII(text)) return lowercasedASCII(text);
  return utf8(unicode(text).toLower(icu::Locale::getRoot()));
}

std::string trimmed(std::string_view text) {
  std::size_t start = text.size();
  std::size_t end = 0;
  for (std::size_t position = 0; position < text.size();) {
    UTF8::Decoded decoded = UTF8::decode(text, position);
    if (!UTF8::isWhiteSpace(decoded.value)) {
      start = std::min(start, position);
      end = position + decoded.length;
    }
    position += decoded.length;
  }
  return std::string(end == 0 ? std::string_view() : text.substr(start, end - start));
}

std::vector<std::string> words(std::string_view text) {
  std::vector<std::string> result;
  bool inWord = false;
  for (std::size_t position = 0; position < text.size();) {
    UTF8::Decoded decoded = UTF8::decode(text, position);
    bool blank = UTF8::isWhiteSpace(decoded.value);
    if (!blank && !inWord) result.emplace_back();
    if (!blank) result.back() += text.substr(position, decoded.length);
    inWord = !blank;
    position += decoded.length;
  }
  return result;
}

char32_t caseFolded(char32_t value) {
  return static_cast<char32_t>(u_foldCase(static_cast<UChar32>(value), U_FOLD_CASE_DEFAULT));
}

std::vector<std::string> split(std::string_view text, char separator) {
  std::vector<std::string> result;
  while (true) {
    std::size_t found = text.find(separator);
    result.emplace_back(text.substr(0, found));
    if (found == std::string_view::npos) return result;
    text.remove_prefix(found + 1);
  }
}

std::string joined(const std::vector<std::string>& parts, std::string_view separator) {
  std::string result;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (i > 0) result += separator;
    result += parts[i];
  }
  return result;
}

std::string orList(const std::vector<std::string>& parts) {
  if (parts.size() < 2) return joined(parts, "");
  return joined({parts.begin(), parts.end() - 1}, ", ") + " or " + parts.back();
}

} // namespace kestu::Text
