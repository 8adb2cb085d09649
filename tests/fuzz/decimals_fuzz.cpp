#include "core/support/decimal.hpp"
#include "tests/fuzz/targets.hpp"

#include <cmath>

namespace kestu::fuzz {

/// The laws of numbers, on two numbers as they are typed, and the text of each.
void decimals(std::string_view bytes) {
  Input input(bytes);
  auto a = Decimal::parse(input.line()), b = Decimal::parse(input.line());
  auto places = input.byte() % 8;
  for (const auto& each : {a, b}) {
    if (!each) continue;
    require(Decimal::parse(each->text()) == each, "a number is what its text says: " + each->text());
    std::string fixed = each->fixed(places);
    if (auto rounded = Decimal::parse(fixed)) {
      Decimal off = *rounded - *each;
      require(off.absolute().shifted(static_cast<int>(places)) <= *Decimal::parse("0.5"),
              "rounding goes to the nearest");
    }
    require(fixed.size() - std::min(fixed.find('.') + 1, fixed.size()) == places || places == 0, "decimals: " + fixed);
    require(each->shifted(3).shifted(-3) == *each, "shifting there and back");
    require(-(-*each) == *each && each->absolute() >= *each, "signs");
    double near = each->approximate();
    if (std::abs(near) < 1e15) require(std::abs(static_cast<double>(each->whole()) - near) <= 0.5001, "whole: near");
  }
  if (!a || !b) return;
  require((*a + *b) - *b == *a && *a + *b == *b + *a, "sums");
  require(*a * *b == *b * *a && (*a + *b) * *a == *a * *a + *b * *a, "products");
  require((*a < *b) == (*b > *a) && (*a <=> *b == 0) == (*a == *b), "order");
  require((*a < *b) == (*a - *b).isNegative(), "order and differences");
  require((*a < *b) == (*a + *b < *b + *b), "order and sums");
}

} // namespace kestu::fuzz
