#include "core/support/decimal.hpp"

#include "core/support/json.hpp"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <utility>

namespace kestu {

namespace {

constexpr std::size_t most = 100;         // digits; what has more is no amount and would only cost time
constexpr std::size_t longest = most + 8; // characters, with a point and an exponent
constexpr std::string_view figures = "0123456789";

std::size_t leadingFigures(std::string_view text) { return std::min(text.find_first_not_of(figures), text.size()); }

std::string withoutLeadingZeros(std::string digits) {
  return digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size()));
}

/// By amount; both without leading zeros.
std::strong_ordering compared(const std::string& a, const std::string& b) {
  return a.size() != b.size() ? a.size() <=> b.size() : a.compare(b) <=> 0;
}

std::string padded(const std::string& digits, std::size_t length) {
  return std::string(length - std::min(length, digits.size()), '0') + digits;
}

std::string sum(const std::string& a, const std::string& b) {
  std::size_t length = std::max(a.size(), b.size()) + 1;
  std::string x = padded(a, length);
  const std::string y = padded(b, length);
  int carry = 0;
  for (std::size_t i = length; i-- > 0;) {
    int figure = (x[i] - '0') + (y[i] - '0') + carry;
    carry = figure / 10;
    x[i] = static_cast<char>('0' + figure % 10);
  }
  return withoutLeadingZeros(std::move(x));
}

/// `a` is at least `b`.
std::string difference(const std::string& a, const std::string& b) {
  std::string x = a;
  const std::string y = padded(b, a.size());
  int borrow = 0;
  for (std::size_t i = x.size(); i-- > 0;) {
    int figure = (x[i] - '0') - (y[i] - '0') - borrow;
    borrow = figure < 0 ? 1 : 0;
    x[i] = static_cast<char>('0' + figure + 10 * borrow);
  }
  return withoutLeadingZeros(std::move(x));
}

std::string product(const std::string& a, const std::string& b) {
  std::string result(a.size() + b.size(), '0');
  for (std::size_t i = a.size(); i-- > 0;) {
    int carry = 0;
    for (std::size_t j = b.size(); j-- > 0;) {
      int figure = (result[i + j + 1] - '0') + (a[i] - '0') * (b[j] - '0') + carry;
      carry = figure / 10;
      result[i + j + 1] = static_cast<char>('0' + figure % 10);
    }
    result[i] = static_cast<char>(result[i] + carry);
  }
  return withoutLeadingZeros(std::move(result));
}

/// The part of a number that begins with "e" or "E".
std::optional<int> exponentOf(std::string_view text) {
  text.remove_prefix(1);
  bool plus = text.starts_with('+');
  if (plus) text.remove_prefix(1);
  if ((plus && text.starts_with('-')) || text.size() > 6) return std::nullopt;
  int value = 0;
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc() && end == text.data() + text.size() ? std::optional(value) : std::nullopt;
}

} // namespace

Decimal::Decimal(bool negative, std::string digits, std::size_t scale)
    : negative_(negative), digits_(withoutLeadingZeros(std::move(digits))), scale_(scale) {
  while (scale_ > 0 && digits_.ends_with('0')) {
    digits_.pop_back();
    --scale_;
  }
  if (digits_.empty()) {
    negative_ = false;
    scale_ = 0;
  }
}

std::optional<Decimal> Decimal::parse(std::string_view text) {
  bool negative = text.starts_with('-');
  if (negative) text.remove_prefix(1);
  std::size_t before = leadingFigures(text);
  if (before == 0 || text.size() > longest) return std::nullopt;
  std::string digits(text.substr(0, before));
  text.remove_prefix(before);
  std::size_t after = 0;
  if (text.starts_with('.')) {
    text.remove_prefix(1);
    after = leadingFigures(text);
    if (after == 0) return std::nullopt;
    digits += text.substr(0, after);
    text.remove_prefix(after);
  }
  if (digits.size() > most) return std::nullopt;
  Decimal value(negative, std::move(digits), after);
  if (text.empty()) return value;
  if (text.front() != 'e' && text.front() != 'E') return std::nullopt;
  auto exponent = exponentOf(text);
  if (!exponent) return std::nullopt;
  if (value.isZero()) return value;
  if (static_cast<std::size_t>(std::abs(*exponent)) > most) return std::nullopt;
  Decimal moved = value.shifted(*exponent);
  bool fits = std::max(moved.digits_.size(), moved.scale_ + 1) <= most;
  return fits ? std::optional(moved) : std::nullopt;
}

Decimal Decimal::of(std::int64_t value) { return *parse(std::to_string(value)); }

Decimal Decimal::read(const JSONValue& value) {
  auto read = parse(value.digits());
  if (!read) throw JSONError(value.path() + " isn't an amount");
  return *read;
}

std::string Decimal::text() const { return fixed(scale_); }

std::string Decimal::fixed(std::size_t decimals) const {
  if (decimals < scale_) {
    return shifted(static_cast<int>(decimals)).rounded().shifted(-static_cast<int>(decimals)).fixed(decimals);
  }
  std::string all = padded(digits_ + std::string(decimals - scale_, '0'), decimals + 1);
  if (decimals > 0) all.insert(all.size() - decimals, ".");
  return (negative_ ? "-" : "") + all;
}

Decimal Decimal::shifted(int places) const {
  if (isZero()) return *this;
  auto scale = static_cast<std::int64_t>(scale_) - places;
  if (scale >= 0) return {negative_, digits_, static_cast<std::size_t>(scale)};
  return {negative_, digits_ + std::string(static_cast<std::size_t>(-scale), '0'), 0};
}

Decimal Decimal::absolute() const { return {false, digits_, scale_}; }

Decimal Decimal::rounded() const {
  if (scale_ == 0) return *this;
  std::string all = padded(digits_, scale_ + 1);
  bool up = all[all.size() - scale_] >= '5';
  std::string kept = all.substr(0, all.size() - scale_);
  return {negative_, up ? sum(kept, "1") : kept, 0};
}

std::int64_t Decimal::whole() const {
  std::string digits = rounded().text();
  std::int64_t value = 0;
  auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  if (error == std::errc()) return value;
  return negative_ ? INT64_MIN : INT64_MAX;
}

double Decimal::approximate() const { return std::strtod(text().c_str(), nullptr); }

Decimal Decimal::operator-() const { return {!negative_, digits_, scale_}; }

Decimal operator+(const Decimal& a, const Decimal& b) {
  std::size_t scale = std::max(a.scale_, b.scale_);
  std::string x = withoutLeadingZeros(a.digits_ + std::string(scale - a.scale_, '0'));
  std::string y = withoutLeadingZeros(b.digits_ + std::string(scale - b.scale_, '0'));
  if (a.negative_ == b.negative_) return {a.negative_, sum(x, y), scale};
  return compared(x, y) >= 0 ? Decimal(a.negative_, difference(x, y), scale)
                             : Decimal(b.negative_, difference(y, x), scale);
}

Decimal operator*(const Decimal& a, const Decimal& b) {
  return {a.negative_ != b.negative_, product(a.digits_, b.digits_), a.scale_ + b.scale_};
}

std::strong_ordering operator<=>(const Decimal& a, const Decimal& b) {
  Decimal less = a - b;
  return less.isZero() ? std::strong_ordering::equal
                       : (less.negative_ ? std::strong_ordering::less : std::strong_ordering::greater);
}

} // namespace kestu
