#include "core/pricing/parity_text.hpp"

#include "core/console/format.hpp"
#include "core/console/format_money.hpp"
#include "core/console/printable.hpp"
#include "core/pricing/price_rows.hpp"
#include "core/support/text.hpp"

#include <array>
#include <cmath>
#include <string_view>
#include <utility>

namespace kestu::ParityText {

namespace {

std::string share(double fraction) { return Format::percent(fraction * 100); }

std::string countText(double count) { return Format::number(std::llround(count)); }

/// The card's storefronts by name.
std::string where(const ParityCard& card) {
  std::vector<std::string> names;
  if (card.storefront) names.push_back(Format::country(*card.storefront));
  for (const auto& each : card.storefronts) {
    if (each.storefront != card.storefront) names.push_back(Format::country(each.storefront));
  }
  return names.empty() ? "The subscription" : Text::joined(names, ", ");
}

/// "41% of trials pay, against 33% at home"; empty without a rate.
std::string trialsText(const ParityCard& card) {
  if (!card.rate) return "";
  std::string text = share(*card.rate) + " of trials pay";
  if (card.paid && card.ended) text += " (" + countText(*card.paid) + " of " + countText(*card.ended) + ")";
  if (card.home) text += ", against " + share(*card.home) + " at home";
  if (card.expected) text += ", where " + share(*card.expected) + " would be expected";
  return text;
}

std::string modelText(const ParityCard& card) {
  if (!card.modelLow || !card.modelHigh) return "";
  return " Modeled, an assumption: " + PriceRows::signedPercent(*card.modelLow) + " to " +
         PriceRows::signedPercent(*card.modelHigh) + " of a year's revenue there.";
}

std::string sharesText(const ParityCard& card) {
  std::vector<std::string> parts;
  if (card.downloadsShare) parts.push_back(share(*card.downloadsShare) + " of downloads");
  if (card.proceedsShare) parts.push_back(share(*card.proceedsShare) + " of proceeds");
  return Text::joined(parts, " and ");
}

std::string converts(const ParityCard& card, const std::string&) {
  std::string trials = trialsText(card);
  return trials.empty() ? "" : where(card) + ": " + trials + "." + modelText(card);
}

std::string raise(const ParityCard& card, const std::string&) {
  std::string trials = trialsText(card);
  std::string text = where(card) + ": " + (trials.empty() ? "" : trials + ". ") + "A raise";
  if (card.change) text += " of " + share(*card.change);
  text += " pays off";
  if (card.breakeven) text += " unless more than " + share(*card.breakeven) + " stop paying";
  return text + ". Existing subscribers keep their price." + modelText(card);
}

std::string low(const ParityCard& card, const std::string&) {
  std::vector<ParityCard::Storefront> all = card.storefronts;
  if (all.empty() && card.storefront) all.push_back({*card.storefront, card.change});
  if (all.empty()) return "";
  auto by = [](const ParityCard::Storefront& each) {
    return each.change ? PriceRows::signedPercent(*each.change) : std::string();
  };
  if (all.size() == 1) {
    const auto& change = all.front().change;
    return Format::country(all.front().storefront) + "'s target is " +
           (change ? share(std::abs(*change)) : "30% or more") + " under today's price." + modelText(card);
  }
  std::vector<std::string> names;
  for (const auto& each : all) {
    std::string change = by(each);
    names.push_back(Format::country(each.storefront) + (change.empty() ? "" : " " + change));
  }
  return Format::number(static_cast<std::int64_t>(all.size())) +
         " targets are 30% or more under today's price: " + Text::joined(names, ", ") + "." + modelText(card);
}

std::string over(const ParityCard& card, const std::string&) {
  std::string shares = sharesText(card);
  std::string text = where(card) + ": ";
  text += card.change ? "today's price is " + share(std::abs(*card.change)) + " over its target"
                      : "today's price is over its target";
  if (!shares.empty()) text += ", with " + shares;
  if (card.losable) text += ", and " + share(*card.losable) + " of them to lose";
  return text + "." + modelText(card);
}

/// A price that was never changed, in a currency that was worth more when it was set.
std::string drift(const ParityCard& card, const std::string& currency) {
  std::string text = where(card);
  if (card.since) text += ": the same price since " + Format::day(printable(*card.since));
  if (card.then && card.change) {
    Decimal now = *card.then;
    auto change = Decimal::parse(std::to_string(1 + *card.change));
    if (change) now = now * *change;
    text += ", worth " + Format::moneyInEnglish(now.shifted(2).rounded().shifted(-2), currency) + " now against " +
            Format::moneyInEnglish(*card.then, currency) + " then (" + share(std::abs(*card.change)) +
            (*card.change < 0 ? " less)" : " more)");
  }
  return text + ".";
}

std::string notPrice(const ParityCard& card, const std::string&) {
  if (!card.lost) return "";
  std::string text = where(card) + ": " + share(*card.lost) + " of subscribers in billing retry, against ";
  return text + share(card.elsewhere.value_or(0)) + " elsewhere: payments failing, not the price.";
}

std::string rivals(const ParityCard& card, const std::string&) {
  if (!card.median) return "";
  std::string text = where(card) + ": your competitors charge a median " + share(*card.median) + " of Apple's match";
  if (card.count) text += " (" + countText(*card.count) + (*card.count == 1 ? " app)" : " apps)");
  return text + ".";
}

std::string newProduct(const ParityCard& card, const std::string&) {
  if (!card.productId) return "";
  std::string text = printable(*card.productId) + " is too new for trials of its own";
  return text + (card.sibling ? ": what is said of them is " + printable(*card.sibling) + "'s." : ".");
}

/// What came of a price change, for a card of any kind that tells of before and after.
std::string changed(const ParityCard& card, const std::string& currency) {
  std::vector<std::string> parts;
  auto money = [&](const Decimal& amount) { return Format::moneyInEnglish(amount, currency) + " per download"; };
  if (card.before && card.after) {
    parts.push_back(share(*card.before) + " of trials paid before the price changed, " + share(*card.after) + " after");
  }
  if (card.perDownloadBefore && card.perDownloadAfter) {
    parts.push_back(money(*card.perDownloadBefore) + " before, " + money(*card.perDownloadAfter) + " after");
  }
  if (parts.empty()) return "";
  std::string text = where(card) + ": " + Text::joined(parts, "; ");
  const auto& control = card.control;
  if (!control) return text + ".";
  std::vector<std::string> beside;
  if (control->before && control->after) beside.push_back(share(*control->before) + ", then " + share(*control->after));
  if (control->perDownloadBefore && control->perDownloadAfter) {
    beside.push_back(money(*control->perDownloadBefore) + ", then " + money(*control->perDownloadAfter));
  }
  return text + (beside.empty() ? "." : ". Where prices didn't move: " + Text::joined(beside, "; ") + ".");
}

using Words = std::string (*)(const ParityCard&, const std::string&);

constexpr std::array<std::pair<std::string_view, Words>, 8> kinds = {{
    {"converts", converts},
    {"low", low},
    {"over", over},
    {"raise", raise},
    {"drift", drift},
    {"notprice", notPrice},
    {"rivals", rivals},
    {"newproduct", newProduct},
}};

} // namespace

std::string card(const ParityCard& card, const std::string& currency) {
  for (const auto& [kind, words] : kinds) {
    if (kind == card.kind) return words(card, currency);
  }
  return changed(card, currency);
}

} // namespace kestu::ParityText
