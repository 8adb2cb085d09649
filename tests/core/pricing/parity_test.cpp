#include "core/pricing/parity.hpp"
#include "core/pricing/parity_text.hpp"
#include "core/support/text.hpp"
#include "tests/support/tables.hpp"

#include <gtest/gtest.h>

namespace kestu::tests {
namespace {

ParityAnswer answerOf(const std::string& rest) { return ParityAnswer::read(JSONValue::parse("{" + rest + "}")); }

ParityStorefront storefrontOf(const std::string& facts) {
  return ParityStorefront::read(JSONValue::parse(R"({"storefront":"in","currency":"INR")" + facts + "}"));
}

TEST(ParityAsk, TakesPercentagesWithinTheirRanges) {
  const char* strength = "--strength is a percentage from 0% to 150%";
  for (const auto& [set, value, message] : Rows<void (ParityAsk::*)(const std::string&), const char*, const char*>{
           {&ParityAsk::setStrength, "60.5%", ""},
           {&ParityAsk::setStrength, "150", ""},
           {&ParityAsk::setStrength, "150.5", strength},
           {&ParityAsk::setStrength, "60 %", strength},
           {&ParityAsk::setStrength, "1e1", strength},
           {&ParityAsk::setFloor, "9", "--floor is a percentage from 10% to 100%"},
           {&ParityAsk::setFloor, "10", ""},
           {&ParityAsk::setCap, "99", "--cap is a percentage from 100% to 200%"},
           {&ParityAsk::setTolerance, "50.01", "--tolerance is a percentage from 0% to 50%"},
           {&ParityAsk::setOnly, "both", "--only is lower or raise."},
       }) {
    ParityAsk ask;
    EXPECT_EQ(outcomeOf([&, with = set, word = value] { (ask.*with)(word); }), message) << value;
    EXPECT_EQ(ask.any(), !*message) << value;
  }
}

TEST(ParityAsk, SendsWhatIsGivenInItsOrder) {
  ParityAsk ask;
  EXPECT_FALSE(ask.any());
  ask.landing.setEnding("", "00");
  EXPECT_FALSE(ask.any());
  ask.landing.setNice("", "3");
  ask.setCountries("us,uscanada");
  ask.setOnly("raise");
  ask.exact = true;
  ask.setTolerance("7.5%");
  ask.setCap("125");
  ask.setFloor("50");
  ask.setStrength("60");
  ask.index = "peers";
  std::string text;
  for (const auto& [key, value] : ask.query("pro")) text += key + "=" + value + " ";
  EXPECT_EQ(text, "product=pro index=peers strength=0.6 floor=0.5 cap=1.25 tolerance=0.075 exact=true only=raise "
                  "countries=ca,us nice=3 ending=00 ");
  EXPECT_EQ(ask.options(), " --index peers --strength 60 --floor 50 --cap 125 --tolerance 7.5 --exact --only raise "
                           "--countries us,uscanada --nice-within 3 --nice-ending 00");
}

TEST(ParityStorefront, DecidesWithoutRoundingErrors) {
  // A percent and marks of 0 stand for none.
  for (const auto& [facts, percent, moves, isOff, marks] : Rows<const char*, int, bool, bool, int>{
           {R"(,"multiplier":0.996)", 0, false, false, 0},
           {R"(,"multiplier":0.995)", -1, false, false, 0},
           {R"(,"multiplier":1.005,"price":1)", 1, true, false, 0},
           {R"(,"multiplier":0.5,"price":100,"kept":true)", 0, false, false, 0},
           {R"(,"multiplier":0.5,"change":-0.004,"confidence":5)", -50, false, false, 5},
           {R"(,"multiplier":1,"change":0.005,"confidence":0.3)", 0, true, false, 2},
           {R"(,"price":115,"target":100,"confidence":9)", 0, false, false, 5},
           {R"(,"price":115.00001,"target":100,"confidence":0)", 0, false, true, 1},
           {R"(,"price":4.60,"target":4)", 0, false, false, 0},
           {R"(,"price":0.85,"target":1)", 0, false, false, 0},
           {R"(,"price":0.84,"target":1)", 0, false, true, 0},
           {R"(,"price":2,"target":0,"change":-1)", 0, true, false, 0},
           {R"(,"change":-0.5)", 0, true, true, 0},
       }) {
    SCOPED_TRACE(facts);
    auto storefront = storefrontOf(facts);
    EXPECT_EQ(storefront.percent().value_or(0), percent);
    EXPECT_EQ(storefront.moves(), moves);
    EXPECT_EQ(storefront.isOffBy(*Decimal::parse("0.150000001")), isOff);
    EXPECT_EQ(storefront.marks().value_or(0), marks);
  }
}

TEST(ParityAnswer, KnowsWhatIsOffItsTargetAndRecordsItsMaking) {
  auto answer =
      answerOf(R"("storefronts":[{"storefront":"in","currency":"INR","price":150,"target":100,"multiplier":0.5},)"
               R"({"storefront":"ch","currency":"CHF","price":5,"target":10},)"
               R"({"storefront":"jp","currency":"JPY","multiplier":0.7,"kept":true}])");
  auto off = answer.offTarget();
  ASSERT_EQ(off.size(), 2U);
  EXPECT_EQ(off[0]->storefront, "ch");
  EXPECT_EQ(answer.record("lower").compact(),
            R"({"cap":1.25,"floor":0.5,"index":"kestu","only":"lower","strength":0.6,"tolerance":0.15,"zones":true})");
  EXPECT_EQ(answer.overrides(false).size(), 1U);
  EXPECT_EQ(answer.overrides(true).at("jp").text(), "keep");
  EXPECT_EQ(answer.toMatch().size(), 2U);
  EXPECT_EQ(
      ParityText::offTargets(answer, off, "kestu prices set --product pro --parity"),
      "2 storefronts are more than 15% off their targets:\n"
      "  ch  Switzerland:  -50% under,  5.00 for 10.00 CHF\n"
      "  in  India:        +50% over,   150.00 for 100.00 INR\nkestu prices set --product pro --parity sets them.");
}

TEST(ParityAnswer, SaysWhyThereIsNothingToPriceBy) {
  ParityAsk ask;
  ask.setCountries("in");
  const std::string base = R"("product":"pro","base":{"storefront":"us","currency":"USD","amount":4.99})";
  for (const auto& [rest, start] : Rows<std::string, std::string>{
           {R"("connect":"nosubscription")", "The app has no subscription on sale for Parity to price."},
           {R"("connect":"nokey")", "No App Store Connect key of yours covers the app. Parity needs"},
           {R"("connect":"unavailable")", "App Store Connect didn't answer, and Parity needs"},
           {R"("connect":"role")", "Your App Store Connect key can't read prices. Parity needs"},
           {R"("product":"pro")", "Parity works from Apple's match of the US price, and Kestu has none for pro yet."},
           {base, "None of the storefronts --countries names has a price of pro"},
           {base + R"(,"storefronts":[{"storefront":"in","currency":"INR","price":4}])", ""},
       })
    EXPECT_TRUE(tells(outcomeOf([&, answer = answerOf(rest)] { answer.requireUsable(ask); }), start));
}

TEST(ParityText, IsAPageWithinTheWidth) {
  auto answer = answerOf(
      R"("product":"pro","products":[{"productId":"pro","name":"Daylight Pro \u001b[2J日本語"}],)"
      R"("base":{"storefront":"us","currency":"USD","amount":4.99},"settings":{"strength":0.6,"floor":0.5,"cap":1.25,)"
      R"("tolerance":0.075,"zones":true,"only":"lower"},"zones":[{"zone":"C","rate":0.8},{"zone":"B","rate":1}],)"
      R"("storefronts":[{"storefront":"vn","currency":"VND","price":129000,"target":99000,"multiplier":0.8,"zone":"C",)"
      R"("change":-0.2326,"confidence":1},{"storefront":"ci","currency":"USD","price":4.99,"target":3.99,)"
      R"("multiplier":0.8,"zone":"C","change":-0.2004,"confidence":4},{"storefront":"us","currency":"USD",)"
      R"("price":4.99,"target":4.99,"multiplier":1,"zone":"B","change":0}],"cards":[{"kind":"rivals",)"
      R"("storefront":"vn","median":0.55,"count":7},{"kind":"who knows"}])");
  for (int width : {50, 80, 120}) {
    std::string page = ParityText::lines(answer, TextStyles(false), width);
    for (const std::string& line : Text::split(page, '\n'))
      EXPECT_LE(Text::columns(line), static_cast<std::size_t>(width)) << line;
    EXPECT_EQ(page.find('\x1B'), std::string::npos);
  }
  EXPECT_EQ(ParityText::lines(answer, TextStyles(false), 80),
            "Daylight Pro \\u{1b}[2J日本語 (pro)\n"
            "Kestu Global Price Index: what each country really pays for subscriptions, from\n"
            "its top-grossing apps and the biggest services\n"
            "strength 60%, floor 50%, cap 125%, tolerance 7.5%, in zones, lowering only\n\n"
            "C: 80% of Apple's match, 2 storefronts\n"
            "  ci  Côte d’Ivoire       4.99 →     3.99 USD  -20%  ▮▮▮▮\n"
            "  vn  Vietnam        129000.00 → 99000.00 VND  -23%  ▮\n\n"
            "▮▮▮▮▮ how sure the index is there, from how closely its sources agree; ▮ means\n"
            "too little data there, so it's estimated from World Bank prices.\n\n"
            "2 storefronts go lower, 1 keeps its price.\n\n"
            "● Vietnam: your competitors charge a median 55% of Apple's match (7 apps).");
}

TEST(ParityText, SaysEachKindOfCard) {
  for (const auto& [facts, text] : Rows<std::string, std::string>{
           {R"("kind":"converts","storefront":"in","rate":0.41,"home":0.33,"ended":200,"paid":82)",
            "India: 41% of trials pay (82 of 200), against 33% at home."},
           {R"("kind":"raise","storefront":"ch","rate":0.45,"home":0.33,"change":0.15,"breakeven":0.13,)"
            R"("modelLow":-0.004,"modelHigh":0.09)",
            "Switzerland: 45% of trials pay, against 33% at home. A raise of 15% pays off unless more than 13% stop "
            "paying. Existing subscribers keep their price. Modeled, an assumption: -0.4% to +9% of a year's revenue "
            "there."},
           {R"("kind":"low","storefronts":[{"storefront":"in","change":-0.5}])",
            "India's target is 50% under today's price."},
           {R"("kind":"low","storefront":"in")", "India's target is 30% or more under today's price."},
           {R"("kind":"low","storefronts":[{"storefront":"in","change":-0.5},{"storefront":"br"}])",
            "2 targets are 30% or more under today's price: India -50%, Brazil."},
           {R"("kind":"over","storefront":"br","change":0.6,"downloadsShare":0.12,"proceedsShare":0.031)",
            "Brazil: today's price is 60% over its target, with 12% of downloads and 3.1% of proceeds."},
           {R"("kind":"drift","storefront":"eg","since":"2024-03-03","then":2.99,"change":-0.6)",
            "Egypt: the same price since 3 Mar 2024, worth $1.20 now against $2.99 then (60% less)."},
           {R"("kind":"notprice","storefront":"br","lost":0.12,"elsewhere":0.04)",
            "Brazil: 12% of subscribers in billing retry, against 4% elsewhere: payments failing, not the price."},
           {R"("kind":"newproduct","productId":"pro.yearly","sibling":"pro.monthly")",
            "pro.yearly is too new for trials of its own: what is said of them is pro.monthly's."},
           {R"("kind":"changed","storefront":"pl","before":0.2,"after":0.25,"perDownloadBefore":0.1,)"
            R"("perDownloadAfter":0.125,"control":{"before":0.3,"after":0.3})",
            "Poland: 20% of trials paid before the price changed, 25% after; $0.10 per download before, $0.125 per "
            "download after. Where prices didn't move: 30%, then 30%."},
           {R"("kind":"notprice")", ""},
       })
    EXPECT_EQ(ParityText::card(ParityCard::read(JSONValue::parse("{" + facts + "}")), "USD"), text) << facts;
}

} // namespace
} // namespace kestu::tests
