#include "core/builds/build_number.hpp"

#include "core/support/text.hpp"

#include <algorithm>
#include <string_view>

namespace kestu::BuildNumber {

namespace {

/// Decimal digits without leading zeros: a number is never too long for it.
using Digits = std::string;

bool isWhole(std::string_view piece) {
  return !piece.empty() && piece.find_first_not_of("0123456789") == std::string_view::npos;
}

Digits digits(const std::string& piece) {
  if (!isWhole(piece)) return "0";
  std::size_t start = piece.find_first_not_of('0');
  return start == std::string::npos ? "0" : piece.substr(start);
}

std::vector<std::string> pieces(const std::string& number) {
  std::vector<std::string> all = Text::split(number, '.');
  std::erase(all, "");
  return all;
}

std::vector<Digits> numbersOf(const std::string& number) {
  std::vector<Digits> numbers;
  for (const std::string& piece : pieces(number)) numbers.push_back(digits(piece));
  return numbers;
}

bool less(const Digits& one, const Digits& other) {
  return one.size() != other.size() ? one.size() < other.size() : one < other;
}

bool lower(const std::vector<Digits>& one, const std::vector<Digits>& other) {
  return std::lexicographical_compare(one.begin(), one.end(), other.begin(), other.end(), less);
}

Digits plusOne(Digits number) {
  for (std::size_t at = number.size(); at-- > 0;) {
    if (number[at] != '9') {
      ++number[at];
      return number;
    }
    number[at] = '0';
  }
  return "1" + number;
}

} // namespace

std::string next(const std::vector<std::string>& numbers) {
  std::vector<Digits> highest;
  for (const std::string& number : numbers) {
    std::vector<Digits> one = numbersOf(number);
    if (lower(highest, one)) highest = std::move(one);
  }
  if (highest.empty()) return "1";
  highest.back() = plusOne(std::move(highest.back()));
  return Text::joined(highest, ".");
}

bool sameVersion(const std::optional<std::string>& one, const std::optional<std::string>& other) {
  if (!one || !other) return false;
  if (*one == *other) return true;
  auto whole = [](const std::string& text) {
    std::vector<std::string> all = pieces(text);
    return !all.empty() && std::all_of(all.begin(), all.end(), isWhole);
  };
  return whole(*one) && whole(*other) && numbersOf(*one) == numbersOf(*other);
}

} // namespace kestu::BuildNumber
