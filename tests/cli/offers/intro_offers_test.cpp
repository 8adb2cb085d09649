#include "core/support/text.hpp"
#include "tests/support/endings.hpp"
#include "tests/support/linked_test.hpp"

namespace kestu::tests {
namespace {

using Words = std::vector<std::string>;

const std::string pro = "com.example.daylight.pro.monthly";
const std::string yearly = "com.example.daylight.pro.yearly";

const std::string ofPro = "create --product " + pro + " ", ofYearly = "create --product " + yearly + " ";

class IntroOffersTest : public LinkedTest {
 protected:
  IntroOffersTest() : LinkedTest({.now = [this] { return clock.now(); }}) {}

  std::function<Ran(const std::string&)> intro = [this](const auto& line) { return run("intro-offers " + line); };
  /// Made of the monthly subscription, approved at the first look.
  Ran create(const std::string& options) { return approved("intro-offers " + ofPro + options); }
  nlohmann::json lastOffer() { return lastBody("/intro-offers"); }
};

TEST_F(IntroOffersTest, WhatIsTypedWronglyIsToldAtOnceAndBeforeAnyRequest) {
  const std::string asYouGo = ofPro + "--mode pay-as-you-go --periods 3 ", free = ofPro + "--mode free --duration 1w ";
  for (const auto& [line, says] : std::vector<std::pair<std::string, Words>>{
           {"create", {"--product names the subscription", "--mode says how customers pay: free, pay-as-you-go or"}},
           {ofPro + "--mode gratis --duration 3w --periods 0",
            {"--mode is free, pay-as-you-go or pay-up-front, not gratis.", "--duration is 3d, 1w,",
             "--periods is a whole"}},
           {"create --mode gratis --round up --nice-within 99 --country eu --timeout x",
            {"--product names", "not gratis.", "--round is at-least,", "--nice-within is a percentage",
             "--country is one country, whose", "--timeout is a number of minutes"}},
           {free + "--price 1.99", {"A free offer has no price:"}},
           {ofPro + "--mode pay-up-front --duration 2w",
            {"Pay up front is for 1m, 2m, 3m, 6m or 1y, not 2w.",
             "Say what it costs: --price 1.99, or --discount 40%"}},
           {asYouGo + "--price 1 --discount 4", {"--price or --discount: one or the other."}},
           {asYouGo + "--discount 91% --override se=+2",
            {"--discount is a percentage off each country's own price, up to 90%: 40%."}},
           {asYouGo + "--discount 40 --override se=+2,no=+5% --country se --from 2026-11-01 --until 2026-10-01",
            {"se's steps count from", "no's percentage beside a discount", "--country goes with --price",
             "--from is today or a date to come, as", "--until is the last day, a date not before --from"}},
           {free + "--countries se --keep se",
            {"Every country that it is for is kept as it is, so there's nothing to make."}},
           {free + "--wait --no-wait", {"--wait and --no-wait: one or the other."}},
           {"delete --countries xx", {"--product names the subscription", "xx isn't a country"}},
           {"status 12", {"That isn't a job's ID, which the command that started it printed."}},
       }) {
    SCOPED_TRACE(line);
    Ran ran = intro(line);
    EXPECT_EQ(ran.status, 2);
    for (const std::string& each : says) EXPECT_TRUE(has(ran.err, each)) << each;
  }
  repo.write("metadata/pricing.json",
             R"({"intro-offers":{"com.example.daylight.pro.monthly":{"countries":{"se":"+2"}}}})");
  EXPECT_TRUE(begins(intro(ofPro + "--mode pay-up-front --duration 1m --discount 40").err,
                     "metadata/pricing.json: intro-offers: " + pro + ": se's steps count from Apple's"));
  repo.write("metadata/pricing.json", R"({"intro-offers":{"com.example.daylight.pro.monthly":1}})");
  EXPECT_TRUE(has(intro(ofPro).err, "\nmetadata/pricing.json: intro-offers: "));
  EXPECT_TRUE(server.requests().empty());
}

TEST_F(IntroOffersTest, WhatDoesntFitTheSubscriptionIsRefusedBeforeAnythingIsSent) {
  const std::string already = yearly + " has an introductory offer in that time already in ";
  expectErrors(
      intro, equals,
      {
          {"create --product com.example.daylight.tip --mode free --duration 1w", 2,
           "com.example.daylight.tip isn't a subscription, and introductory offers are a subscription's. kestu "
           "offer-codes create gives codes for it.\n"},
          {ofPro + "--mode pay-as-you-go --duration 1w --periods 2 --price 1 --override jp=1.5", 2,
           "Pay as you go is by the subscription's period, 1 month: leave --duration out.\njp pays in JPY, without "
           "cents: 2, not 1.5.\n"},
          {ofYearly + "--mode free --duration 1w --countries se,no", 1,
           already +
               "2 countries (no, se), and a country has one at a time. Leave them out with --keep or take theirs off "
               "first:\nkestu intro-offers delete --product " +
               yearly + " --countries no,se\n"},
          {ofYearly + "--mode free --duration 1w --countries europe", 1,
           already +
               "50 countries (al, am, at and 47 more), and a country has one at a time. Leave them out with --keep or "
               "take theirs off first with kestu intro-offers delete.\nNext: kestu intro-offers list --product " +
               yearly + " --all\n"},
          {ofYearly + "--mode free --duration 1w", 1,
           already +
               "every country, and a country has one at a time. Take that one off first:\nkestu intro-offers delete "
               "--product " +
               yearly + "\n"},
          {"delete --product " + pro, 7, pro + " has no introductory offer. Nothing sent.\n"},
      });
  EXPECT_EQ(calls("POST") + calls("DELETE"), 0U);
}

TEST_F(IntroOffersTest, AnOfferIsMadeFollowedShownAndTakenBack) {
  Ran made = create("--mode free --duration 1w --from 2026-12-01 --until 2026-12-01 --keep ru --wait");
  EXPECT_EQ(made.status, 0) << made.err;
  std::string job;
  server.withState([&](sandbox::State& state) { job = Text::lowercased(state.plans.back().job); });
  EXPECT_TRUE(has(made.out, "\nUndo: kestu intro-offers undo " + job + "\n"));
  EXPECT_TRUE(has(made.out, "✓ Done, all 174 countries.\n  Daylight Pro, monthly (" + pro +
                                "): 1 week free, from 1 Dec 2026, until 1 Dec 2026\n"));
  EXPECT_EQ(lastOffer().dump(), R"({"duration":"oneweek","from":"2026-12-01","mode":"freetrial","overrides":)"
                                R"([{"keep":true,"storefront":"ru"}],"periods":1,"product":")" +
                                    pro + R"(","until":"2026-12-01"})");
  EXPECT_EQ(intro("list --product " + pro).out,
            "Daylight Pro, monthly (" + pro + "), renewed every month\n1 week free, on 1 Dec 2026: 174 countries\n");
  EXPECT_TRUE(has(create("--mode free --duration 1w --countries se").err,
                  "Leave it out with --keep, let this one start after 1 Dec 2026 or take that one off first:\n"));
  EXPECT_TRUE(has(intro("undo " + job + " --yes --wait").out,
                  "✓ Undoing it: Kestu deletes the new offers over the next few minutes.\n"));
  server.forgetRequests();
  EXPECT_EQ(intro("undo " + job).err, "It's undone already.\n") << "nobody is asked";
  EXPECT_EQ(calls("POST"), 0U);
  EXPECT_TRUE(has(intro("list --product " + pro).out, "\nNo introductory offers.\n\nNext: kestu intro-offers create "));

