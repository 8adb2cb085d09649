#include "core/pricing/parity_text.hpp"

#include "core/console/format.hpp"
#include "core/console/format_money.hpp"
#include "core/console/printable.hpp"
#include "core/console/table.hpp"
#include "core/pricing/price_rows.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <map>

namespace kestu::ParityText {

namespace {

std::string fractionText(const Decimal& fraction) { return percentText(fraction.shifted(2)); }

std::string counted(std::size_t count, const std::string& one, const std::string& several) {
  return Format::number(static_cast<std::int64_t>(count)) + " " + (count == 1 ? one : several);
}

std::string storefrontsText(std::size_t count) { return counted(count, "storefront", "storefronts"); }

std::string heading(const ParityAnswer& answer, const TextStyles& style) {
  for (const ParityAnswer::Product& product : answer.products) {
    if (answer.product != product.productId) continue;
    return style.bold(printable(product.name)) + " (" + printable(product.productId) + ")";
  }
  return style.bold(answer.productText());
}

std::string indexLine(const ParitySettings& settings) {
  std::string index = settings.index.value_or("kestu");
  std::string line = parityIndexName(index);
  if (index != "kestu") return line;
  return line +
         ": what each country really pays for subscriptions, from its top-grossing apps and the biggest services";
}

std::string settingsLine(const ParitySettings& settings) {
  std::vector<std::string> parts;
  auto add = [&](const char* name, const std::optional<Decimal>& value) {
    if (value) parts.push_back(std::string(name) + " " + fractionText(*value));
  };
  add("strength", settings.strength);
  add("floor", settings.floor);
  add("cap", settings.cap);
  add("tolerance", settings.tolerance);
  parts.emplace_back(settings.zones ? "in zones" : "exact");
  if (settings.only) parts.emplace_back(*settings.only == "raise" ? "raising only" : "lowering only");
  return Text::joined(parts, ", ");
}

/// From 0 for none to 5.
std::string marksOf(const ParityStorefront& storefront) {
  std::string marks;
  for (int i = 0; i < storefront.marks().value_or(0); ++i) marks += "▮";
  return marks;
}

std::string changeOf(const ParityStorefront& storefront) {
  if (storefront.change) return PriceRows::signedPercent(storefront.change->approximate());
  return storefront.target ? PriceRows::changeText(storefront.price, *storefront.target) : "";
}

bool goesLower(const ParityStorefront& storefront) {
  if (storefront.change) return storefront.change->isNegative();
  return storefront.percent().value_or(0) < 0;
}

std::vector<const ParityStorefront*> moving(const std::vector<const ParityStorefront*>& storefronts) {
  std::vector<const ParityStorefront*> moving;
  std::copy_if(storefronts.begin(), storefronts.end(), std::back_inserter(moving),
               [](const auto* each) { return each->moves(); });
  return moving;
}

std::string codes(const std::vector<const ParityStorefront*>& storefronts) {
  std::vector<std::string> all;
  for (const auto* each : storefronts) all.push_back(printable(each->storefront));
  return Text::joined(all, ", ");
}

std::string groupText(const ZoneGroup& group, const TextStyles& style, int width) {
  std::vector<PriceRow> rows;
  for (const ParityStorefront* each : moving(group.storefronts)) {
    rows.push_back({each->storefront, each->currency, each->price, each->target, changeOf(*each), marksOf(*each)});
  }
  if (rows.empty()) return "";
  std::string head = group.heading;
  std::size_t still = group.storefronts.size() - rows.size();
  if (still > 0) head += ", " + Format::number(static_cast<std::int64_t>(still)) + " of them there already";
  return style.bold(TextStyle::wrap(head, width)) + "\n" +
         PriceRows::text(
             rows, [](std::string_view) { return std::size_t{2}; }, width);
}

std::string countsText(const ParityAnswer& answer) {
  std::vector<const ParityStorefront*> all;
  for (const ParityStorefront& each : answer.storefronts) all.push_back(&each);
  auto moved = moving(all);
  if (moved.empty()) {
    return std::string("Nothing to do: ") +
           (all.size() == 1 ? "its storefront keeps its price" : "every storefront keeps its price") + ".";
  }
  auto lower = static_cast<std::size_t>(
      std::count_if(moved.begin(), moved.end(), [](const auto* each) { return goesLower(*each); }));
  std::size_t higher = moved.size() - lower;
  std::vector<std::string> parts;
  if (lower > 0) parts.push_back(storefrontsText(lower) + (lower == 1 ? " goes lower" : " go lower"));
  if (higher > 0) {
    std::string many = lower > 0 ? Format::number(static_cast<std::int64_t>(higher)) : storefrontsText(higher);
    parts.push_back(many + (higher == 1 ? " goes higher" : " go higher"));
  }
  std::size_t still = all.size() - moved.size();
  if (still > 0) {
    parts.push_back(Format::number(static_cast<std::int64_t>(still)) +
                    (still == 1 ? " keeps its price" : " keep their price"));
  }
  std::string text = Text::joined(parts, ", ") + ".";
  std::vector<const ParityStorefront*> back;
  std::copy_if(moved.begin(), moved.end(), std::back_inserter(back),
               [](const auto* each) { return !each->percent() && !each->kept; });
  if (back.empty()) return text;
  return text + "\n" + storefrontsText(back.size()) + (back.size() == 1 ? " goes" : " go") +
         " back to Apple's match once a price is set: " + codes(back) + ".";
}

std::string perDownloadText(const ParityAnswer& answer) {
  if (!answer.perDownloadBefore || !answer.perDownloadAfter || !answer.base) return "";
  auto money = [&](const Decimal& amount) {
    return Format::moneyInEnglish(amount, answer.base->currency) + " per download";
  };
  return "Since the last price change: " + money(*answer.perDownloadAfter) + ", " + money(*answer.perDownloadBefore) +
         " before.";
}

const char* const legend = "▮▮▮▮▮ how sure the index is there, from how closely its sources agree; ▮ means too little "
                           "data there, so it's estimated from World Bank prices.";

} // namespace

std::vector<ZoneGroup> zoneGroups(const ParityAnswer& answer) {
  auto inOrder = [](std::vector<const ParityStorefront*> all) {
    std::sort(all.begin(), all.end(), [](const auto* a, const auto* b) { return a->storefront < b->storefront; });
    return all;
  };
  std::map<std::string, std::vector<const ParityStorefront*>> zones;
  std::vector<const ParityStorefront*> own;
  bool exact = answer.settings && !answer.settings->zones;
  for (const ParityStorefront& each : answer.storefronts) {
    (exact || !each.zone ? own : zones[*each.zone]).push_back(&each);
  }
  std::vector<ZoneGroup> groups;
  for (const auto& [zone, storefronts] : zones) {
    std::string head = printable(zone) + ": ";
    for (const ParityAnswer::Zone& known : answer.zones) {
      if (known.zone == zone) head += fractionText(known.rate) + " of Apple's match, ";
    }
    groups.push_back({head + storefrontsText(storefronts.size()), inOrder(storefronts)});
  }
  if (!own.empty()) {
    groups.push_back({storefrontsText(own.size()) + ", each its own share of Apple's match", inOrder(own)});
  }
  return groups;
}

std::string lines(const ParityAnswer& answer, const TextStyles& style, int width) {
  std::vector<std::string> parts;
  ParitySettings settings = answer.settings.value_or(ParitySettings{});
  parts.push_back(TextStyle::wrap(heading(answer, style), width) + "\n" + TextStyle::wrap(indexLine(settings), width) +
                  "\n" + TextStyle::wrap(settingsLine(settings), width));
  bool marked = false;
  for (const ZoneGroup& group : zoneGroups(answer)) {
    if (std::string text = groupText(group, style, width); !text.empty()) parts.push_back(text);
    for (const ParityStorefront* each : moving(group.storefronts)) marked = marked || each->confidence;
  }
  if (marked) parts.push_back(style.dim(TextStyle::wrap(legend, width)));
  parts.push_back(TextStyle::wrap(countsText(answer), width));
  for (const ParityCard& each : answer.cards) {
    std::string text = card(each, answer.base ? answer.base->currency : "USD");
    if (!text.empty()) parts.push_back(TextStyle::wrap("● " + text, width, 2));
  }
  if (std::string text = perDownloadText(answer); !text.empty()) parts.push_back(TextStyle::wrap(text, width));
  return Text::joined(parts, "\n\n");
}

// What --write and --check say

std::string written(const ParityAnswer& answer, const ParityWritten& written, const std::string& next) {
  std::string product = answer.productText();
  std::string file(PricingFile::path);
  std::string text;
  if (written.count == 0) {
    text = "✓ No storefront off Apple's match, so none under " + product + " in " + file;
  } else {
    text = "✓ Wrote " + storefrontsText(written.count) + " under " + product + " in " + file;
  }
  if (!written.noLonger.empty()) {
    bool one = written.noLonger.size() == 1;
    text += ", Parity's no longer: " + Text::joined(written.noLonger, ", ") + (one ? ". It goes" : ". They go") +
            " to Apple's match the next time a price is set.";
  } else {
    text += ".";
  }
  if (!written.wroteOver.empty()) {
    text += "\n! Wrote over your own " + Text::joined(written.wroteOver, ", ") + ", as Parity sets " +
            (written.wroteOver.size() == 1 ? "it." : "them.");
  }
  if (!written.inRegions.empty()) {
    text += "\n! Your own " + Text::joined(written.regions, ", ") + " no longer counts for " +
            Text::joined(written.inRegions, ", ") + ", as Parity sets " +
            (written.inRegions.size() == 1 ? "it." : "them.");
  }
  return written.count == 0 && written.noLonger.empty() ? text : text + "\nNext: " + next;
}

std::string withinTargets(const ParityAnswer& answer) {
  auto checked =
      static_cast<std::size_t>(std::count_if(answer.storefronts.begin(), answer.storefronts.end(),
                                             [](const ParityStorefront& each) { return each.price && each.target; }));
  std::string tolerance = fractionText(answer.tolerance());
  if (checked == 0) return "· No storefront has a price and a target to check.";
  if (checked == 1) return "✓ Its storefront is within " + tolerance + " of its target.";
  return "✓ " + storefrontsText(checked) + " are within " + tolerance + " of their targets.";
}

std::string offTargets(const ParityAnswer& answer, const std::vector<const ParityStorefront*>& off,
                       const std::string& sets) {
  std::string text = storefrontsText(off.size()) + (off.size() == 1 ? " is" : " are") + " more than " +
                     fractionText(answer.tolerance()) + " off " + (off.size() == 1 ? "its target:" : "their targets:");
  std::vector<std::vector<std::string>> rows;
  for (const ParityStorefront* each : off) {
    double by = each->off().value_or(0);
    rows.push_back({"  " + printable(each->storefront), Format::country(each->storefront) + ":",
                    PriceRows::signedPercent(by) + (by < 0 ? " under" : " over")});
    if (each->price && each->target) {
      rows.back().back() += ",";
      rows.back().push_back(each->price->fixed(2) + " for " + each->target->fixed(2) + " " + printable(each->currency));
    }
  }
  text += "\n" + Format::table(rows);
  return text + "\n" + sets + " sets them.";
}

} // namespace kestu::ParityText
