#include "core/pricing/price_override.hpp"

#include "core/console/printable.hpp"
#include "core/support/error.hpp"
#include "core/support/text.hpp"

#include <algorithm>
#include <functional>
#include <optional>

namespace kestu {

namespace {

[[noreturn]] void refuse(const std::string& message) { throw CLIError(CLIError::Kind::usage, message); }

bool isFigures(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

/// Digits, optionally a point and digits.
std::optional<Decimal> plainNumber(std::string_view text) {
  std::size_t point = std::min(text.find('.'), text.size());
  if (!isFigures(text.substr(0, point)) || (point < text.size() && !isFigures(text.substr(point + 1)))) return {};
  return Decimal::parse(text);
}

PriceOverride percentOf(const Decimal& number, char sign) {
  if (number.isZero()) refuse("0% changes nothing");
  if (sign == 0) {
    std::string off = number.text() + "%";
    refuse("a percentage has its sign: -" + off + " is less than Apple's match, +" + off + " more");
  }
  Decimal percent = sign == '-' ? -number : number;
  if (percent < Decimal::of(-PriceOverride::mostOff) || percent > Decimal::of(PriceOverride::mostOn)) {
    refuse("a percentage is from -90% to +300%");
  }
  return {PriceOverride::Kind::percent, percent};
}

PriceOverride stepsOf(const Decimal& number, char sign) {
  if (number.decimals() > 0) refuse("steps are a whole number: +2 or -2");
  if (number.isZero()) refuse("0 steps changes nothing");
  if (number > Decimal::of(PriceOverride::mostSteps)) refuse("steps are from -50 to +50");
  return {PriceOverride::Kind::steps, sign == '-' ? -number : number};
}

PriceOverride priceOf(std::string_view text, const Decimal& number) {
  std::size_t point = text.find('.');
  if (point != std::string_view::npos && text.size() - point > 3) refuse("a price has two decimals at most: 4.99");
  if (number.isZero()) refuse("a price is more than 0");
  return {PriceOverride::Kind::price, number};
}

std::string signedText(const Decimal& number) { return (number.isNegative() ? "" : "+") + number.text(); }

} // namespace

PriceOverride PriceOverride::parse(std::string_view text) {
  if (text == "keep") return keep();
  std::string_view rest = text;
  char sign = rest.starts_with('+') || rest.starts_with('-') ? rest.front() : '\0';
  if (sign != 0) rest.remove_prefix(1);
  bool isPercent = rest.ends_with('%');
  if (isPercent) rest.remove_suffix(1);
  auto number = plainNumber(rest);
  if (!number) refuse("");
  if (isPercent) return percentOf(*number, sign);
  return sign != 0 ? stepsOf(*number, sign) : priceOf(text, *number);
}

std::string PriceOverride::text() const {
  switch (kind) {
  case Kind::keep:
    return "keep";
  case Kind::price:
    return amount.text();
  case Kind::steps:
    return signedText(amount);
  case Kind::percent:
    return signedText(amount) + "%";
  }
  return "";
}

JSONData PriceOverride::json(std::string_view storefront) const {
  JSONData object = JSONData::object({{"storefront", storefront}});
  if (kind == Kind::keep) return object.set("keep", true);
  const char* key = kind == Kind::price ? "price" : kind == Kind::steps ? "steps" : "percent";
  return object.set(key, JSONData::decimal(amount.text()));
}

void PriceOverriding::requireOneCurrency(const RegionWord& region, const PriceOverride& price) {
  if (price.kind != PriceOverride::Kind::price || !region.isRegion || region.isEuro()) return;
  refuse("the countries in " + region.word +
         " pay in more than one currency: give them a percentage, steps or keep, or give eur an exact price in euros");
}

namespace {

/// All of a command line's entries, and what is wrong with them.
class Given {
 public:
  void add(const std::string& typed, const std::function<PriceOverride()>& read) {
    collect([&] {
      RegionWord region = RegionWord::read(typed);
      PriceOverride override = read();
      PriceOverriding::requireOneCurrency(region, override);
      for (std::string_view code : region.storefronts) {
        if (overrides.emplace(std::string(code), override).second) continue;
        refuse(std::string(code) + " is named twice: give each country one --override or --keep.");
      }
    });
  }
  void collect(const std::function<void()>& work) {
    try {
      work();
    } catch (const CLIError& error) {
      if (std::find(wrong.begin(), wrong.end(), error.description) == wrong.end()) wrong.push_back(error.description);
    }
  }

  PriceOverrides overrides;
  std::vector<std::string> wrong;
};

PriceOverride valueOf(const std::string& typed, const std::string& value) {
  try {
    return PriceOverride::parse(value);
  } catch (const CLIError& error) {
    if (error.description.empty()) {
      refuse("--override is a country and its price: se=59, se=+2 (steps), se=-10% or se=keep, not " +
             printable(typed));
    }
    refuse(printable(typed) + ": " + error.description);
  }
}

} // namespace

PriceOverrides PriceOverriding::given(const std::vector<std::string>& overrides,
                                      const std::vector<std::string>& keeps) {
  Given all;
  for (const std::string& list : overrides) {
    for (const std::string& piece : Text::split(list, ',')) {
      std::string typed = Text::trimmed(piece);
      std::size_t equals = typed.find('=');
      std::string value = equals == std::string::npos ? "" : Text::trimmed(typed.substr(equals + 1));
      all.add(typed.substr(0, equals), [&] { return valueOf(typed, value); });
    }
  }
  for (const std::string& list : keeps) {
    for (const std::string& word : Text::split(list, ',')) all.add(word, PriceOverride::keep);
  }
  if (!all.wrong.empty()) refuse(Text::joined(all.wrong, "\n"));
  return all.overrides;
}

} // namespace kestu
