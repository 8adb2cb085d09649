#include "core/pricing/price_tiers.hpp"

#include "core/console/format.hpp"
#include "core/console/format_money.hpp"
#include "core/console/printable.hpp"
#include "core/support/error.hpp"
#include "core/support/text.hpp"

#include <algorithm>

namespace kestu {

namespace {

constexpr std::size_t cheapest = 30; // listed where it is free

std::string rightOf(const std::string& text, std::size_t width) {
  return std::string(width - std::min(width, Text::columns(text)), ' ') + text;
}

} // namespace

PriceTier PriceTier::read(const JSONValue& value) {
  return {Decimal::read(value.at("price")), Decimal::read(value.at("proceeds")), value.whenTrue("nice")};
}

std::string PriceTier::kept() const {
  if (price.isZero()) return "";
  return Format::percent((price - proceeds).approximate() / price.approximate() * 100);
}

PriceTiers PriceTiers::read(const JSONValue& value) {
  return {value.at("storefront").text(), value.at("currency").text(), value.find("today", Decimal::read),
          value.listAt("prices", PriceTier::read)};
}

std::vector<PriceTier> PriceTiers::within(const Range& range) const {
  Range shown = range;
  if (!range.isGiven()) {
    if (!today) {
      throw CLIError(CLIError::Kind::usage, "It has no price in " + Format::country(storefront) +
                                                " today: say which to list with --from, --to or --all.");
    }
    if (today->isZero()) {
      return {prices.begin(), prices.begin() + static_cast<std::ptrdiff_t>(std::min(cheapest, prices.size()))};
    }
    shown = {*today * *Decimal::parse("0.5"), *today * Decimal::of(2), false};
  }
  std::vector<PriceTier> result;
  std::copy_if(prices.begin(), prices.end(), std::back_inserter(result), [&](const PriceTier& tier) {
    return (!shown.from || tier.price >= *shown.from) && (!shown.to || tier.price <= *shown.to);
  });
  return result;
}

Table PriceTiers::table(const std::vector<PriceTier>& shown) const {
  Table table{{"Price", "Currency", "Proceeds", "Not proceeds", "Nice", "Today"}, {}};
  auto decimals = Format::currencyDecimals(currency);
  for (const PriceTier& tier : shown) {
    auto amount = [&](const Decimal& value) { return value.fixed(std::max(decimals, value.decimals())); };
    table.rows.push_back({amount(tier.price), printable(currency), amount(tier.proceeds), tier.kept(),
                          tier.nice ? "yes" : "", today == tier.price ? "yes" : ""});
  }
  return table;
}

std::string PriceTiers::text(const std::string& subject, const std::vector<PriceTier>& shown, const TextStyles& style,
                             int width) const {
  std::string head = style.bold(subject + " in " + Format::country(storefront)) + ", " +
                     Format::number(static_cast<std::int64_t>(shown.size())) + " of Apple's " +
                     Format::number(static_cast<std::int64_t>(prices.size())) + " prices";
  if (shown.empty()) return head + ".\nNone lies there: --all lists every one.";
  std::size_t widest = 5;
  std::size_t widestProceeds = 8;
  for (const PriceTier& tier : shown) {
    widest = std::max(widest, Text::columns(Format::money(tier.price, currency)));
    widestProceeds = std::max(widestProceeds, Text::columns(Format::money(tier.proceeds, currency)));
  }
  std::string text =
      head + ":\n\n" +
      style.dim("   " + rightOf("Price", widest) + "  " + rightOf("Proceeds", widestProceeds) + "  Not proceeds");
  for (const PriceTier& tier : shown) {
    bool isToday = today == tier.price;
    std::string price = rightOf(Format::money(tier.price, currency), widest);
    std::string proceeds = rightOf(Format::money(tier.proceeds, currency), widestProceeds);
    std::string mark = tier.nice ? style.green("●") : " ";
    std::string styled = isToday ? style.highlight(price) : tier.nice ? style.green(price) : price;
    std::string line = " " + mark + " " + styled + "  " + proceeds + "  " + rightOf(tier.kept(), 12);
    if (isToday) line += "  today";
    text += "\n" + line.erase(line.find_last_not_of(' ') + 1);
  }
  std::string legend = "● Nice price tier. Today's price";
  legend += today ? ": " + Format::money(*today, currency) + "." : ": none.";
  return text + "\n\n" + TextStyle::wrap(legend, width);
}

} // namespace kestu
