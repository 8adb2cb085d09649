#include "core/pricing/offer_codes.hpp"
#include "core/pricing/offer_pricing.hpp"
#include "core/pricing/offer_terms.hpp"
#include "core/support/text.hpp"
#include "tests/support/tables.hpp"

#include <gtest/gtest.h>

namespace kestu::tests {

TEST(OfferTerms, ATypedDurationIsOneOfApples) {
  for (const auto& [typed, raw] : Rows<std::string, std::string>{
           {"3d", "threedays"},
           {"7d", "oneweek"},
           {"14 days", "twoweeks"},
           {" 1W ", "oneweek"},
           {"1 month", "onemonth"},
           {"3m", "threemonths"},
           {"12 months", "oneyear"},
           {"1y", "oneyear"},
       })
    EXPECT_EQ(Offers::durationTyped(typed).value_or(""), raw) << typed;
  for (const char* typed : {"3w", "0d", "-1w", "1", "w", "99999999999w", "1.5m", "2y", "1mm", ""})
    EXPECT_FALSE(Offers::durationTyped(typed)) << typed;
}

TEST(OfferTerms, WhatAppleDoesntTakeIsSaidWithWhatItTakes) {
  using Optional = std::optional<std::string>;
  for (const auto& [mode, duration, periods, says] :
       Rows<const char*, Optional, std::optional<std::int64_t>, std::string>{
           {"freetrial", "threedays", std::nullopt, ""},
           {"freetrial", "oneyear", 1, ""},
           {"freetrial", std::nullopt, 2,
            "Free trial is one time, so --periods goes with pay-as-you-go alone.\nFree trial says how long with "
            "--duration: 3d, 1w, 2w, 1m, 2m, 3m, 6m or 1y."},
           {"payupfront", "onemonth", std::nullopt, ""},
           {"payupfront", "twoweeks", std::nullopt, "Pay up front is for 1m, 2m, 3m, 6m or 1y, not 2w."},
           {"payasyougo", std::nullopt, std::nullopt, "Pay as you go says how many periods with --periods."},
           {"payasyougo", "oneweek", 3, ""},
       })
    EXPECT_EQ(Text::joined(Offers::faults(mode, duration, periods), "\n"), says)
        << std::string(mode) + " " + duration.value_or("") + " " + says;
  const std::string byPeriod = "Pay as you go is by the subscription's period, 1 month: leave --duration out.";
  for (const auto& [terms, period, says] : Rows<OfferTerms, const char*, std::string>{
           {{"payasyougo", "onemonth", 12}, "onemonth", ""},
           {{"payasyougo", "onemonth", 13}, "onemonth", "A subscription of 1 month takes 1 to 12 periods, not 13."},
           {{"payasyougo", "sixmonths", 3}, "sixmonths", "A subscription of 6 months takes 1 to 2 periods, not 3."},
           {{"payasyougo", "oneyear", 2}, "oneyear", "A subscription of 1 year takes 1 period, not 2."},
           {{"payasyougo", "oneweek", 1}, "onemonth", byPeriod},
           {{"payasyougo", "threeyears", 99}, "threeyears", ""}, // newer than this program
           {{"payupfront", "sixmonths", 1}, "onemonth", ""},
       })
    EXPECT_EQ(Offers::faultFor(terms, period), says) << terms.duration;
}

TEST(OfferTerms, TermsAreSaidInWords) {
  for (const auto& [terms, bare, priced] : Rows<OfferTerms, std::string, std::string>{
           {{"freetrial", "oneweek", 1}, "1 week free", "1 week free"},
           {{"payasyougo", "twomonths", 2}, "pay as you go for 4 months", "$1.99 every 2 months for 4 months"},
           {{"payasyougo", "onemonth", 1}, "pay as you go for 1 month", "$1.99 a month for 1 month"},
           {{"payupfront", "oneyear", 1}, "pay up front for 1 year", "$1.99 for 1 year"},
           {{"pay\x1b", "\nages", 2}, "pay\\u{1b} for 2 ×  ages", "pay\\u{1b} for 2 ×  ages"},
       }) {
    SCOPED_TRACE(bare);
    EXPECT_EQ(Format::introTerms(terms), bare);
    EXPECT_EQ(Format::introTerms(terms, Decimal::parse("1.99"), "USD"), priced);
  }
  EXPECT_EQ(Format::eligibility({"expired", "new"}), "new and expired subscribers");
  EXPECT_EQ(Format::eligibility({"churnedspender", "\x1b"}), "customers who used to pay and \\u{1b}");
}

TEST(OfferTerms, OverridesBesideADiscountAreOffTheOwnPrice) {
  const std::string steps = "'s steps count from Apple's match of a price, which a discount doesn't give: give it a "
                            "percentage off its own price (se=-40%) or a price";
  const std::string more = "'s percentage beside a discount is off its own price: give it a minus, as se=-40%";
  for (const auto& [overrides, countries, discount, says] :
       Rows<std::vector<std::string>, std::vector<std::string>, bool, std::string>{
           {{"se=+2"}, {}, true, "se" + steps},
           {{"se=-2", "no=+10%", "de=-10%", "fi=9"}, {}, true, "se" + steps + "\nno" + more},
           {{"uscanada=+10%"}, {}, true, "ca" + more + "\nSo it is with us."},
           {{"se=+2", "no=+10%"}, {}, false, ""},
           {{"se=+2", "no=1"}, {"se"}, false, "no isn't one of --countries, so it takes no --override or --keep."},
       }) {
    SCOPED_TRACE(says);
    OfferPricing pricing;
    (discount ? pricing.discount : pricing.price) = Decimal::of(40);
    pricing.overrides = PriceOverriding::given(overrides, {});
    pricing.countries = countries;
    EXPECT_EQ(Text::joined(pricing.faults(), "\n"), says);
  }
}

} // namespace kestu::tests
