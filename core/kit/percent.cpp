#include "core/kit/percent.hpp"

#include "core/support/text.hpp"

#include <cmath>

namespace kestu::Percent {

std::optional<int> typed(std::string_view text) {
  std::string digits = Text::trimmed(text);
  if (digits.ends_with('%')) digits = Text::trimmed(digits.substr(0, digits.size() - 1));
  int value = 0, before = 0, after = -1;
  for (char c : digits) {
    if (c == '.' && after < 0 && before > 0) {
      after = 0;
    } else if (c >= '0' && c <= '9' && (after < 0 ? ++before <= 3 : ++after <= 2)) {
      value = value * 10 + (c - '0');
    } else {
      return std::nullopt;
    }
  }
  if (before == 0 || after == 0) return std::nullopt;
  for (int places = after < 0 ? 0 : after; places < 2; ++places) value *= 10;
  return value <= whole ? std::optional(value) : std::nullopt;
}

int read(const JSONValue& value) {
  double percent = value.number();
  if (!(percent >= 0 && percent <= 100)) throw JSONError(value.path() + " is no percentage");
  return static_cast<int>(std::lround(percent * 100));
}

JSONData data(int hundredths) {
  return hundredths % 100 == 0 ? JSONData(hundredths / 100) : JSONData(hundredths / 100.0);
}

std::string text(int hundredths) {
  std::string digits = std::to_string(hundredths / 100);
  if (int rest = hundredths % 100; rest != 0) {
    digits += rest < 10 ? ".0" : ".";
    digits += std::to_string(rest % 10 == 0 ? rest / 10 : rest);
  }
  return digits + "%";
}

} // namespace kestu::Percent
