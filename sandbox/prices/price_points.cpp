#include "sandbox/prices/price_points.hpp"

#include "core/pricing/storefronts.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <map>
#include <optional>
#include <utility>

namespace kestu::sandbox::PricePoints {

namespace {

struct Money {
  std::string_view storefront, currency;
  double perDollar; // with the taxes that a price there holds
};

constexpr std::array<Money, 43> table = {{
    {"ae", "AED", 3.85}, {"au", "AUD", 1.66}, {"br", "BRL", 5.6},  {"ca", "CAD", 1.4},  {"ch", "CHF", 1.0},
    {"cl", "CLP", 990},  {"cn", "CNY", 7.3},  {"co", "COP", 4500}, {"cz", "CZK", 28},   {"dk", "DKK", 8.6},
    {"eg", "EGP", 52},   {"gb", "GBP", 0.99}, {"hk", "HKD", 7.8},  {"hu", "HUF", 450},  {"id", "IDR", 16500},
    {"il", "ILS", 4.3},  {"in", "INR", 99},   {"jp", "JPY", 160},  {"kr", "KRW", 1480}, {"kz", "KZT", 520},
    {"mx", "MXN", 20},   {"my", "MYR", 4.9},  {"ng", "NGN", 1600}, {"no", "NOK", 13},   {"nz", "NZD", 1.9},
    {"pe", "PEN", 4.2},  {"ph", "PHP", 60},   {"pk", "PKR", 300},  {"pl", "PLN", 5},    {"qa", "QAR", 3.7},
    {"ro", "RON", 5.6},  {"ru", "RUB", 95},   {"sa", "SAR", 4.4},  {"se", "SEK", 12.5}, {"sg", "SGD", 1.4},
    {"th", "THB", 37},   {"tr", "TRY", 40},   {"tw", "TWD", 32},   {"tz", "TZS", 2800}, {"vn", "VND", 26000},
    {"za", "ZAR", 20},   {"ua", "USD", 1.2},  {"bg", "EUR", 1.1},
}};

Money moneyOf(std::string_view storefront) {
  for (const Money& each : table) {
    if (each.storefront == storefront) return each;
  }
  const auto* const known = Storefronts::find(storefront);
  if (known != nullptr && known->euro) return {storefront, "EUR", 1.1};
  return {storefront, "USD", 1};
}

double perDollarOf(const std::string& currency) {
  for (const Money& each : table) {
    if (each.currency == currency) return each.perDollar;
  }
  return 1;
}

// 1 where prices have cents, else the tens that a price is counted in: 10 for kroner, 1000 for rupiah.
Amount scaleOf(const std::string& currency) {
  Amount scale = 1;
  for (double rate = perDollarOf(currency); rate >= 10; rate /= 10) scale *= 10;
  return scale;
}

std::vector<Amount> withCents() {
  std::vector<Amount> points = {0};
  for (Amount price = 29; price < 1000; price += 10) points.push_back(price);
  for (Amount price = 100; price <= 1000; price += 50) points.push_back(price);
  for (Amount price = 1000; price < 5000; price += 50) points.push_back(price + 49);
  for (Amount price = 5000; price < 20000; price += 100) points.push_back(price + 99);
  for (Amount price = 1000; price <= 20000; price += 100) points.push_back(price);
  for (Amount price = 20000; price <= 100000; price += 500) points.push_back(price + 499);
  return points;
}

// Whole amounts: one by one in the scale's tenths, then in larger steps, and those that end in 9.
std::vector<Amount> whole(Amount scale) {
  const Amount tenth = std::max<Amount>(scale / 10, 1) * 100;
  std::vector<Amount> points = {0};
  for (Amount count = 3; count <= 100; ++count) points.push_back(count * tenth);
  for (Amount count = 105; count <= 1000; count += 5) points.push_back(count * tenth);
  for (Amount count = 19; count <= 999; count += 10) points.push_back(count * tenth);
  for (Amount count = 1050; count <= 10000; count += 50) points.push_back(count * tenth);
  return points;
}

// Of ascending points the one that is nearest to the amount, the lower of two, and lies where `fits` says.
template <class Fits>
std::optional<Amount> nearest(const std::vector<Amount>& points, double amount, Fits fits) {
  const auto middle = std::lower_bound(points.begin(), points.end(), amount,
                                       [](Amount point, double wanted) { return static_cast<double>(point) < wanted; });
  const auto above = std::find_if(middle, points.end(), fits);
  const auto below = std::find_if(std::make_reverse_iterator(middle), points.rend(), fits);
  if (above == points.end()) return below == points.rend() ? std::nullopt : std::optional(*below);
  if (below == points.rend()) return *above;
  return static_cast<double>(*above) - amount < amount - static_cast<double>(*below) ? *above : *below;
}

bool endsAs00(Amount price) { return price % 100 == 0; }

// The nearest nice price within the window, the preferred ending first among those that read the same.
std::optional<Amount> niceOne(const std::string& currency, double amount, const Landing& landing) {
  const double window = amount * landing.nice / 100;
  const auto found = nearest(all(currency), amount, [&](Amount point) {
    return point > 0 && std::abs(static_cast<double>(point) - amount) <= window && isNice(currency, point);
  });
  if (!found || scaleOf(currency) > 1 || endsAs00(*found) == landing.to00) return found;
  const Amount other = landing.to00 ? *found + 1 : *found - 1;
  const auto& points = all(currency);
  const bool same = (*found + 1) / 100 != *found / 100 || endsAs00(*found);
  return same && std::binary_search(points.begin(), points.end(), other) ? other : *found;
}

} // namespace

std::string currency(std::string_view storefront) { return std::string(moneyOf(storefront).currency); }

const std::vector<Amount>& all(const std::string& currency) {
  static std::map<Amount, std::vector<Amount>> known;
  const auto scale = scaleOf(currency);
  auto& points = known[scale];
  if (points.empty()) {
    points = scale == 1 ? withCents() : whole(scale);
    std::sort(points.begin(), points.end());
    points.erase(std::unique(points.begin(), points.end()), points.end());
  }
  return points;
}

bool isNice(const std::string& currency, Amount price) {
  if (price == 0) return false;
  const auto scale = scaleOf(currency);
  if (scale == 1) return price % 100 == 99 || price % 100 == 49 || endsAs00(price);
  const Amount tenths = price / (std::max<Amount>(scale / 10, 1) * 100);
  return tenths % 10 == 9 || tenths % 10 == 0;
}

Amount match(const std::string& storefront, Amount dollars) {
  if (dollars == 0) return 0;
  const auto money = moneyOf(storefront);
  const std::string pays(money.currency);
  const auto amount = static_cast<double>(dollars) * money.perDollar;
  Landing nice{Round::closest, 8, false};
  if (const auto found = niceOne(pays, amount, nice)) return *found;
  return *nearest(all(pays), amount, [](Amount point) { return point > 0; });
}

Amount dollars(const std::string& storefront, Amount price) {
  const auto amount = static_cast<double>(price) / moneyOf(storefront).perDollar;
  return *nearest(all("USD"), amount, [&](Amount point) { return (point == 0) == (price == 0); });
}

Landing Landing::of(const std::string& round, const std::string& nice, const std::string& ending) {
  Landing landing;
  if (round == "at-most") landing.round = Round::atMost;
  if (round == "closest") landing.round = Round::closest;
  landing.nice = nice.empty() ? 0 : std::strtod(nice.c_str(), nullptr);
  landing.to00 = ending == "00";
  return landing;
}

Amount landed(const std::string& currency, Amount match, double share, const Landing& landing) {
  if (match == 0) return 0;
  const double amount = std::round(static_cast<double>(match) * share) / 100;
  if (landing.nice > 0) {
    if (const auto found = niceOne(currency, amount, landing)) return *found;
  }
  const bool past = landing.round == Round::atLeast;
  const bool down = (share < 100) == past;
  const auto found = nearest(all(currency), amount, [&](Amount point) {
    if (point == 0) return false;
    if (landing.round == Round::closest) return true;
    return down ? static_cast<double>(point) <= amount : static_cast<double>(point) >= amount;
  });
  return found.value_or(match);
}

Amount stepped(const std::string& currency, Amount match, long steps, const Landing& landing) {
  const auto& points = all(currency);
  const auto from = std::lower_bound(points.begin(), points.end(), match) - points.begin();
  const auto last = static_cast<std::ptrdiff_t>(points.size()) - 1;
  const Amount price = points[static_cast<std::size_t>(std::clamp<std::ptrdiff_t>(from + steps, 1, last))];
  if (landing.nice <= 0) return price;
  return niceOne(currency, static_cast<double>(price), landing).value_or(price);
}

} // namespace kestu::sandbox::PricePoints
