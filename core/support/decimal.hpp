#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kestu {

class JSONValue;

/// An exact decimal number, as an amount of money or a percentage is one; never binary floating point on its way.
class Decimal {
 public:
  Decimal() = default; ///< 0

  /// A number as JSON writes them ("-12.90", "1.5e3"), leading zeros allowed; none for anything else, nor for one of
  /// more than 100 digits when it is written out.
  static std::optional<Decimal> parse(std::string_view text);
  static Decimal of(std::int64_t value);

  /// A JSON number by its digits. Throws JSONError.
  static Decimal read(const JSONValue& value);

  /// Without an exponent and without zeros that don't count: "12.9".
  std::string text() const;
  /// With so many decimals, rounded half away from zero: "12.90".
  std::string fixed(std::size_t decimals) const;

  std::size_t decimals() const { return scale_; } ///< digits after the point that count
  bool isZero() const { return digits_.empty(); }
  bool isNegative() const { return negative_; }

  /// Times ten to the power of `places`.
  Decimal shifted(int places) const;
  Decimal absolute() const;
  /// The nearest whole number, half away from zero.
  Decimal rounded() const;
  /// The nearest whole number; the nearest of its type for one that it can't hold.
  std::int64_t whole() const;
  /// For what is only shown.
  double approximate() const;

  Decimal operator-() const;
  friend Decimal operator+(const Decimal& a, const Decimal& b);
  friend Decimal operator-(const Decimal& a, const Decimal& b) { return a + -b; }
  friend Decimal operator*(const Decimal& a, const Decimal& b);
  friend std::strong_ordering operator<=>(const Decimal& a, const Decimal& b);
  friend bool operator==(const Decimal& a, const Decimal& b) = default;

 private:
  Decimal(bool negative, std::string digits, std::size_t scale);

  bool negative_ = false;
  std::string digits_;    ///< of the number times ten to the power of `scale_`, without leading zeros; empty for 0
  std::size_t scale_ = 0; ///< the least that holds all digits
};

} // namespace kestu