  const std::string ofIt = " --product " + yearly;
  Ran gone = approved("intro-offers delete --countries uscanada,ca --wait" + ofIt);
  EXPECT_EQ(gone.status, 0) << gone.err;
  EXPECT_TRUE(begins(gone.err, "! --countries names ca twice.\n"));
  EXPECT_FALSE(has(gone.out, "Undo: "));
  EXPECT_TRUE(has(intro("list" + ofIt).out, "1 week free, since 1 Sep 2026: 173 countries\n"));
  EXPECT_TRUE(has(intro("delete --countries se,ca,us --dry-run" + ofIt).out,
                  "1 week free, since 1 Sep 2026: Sweden\n! There is none to take off in 2 countries (ca, us).\n"));
}

TEST_F(IntroOffersTest, PricesComeFromTheFileAndTheCommandLineAndAreShownFirst) {
  repo.write("metadata/pricing.json", R"({"intro-offers":{"com.example.daylight.pro.monthly":
      {"countries":{"eur":"-60%","se":29,"no":"-20%"},"rounding":{"round":"closest"},"extra":1}}})");
  const std::string paid = "--mode pay-as-you-go --periods 3 --discount 50% --override se=-25%";
  const std::string dry = ofPro + paid + " --dry-run --countries se,de,us,jp";
  Ran shown = intro(dry);
  EXPECT_TRUE(ended(shown, 0, equals,
                    "Daylight Weather (com.example.daylight), " + pro +
                        ": 50% off each country's own price, pay as you go for 3 months, in 4 countries (de, jp, se, "
                        "us), after your approval:\n"
                        "  de  Germany         5.49 →  2.19 EUR  -60%\n"
                        "  jp  Japan            900 →   450 JPY  -50%\n"
                        "  se  Sweden         60.00 → 45.00 SEK  -25%\n"
                        "  us  United States   4.99 →  2.49 USD  -50%\n"
                        "1 country from metadata/pricing.json.\n"
                        "Dry run: would make the introductory offer of " +
                        pro + ", after your approval.\n"));
  EXPECT_TRUE(has(shown.err, "has extra, which kestu doesn't read"));
  EXPECT_EQ(server.requests().back().query, "round=closest&dryRun=true");
  EXPECT_EQ(nlohmann::json::parse(intro(dry + " --json").out)["changes"][3].dump(),
            R"({"field":"introductory offer","from":null,"place":"us","to":"2.49 USD, pay as you go for 3 months"})");
  EXPECT_EQ(create(paid).status, 0);
  EXPECT_EQ(lastOffer()["overrides"].size(), 23U) << "the euro's, se and no";
  EXPECT_EQ(intro(ofPro + "--mode free --duration 1w").status, 6);
}

