#include "tests/support/endings.hpp"
#include "tests/support/linked_test.hpp"

#include <algorithm>

namespace kestu::tests {
namespace {

const std::string pro = "com.example.daylight.pro.monthly", ofPro = " --product " + pro;

class PricesTest : public LinkedTest {
 protected:
  PricesTest() : LinkedTest({.now = [this] { return clock.now(); }}) {}

  std::function<Ran(const std::string&)> prices = [this](const auto& line) { return run("prices " + line); };
  std::string jobIn(const std::string& out) {
    auto at = out.find("kestu prices status ");
    return at == std::string::npos ? "" : out.substr(at + 20, 36);
  }
};

TEST_F(PricesTest, WhatIsTypedWronglyIsRefusedBeforeAnyRequest) {
  const std::string withParity =
      "--index, --strength, --floor, --cap, --tolerance, --exact, --only and --countries go with --parity.";
  const std::string oneCountry =
      "--country is one country, whose price Apple matches everywhere else: never eu, eur or one of Apple's "
      "regions.\nFor one price in every euro country: --country de --override eur=4.99.";
  const std::string multiplier = "--multiplier is a number above 0 and 1,000 at most, with a point for a part: 7.5.";
  const std::string nothing =
      "Give the new price, or countries to override: --override, --keep or metadata/pricing.json.";
  expectWrongUse(
      prices, begins,
      {
          {"parity --nice-within 15.5", "--nice-within is a percentage from 1% to 15%"},
          {"parity --countries my,xx", "xx isn't a country (se, or Apple's territory SWE), eu, eur"},
          {"parity --index hulu", "--index is kestu, peers, creatorstudio,"},
          {"set 4,99", "The price is a number with a point for its cents: 4.99, or 0."},
          {"set 5 --country eu", oneCountry},
          {"set 5 --country se,no", oneCountry},
          {"set 5 --from 2026-02-30", "--from is a date, as 2026-12-26, or soonest."},
          {"set 5 --from 2026-11-20", "--from is today or a date to come, as 2026-11-2"},
          {"set 4,99 --from x --keep zz --timeout 1 --only up",
           "The price is a number with a point for its cents: 4.99, or 0.\n--only is lower or raise.\n--timeout goes "
           "with --wait.\n--from is a date, as 2026-12-26, or soonest.\nzz isn't a country"},
          {"set 5 --until 2026-11-21", "--until is a date after --from, as 2026-12-26."},
          {"set --derived-from a", "--derived-from and --multiplier go together."},
          {"set --derived-from a --multiplier 2", "--derived-from is a subscription's: name the one it"},
          {"set --derived-from a --multiplier 2 --product b --country us",
           "--derived-from goes without --country, --until and --parity."},
          {"set 5 --derived-from a --multiplier 2 --product b",
           "--derived-from takes the place of a price: leave the price out."},
          {"set --derived-from a --multiplier 2 --product a", "A subscription's prices can't be derived from its own."},
          {"set --derived-from a --multiplier 1000.1 --product b", multiplier},
          {"set 5 --exact", withParity},
          {"set 5 --parity", "--parity is a subscription's: name it with --product."},
          {"set --parity --product b --country se", "Parity's shares are of Apple's match of the US"},
          {"set 5 --existing-too", "--existing-too and --wait are a subscription's: name it with --product."},
          {"set 5 --timeout 5", "--timeout goes with --wait."},
          {"set --override se=1 --keep SWE", "se is named twice: give each country one"},
          {"set", nothing},
          {"tiers --from 5 --to 4", "--from is at most --to."},
          {"status 12", "That isn't a job's ID, which the command that started it printed."},
          {"undo 0f8fad5b-d9cb-469f-a165-70867728950e/x", "That isn't a job's ID"},
      });
  repo.write("metadata/pricing.json", R"({"app":{"countries":{"se":"free"}}})");
  EXPECT_TRUE(begins(prices("set 5").err, "metadata/pricing.json: app's se is a price (59), steps"));
  EXPECT_TRUE(server.requests().empty());
}

TEST_F(PricesTest, WhatDoesntFitTheProductIsRefusedBeforeAnythingIsSent) {
  const std::string tip = "com.example.daylight.tip";
  expectWrongUse(
      prices, equals,
      {
          {"set 5 --wait --product " + tip,
           tip + " isn't a subscription: --existing-too, --wait and --derived-from are a subscription's.\n"},
          {"set --parity --product " + tip, tip + " isn't a subscription: --parity is a subscription's.\n"},
          {"set 5 --until 2027-01-01" + ofPro,
           pro + " is a subscription, whose prices run until they change: its sale is an introductory offer (kestu "
                 "intro-offers create) or an offer code (kestu offer-codes create).\n"},
          {"set --parity --countries us" + ofPro, "Parity gives no storefront a price of its own, so with no price or "
                                                  "countries given there's nothing to change.\n"},
          {"set --override jp=4.99" + ofPro, "jp pays in JPY, without cents: 5, not 4.99.\n"},
      });
  EXPECT_EQ(calls("POST"), 0U);
  repo.write("metadata/pricing.json", R"({"app":{"countries":{"jp":4.5,"kr":"4.5"}}})");
  EXPECT_EQ(prices("set 5 --override jp=1.5").err, "jp pays in JPY, without cents: 2, not 1.5.\nmetadata/pricing.json: "
                                                   "app: kr pays in KRW, without cents: 5, not 4.5.\n");
}

TEST_F(PricesTest, ACampaignGoesFromTheSuggestionToItsUndoing) {
  std::string page = prices("parity").out;
  EXPECT_TRUE(has(page, "E: 50% of Apple's match, "));
  EXPECT_TRUE(ends(page, "\nNext: kestu prices parity" + ofPro + " --write\n"));

  repo.write("metadata/pricing.json", R"({"com.example.daylight.pro.monthly":{"countries":{"in":"199","de":"4.99"}}})");
  EXPECT_TRUE(has(prices("parity --write --round closest").out,
                  "\n! Wrote over your own in, as Parity sets it.\nNext: kestu prices set" + ofPro));
  Ran check = prices("parity --check");
  EXPECT_TRUE(ended(check, 1, has, " are more than 15% off their targets:\n"));
  EXPECT_TRUE(ends(check.err, "\nkestu prices set" + ofPro + " --parity sets them.\n"));
  EXPECT_EQ(server.requests().back().query, "product=" + pro + "&round=closest") << "the file's rounding";

  Ran set = approved("prices set --override in=179 --keep br --wait" + ofPro);
  EXPECT_EQ(set.status, 0) << set.err;
  auto body = lastBody("/prices");
  auto entry = [&](const std::string& code) {
    for (const auto& each : body["overrides"]) {
      if (each["storefront"] == code) return each.dump();
    }
    return std::string();
  };
  EXPECT_EQ(entry("in"), R"({"price":179,"storefront":"in"})");
  EXPECT_EQ(entry("br"), R"({"keep":true,"storefront":"br"})");
  EXPECT_EQ(entry("de"), R"({"price":4.99,"storefront":"de"})");
  EXPECT_EQ(entry("ng"), R"({"percent":-50,"storefront":"ng"})");
  EXPECT_EQ(body["landing"].dump(), R"({"round":"closest"})");
  std::string job = jobIn(set.out);
  EXPECT_TRUE(has(set.err, " left.\n"));
  EXPECT_TRUE(begins(prices("status " + job).out, "✓ Done, all "));
  check = prices("parity --check --countries africamiddleeast,br");
  EXPECT_TRUE(ended(check, 1, begins, "2 storefronts are more than 15% off their targets:\n  in  India:   "));
  EXPECT_TRUE(has(check.err, "\n  br  Brazil:  +"));

  Ran undone = prices("undo --yes --wait " + job);
  EXPECT_TRUE(ended(undone, 0, has, "✓ Undoing it: Kestu deletes the new prices over the next few minutes.\n"));
  EXPECT_TRUE(has(undone.out, "✓ Undone in all "));
  EXPECT_TRUE(has(prices("parity --check").err, "\n  ng  Nigeria: "));
}

TEST_F(PricesTest, AJobIsFollowedToItsEndAndNeverPastItsTime) {
  Ran set = approved("prices set 5.99" + ofPro);
  std::string job = jobIn(set.out);
  ASSERT_FALSE(job.empty()) << set.out << set.err;
  EXPECT_TRUE(has(set.out, "\nUndo: kestu prices undo " + job + "\n"));
  const std::string timeUp = "The time ran out with it still on its way. Run it again to keep waiting.\n";
  server.withState([&](sandbox::State& state) { state.prices.countriesASecond = 1; });
  for (auto [minutes, status, slept] : {std::tuple("0", 10, 0), {"1", 10, 45}, {"60", 0, 135}, {"0", 0, 0}}) {
    SCOPED_TRACE(minutes);
    auto begun = clock.continuous();
    Ran ran = prices("status --wait --timeout " + std::string(minutes) + " " + job);
    EXPECT_EQ(ran.status, status) << ran.err;
    EXPECT_EQ(ends(ran.err, timeUp), status == 10);
    EXPECT_EQ(clock.continuous() - begun, std::chrono::seconds(slept));
  }

  server.withState([](sandbox::State& state) { state.prices.nextStopsAt = 12; });
  Ran stopped = approved("prices set 6.99 --wait" + ofPro);
  EXPECT_EQ(stopped.status, 1);
  EXPECT_TRUE(ends(stopped.err, "It stopped at App Store Connect's refusal. The price isn't available in this "
                                "territory.\n12 of 175 countries were done.\nUndo: kestu prices undo " +
                                    jobIn(stopped.out) + "\n"));
  server.onNext({.path = "/v1/apps/1234567890/jobs/" + jobIn(stopped.out), .status = 503});
  EXPECT_EQ(prices("status --wait " + jobIn(stopped.out)).status, 9);
  EXPECT_EQ(prices("undo " + job).status, 6);
  clock.advance(std::chrono::hours(72));
  EXPECT_TRUE(has(prices("undo " + job).err, "can't be undone any more"));
}

TEST_F(PricesTest, AChangeIsShownBeforeItIsSent) {
  std::string dry = prices("set 4.99 --override eur=-10%,se=+2 --keep jp --dry-run --nice").out;
  EXPECT_TRUE(has(dry, "\n  de  Germany"));
  EXPECT_FALSE(has(dry, "\n  pe  Peru")) << "no top market, at Apple's price";
  EXPECT_TRUE(has(dry, " more at Apple's price, which --all lists\n"));
  EXPECT_TRUE(has(dry, "Keeping today's price: jp.\nDry run: would set the app's own price, after your approval.\n"));
  EXPECT_TRUE(has(prices("set 4.99 --all --dry-run").out, "\n  pe  Peru"));
  auto changes = nlohmann::json::parse(prices("set 4.99 --dry-run --json").out)["changes"];
  auto us = std::find_if(changes.begin(), changes.end(), [](const auto& each) { return each["place"] == "us"; });
  ASSERT_NE(us, changes.end());
  EXPECT_EQ(us->dump(), R"({"field":"price","from":"0.00 USD","place":"us","to":"4.99 USD"})");
  ASSERT_EQ(prices("set 4.99 --yes --no-wait").status, 0);
  EXPECT_FALSE(has(prices("set 5.99").err, "! The same change waits"));
  Ran unasked = prices("set 4.99");
  EXPECT_TRUE(has(unasked.err, "\n! The same change waits for your approval already, until "));
  EXPECT_TRUE(ended(unasked, 6, has, "$4.99 in United States, after your approval:\n"));
}

TEST_F(PricesTest, APriceChangeSaysWhatIsDoneAndWhatIsNot) {
  for (const auto& [arguments, says, never] : std::vector<std::tuple<std::string, const char*, const char*>>{
           {"set 5.99 --yes" + ofPro,
            "● Kestu sets com.example.daylight.pro.monthly: $5.99 in United States, country by country, as your key's "
            "hour allows.\nNext: kestu prices status ",
            "✓"},
           {"set 6.99 --yes --wait" + ofPro, "✓ Done, all 175 countries.\n", " \n"},
           {"set 2.99 --product com.example.daylight.tip --from 2026-12-24 --until 2027-01-01 --dry-run",
            "Daylight Weather (com.example.daylight), com.example.daylight.tip: $2.99 in United States, from 24 Dec "
            "2026, until 1 Jan 2027, after your approval:\n",
            "✓"},
           {"parity --json --write --check", "{\n  \"base\": {\n", "✓"},
       }) {
    SCOPED_TRACE(says);
    server.scriptNextPlan({});
    Ran ran = prices(arguments);
    EXPECT_TRUE(ended(ran, 0, has, says));
    EXPECT_FALSE(has(ran.out, never));
  }
  EXPECT_FALSE(std::filesystem::exists(repo.path() / "metadata"));
}

TEST_F(PricesTest, TiersAreListedAroundTodaysPrice) {
  EXPECT_EQ(prices("tiers --country SWE --from 57 --to 60" + ofPro).out,
            pro + " in Sweden, 4 of Apple's 548 prices:\n\n"
                  "       Price   Proceeds  Not proceeds\n"
                  "   SEK 57.00  SEK 39.90           30%\n"
                  "   SEK 58.00  SEK 40.60           30%\n"
                  " ● SEK 59.00  SEK 41.30           30%\n"
                  " ● SEK 60.00  SEK 42.00           30%  today\n\n"
                  "● Nice price tier. Today's price: SEK 60.00.\n");
  EXPECT_EQ(prices("tiers --from 0.29 --to 0.30 -o csv").out,
            "Price,Currency,Proceeds,Not proceeds,Nice,Today\n0.29,USD,0.20,31%,,\n");
  EXPECT_TRUE(has(prices("tiers").out, "30 of Apple's")) << "the cheapest, where it is free";
  std::string near = prices("tiers" + ofPro).out;
  EXPECT_TRUE(has(near, "\n   $2.50  "));
  EXPECT_FALSE(has(near, "$9.99"));
}

} // namespace
} // namespace kestu::tests
