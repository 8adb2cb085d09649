#include "core/console/format_money.hpp"

#include "core/console/format.hpp"
#include "core/console/printable.hpp"
#include "core/support/text.hpp"

#include <unicode/currunit.h>
#include <unicode/locid.h>
#include <unicode/numberformatter.h>
#include <unicode/ucurr.h>

#include <algorithm>
#include <optional>

namespace kestu::Format {

namespace {

bool isLetter(char byte) { return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z'); }

std::optional<icu::CurrencyUnit> unitOf(std::string_view currency) {
  if (currency.size() != 3 || !std::all_of(currency.begin(), currency.end(), isLetter)) return std::nullopt;
  UErrorCode status = U_ZERO_ERROR;
  icu::CurrencyUnit unit(icu::StringPiece(currency.data(), static_cast<int32_t>(currency.size())), status);
  return U_SUCCESS(status) ? std::optional(unit) : std::nullopt;
}

std::string moneyIn(const icu::Locale& locale, const Decimal& amount, std::string_view currency) {
  auto decimals = std::max(currencyDecimals(currency), amount.decimals());
  std::string plain = amount.fixed(decimals);
  auto unit = unitOf(currency);
  if (!unit) return plain + " " + printable(currency);
  UErrorCode status = U_ZERO_ERROR;
  icu::UnicodeString text = icu::number::NumberFormatter::withLocale(locale)
                                .unit(*unit)
                                .precision(icu::number::Precision::fixedFraction(static_cast<int32_t>(decimals)))
                                .formatDecimal(icu::StringPiece(plain), status)
                                .toString(status);
  if (U_FAILURE(status)) return plain + " " + std::string(currency);
  // A blank that a search for "SEK 59" finds.
  text.findAndReplace(icu::UnicodeString(UChar(0xA0)), icu::UnicodeString(UChar(' ')));
  std::string result;
  return text.toUTF8String(result);
}

} // namespace

std::size_t currencyDecimals(std::string_view currency) {
  auto unit = unitOf(currency);
  if (!unit) return 2;
  UErrorCode status = U_ZERO_ERROR;
  int32_t digits = ucurr_getDefaultFractionDigits(unit->getISOCurrency(), &status);
  return U_SUCCESS(status) && digits >= 0 ? static_cast<std::size_t>(digits) : 2;
}

std::string money(const Decimal& amount, std::string_view currency) {
  return moneyIn(icu::Locale(userLocale().c_str()), amount, currency);
}

std::string moneyInEnglish(const Decimal& amount, std::string_view currency) {
  return moneyIn(icu::Locale::getUS(), amount, currency);
}

std::string country(std::string_view code) {
  if (code.size() == 2 && std::all_of(code.begin(), code.end(), isLetter)) {
    std::string capitals(code);
    for (char& byte : capitals) byte = byte >= 'a' ? static_cast<char>(byte - 'a' + 'A') : byte;
    icu::UnicodeString name;
    std::string result;
    icu::Locale("", capitals.c_str()).getDisplayCountry(icu::Locale::getEnglish(), name);
    return name.toUTF8String(result);
  }
  return printable(code);
}

} // namespace kestu::Format
