#include "core/pricing/offer_prices.hpp"

#include "core/changes/store_job.hpp"
#include "core/console/format_money.hpp"
#include "core/pricing/price_rows.hpp"

#include <algorithm>

namespace kestu {

OfferPrice OfferPrice::read(const JSONValue& value) {
  return {value.at("storefront").text(), value.at("currency").text(),
          value.find("price", Decimal::read).value_or(Decimal()), value.find("regular", Decimal::read),
          value.whenTrue("top")};
}

std::string OfferPrice::amount() const {
  return price.fixed(std::max(Format::currencyDecimals(currency), price.decimals()));
}

std::string OfferPrices::text(const std::vector<OfferPrice>& prices, bool all, const TextStyles& style, int width) {
  constexpr std::size_t few = 12;
  std::vector<PriceRow> rows;
  std::int64_t unlisted = 0;
  for (const OfferPrice& each : prices) {
    if (!all && !each.listed && prices.size() > few) {
      ++unlisted;
      continue;
    }
    rows.push_back(
        {each.storefront, each.currency, each.regular, each.price, PriceRows::changeText(each.regular, each.price)});
  }
  std::string text = PriceRows::text(rows, Format::currencyDecimals, width);
  if (unlisted == 0) return text;
  return text + (text.empty() ? "  " : "\n  ") +
         style.dim("and " + Format::countries(unlisted) + " more, which --all lists");
}

} // namespace kestu