TEST_F(IntroOffersTest, APriceNamesTheCountryThatItIsOf) {
  const std::string soldInSweden = R"({"kind":"subscription","base":{"storefront":"se","currency":"SEK","amount":60},
      "storefronts":[{"storefront":"se","currency":"SEK","price":60},{"storefront":"no","currency":"NOK"}]})";
  for (const auto& [options, inSweden, says, country] :
       std::vector<std::tuple<std::string, bool, std::string, std::string>>{
           {"--price 1.99 --countries us,se", false, ": $1.99 a month for 3 months in United States, its", ""},
           {"--price 1.99 --countries se,no", false, ": Apple's match of $1.99 a month for 3 months in ", ""},
           {"--price 29 --countries se,no", true, ": SEK 29.00 a month for 3 months in Sweden, its", "se"},
           {"--price 29 --country no", true, ": NOK 29.00 a month for 3 months in Norway, its", "no"},
       }) {
    SCOPED_TRACE(says);
    if (inSweden) {
      server.onNext({.path = "/v1/apps/1234567890/prices", .method = "GET", .status = 200, .body = soldInSweden});
    }
    EXPECT_TRUE(has(intro(ofPro + "--mode pay-as-you-go --periods 3 --dry-run " + options).out, says));
    EXPECT_EQ(lastOffer().value("country", ""), country);
  }
}

} // namespace
} // namespace kestu::tests
