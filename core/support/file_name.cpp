#include "core/support/file_name.hpp"

#include "core/support/text.hpp"
#include "core/support/utf8.hpp"

#include <unicode/bytestream.h>
#include <unicode/normalizer2.h>
#include <unicode/unistr.h>

#include <cstdint>

namespace kestu::FileName {

namespace {

/// What of the two has no other form.
bool isPlain(std::string_view name) { return UTF8::isASCII(name) || !UTF8::isValid(name); }

std::string utf8(const icu::UnicodeString& text) {
  std::string result;
  return text.toUTF8String(result);
}

icu::UnicodeString normalized(const icu::Normalizer2* form, const icu::UnicodeString& text) {
  UErrorCode status = U_ZERO_ERROR;
  icu::UnicodeString result = form == nullptr ? text : form->normalize(text, status);
  return U_SUCCESS(status) ? result : text;
}

icu::UnicodeString unicode(std::string_view name) {
  return icu::UnicodeString::fromUTF8({name.data(), static_cast<std::int32_t>(name.size())});
}

/// The same for all names that are alike.
std::string folded(std::string_view name) {
  if (isPlain(name)) return UTF8::isASCII(name) ? Text::lowercased(name) : std::string(name);
  UErrorCode status = U_ZERO_ERROR;
  const icu::Normalizer2* form = icu::Normalizer2::getNFDInstance(status);
  icu::UnicodeString text = normalized(form, unicode(name));
  text.foldCase();
  return utf8(normalized(form, text)); // folding can compose again
}

} // namespace

std::string composed(std::string_view name) {
  if (isPlain(name)) return std::string(name);
  UErrorCode status = U_ZERO_ERROR;
  return utf8(normalized(icu::Normalizer2::getNFCInstance(status), unicode(name)));
}

bool alike(std::string_view a, std::string_view b) { return a == b || folded(a) == folded(b); }

bool Less::operator()(std::string_view a, std::string_view b) const {
  return isPlain(a) && isPlain(b) ? a < b : composed(a) < composed(b);
}

} // namespace kestu::FileName
