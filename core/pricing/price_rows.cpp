#include "core/pricing/price_rows.hpp"

#include "core/console/format_money.hpp"
#include "core/console/printable.hpp"
#include "core/console/text_style.hpp"
#include "core/support/text.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace kestu::PriceRows {

namespace {

constexpr std::size_t longestName = 26;
constexpr std::size_t shortestName = 8;

std::size_t columnsOf(const std::string& text) { return Text::columns(TextStyle::plain(text)); }

std::string blanks(std::size_t count) { return std::string(count, ' '); }
std::string leftOf(const std::string& text, std::size_t width) {
  return text + blanks(width - std::min(width, columnsOf(text)));
}
std::string rightOf(const std::string& text, std::size_t width) {
  return blanks(width - std::min(width, columnsOf(text))) + text;
}

struct Cells {
  std::string code, name, now, then, currency, change, end;
};

struct Widths {
  std::size_t code = 0, name = 0, now = 0, then = 0, currency = 0, change = 0, end = 0;

  void widen(const Cells& cells) {
    code = std::max(code, columnsOf(cells.code));
    name = std::max(name, columnsOf(cells.name));
    now = std::max(now, columnsOf(cells.now));
    then = std::max(then, columnsOf(cells.then));
    currency = std::max(currency, columnsOf(cells.currency));
    change = std::max(change, columnsOf(cells.change));
    end = std::max(end, columnsOf(cells.end));
  }
  std::size_t withoutName() const {
    return 2 + code + 2 + now + 3 + then + 1 + currency + (change > 0 ? 2 + change : 0) + (end > 0 ? 2 + end : 0);
  }
};

std::string lineOf(const Cells& cells, const Widths& widths) {
  std::string line = "  " + leftOf(cells.code, widths.code);
  if (widths.name > 0) {
    line += "  " + leftOf(TextStyle::line(cells.name, static_cast<int>(widths.name)), widths.name);
  }
  line += "  " + rightOf(cells.now, widths.now) + " → " + rightOf(cells.then, widths.then) + " " +
          leftOf(cells.currency, widths.currency);
  if (widths.change > 0) line += "  " + rightOf(cells.change, widths.change);
  if (widths.end > 0) line += "  " + cells.end;
  return line.erase(line.find_last_not_of(' ') + 1);
}

} // namespace

std::string text(const std::vector<PriceRow>& rows, const DecimalsOf& decimals, int width) {
  std::vector<Cells> all;
  Widths widths;
  for (const PriceRow& row : rows) {
    auto amount = [&](const std::optional<Decimal>& value) {
      return value ? value->fixed(std::max(decimals(row.currency), value->decimals())) : std::string("–");
    };
    all.push_back({printable(row.storefront), Format::country(row.storefront), amount(row.now), amount(row.then),
                   printable(row.currency), row.change, row.end});
    widths.widen(all.back());
  }
  std::size_t used = widths.withoutName() + 2;
  std::size_t room = static_cast<std::size_t>(std::max(width, 0)) - std::min(used, static_cast<std::size_t>(width));
  std::size_t name = std::min({widths.name, longestName, room});
  widths.name = name < std::min(widths.name, shortestName) ? 0 : name;
  std::vector<std::string> lines;
  for (const Cells& cells : all) lines.push_back(lineOf(cells, widths));
  return Text::joined(lines, "\n");
}

std::string signedPercent(double fraction) {
  double tenths = std::round(fraction * 1000);
  bool isWhole = std::abs(tenths) >= 10;
  double shown = isWhole ? std::round(fraction * 100) : tenths / 10;
  if (shown == 0) return "0%";
  return fmt::format("{:+.{}f}%", shown, isWhole ? 0 : 1);
}

std::string changeText(const std::optional<Decimal>& now, const Decimal& then) {
  if (!now || now->isZero()) return "";
  return signedPercent((then - *now).approximate() / now->approximate());
}

} // namespace kestu::PriceRows
