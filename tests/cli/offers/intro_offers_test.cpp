#include "tests/support/command_test.hpp"

#include <nlohmann/json.hpp>

namespace kestu::tests {
namespace {

using Words = std::vector<std::string>;

const std::string pro = "com.example.daylight.pro.monthly";
const std::string yearly = "com.example.daylight.pro.yearly";

class IntroOffersTest : public CommandTest {
 protected:
  IntroOffersTest() : CommandTest({.now = [this] { return clock.now(); }}) {
    signIn();
    link();
  }
  Ran intro(Words arguments) {
    arguments.insert(arguments.begin(), "intro-offers");
    return run(arguments);
  }
  /// Made of the monthly subscription, approved at the first look.
  Ran create(Words arguments) {
    server.scriptNextPlan({});
    Words all = {"create", "--product", pro, "--yes"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return intro(all);
  }
  std::string jobIn(const std::string& out) {
    auto at = out.find("kestu intro-offers status ");
    return at == std::string::npos ? "" : out.substr(at + 26, 36);
  }
  nlohmann::json lastBody() {
    nlohmann::json body;
    for (const auto& request : server.requests()) {
      if (request.method == "POST" && request.path.ends_with("/intro-offers"))
        body = nlohmann::json::parse(request.body);
    }
    return body;
  }
};

TEST_F(IntroOffersTest, WhatIsTypedWronglyIsToldAtOnceAndBeforeAnyRequest) {
  const Words base = {"create", "--product", pro};
  struct Row {
    Words arguments;
    Words says;
  };
  for (const Row& row : std::vector<Row>{
           {{"create"}, {"--product names the subscription", "--mode says how customers pay: free, pay-as-you-go or"}},
           {{"create", "--product", pro, "--mode", "gratis", "--duration", "3w", "--periods", "0"},
            {"--mode is free, pay-as-you-go or pay-up-front, not gratis.", "--duration is 3d, 1w,",
             "--periods is a whole"}},
           {{"create", "--mode", "gratis", "--round", "up", "--nice-within", "99", "--country", "eu", "--timeout", "x"},
            {"--product names", "not gratis.", "--round is at-least,", "--nice-within is a percentage",
             "--country is one country, whose", "--timeout is a number of minutes"}},
           {{"create", "--product", pro, "--mode", "free", "--duration", "1w", "--price", "1.99"},
            {"A free offer has no price:"}},
           {{"create", "--product", pro, "--mode", "pay-up-front", "--duration", "2w"},
            {"Pay up front is for 1m, 2m, 3m, 6m or 1y, not 2w.",
             "Say what it costs: --price 1.99, or --discount 40%"}},
           {{"create", "--product", pro, "--mode", "pay-as-you-go", "--periods", "3", "--price", "1", "--discount",
             "4"},
            {"--price or --discount: one or the other."}},
           {{"create", "--product", pro, "--mode", "pay-as-you-go", "--periods", "3", "--discount", "91%", "--override",
             "se=+2"},
            {"--discount is a percentage off each country's own price, up to 90%: 40%."}},
           {{"create", "--product", pro, "--mode", "pay-as-you-go", "--periods", "3", "--discount", "40", "--override",
             "se=+2,no=+5%", "--country", "se", "--from", "2026-11-01", "--until", "2026-10-01"},
            {"se's steps count from", "no's percentage beside a discount", "--country goes with --price",
             "--from is today or a date to come, as", "--until is the last day, a date not before --from"}},
           {{"create", "--product", pro, "--mode", "free", "--duration", "1w", "--countries", "se", "--keep", "se"},
            {"Every country that it is for is kept as it is, so there's nothing to make."}},
           {{"create", "--product", pro, "--mode", "free", "--duration", "1w", "--wait", "--no-wait"},
            {"--wait and --no-wait: one or the other."}},
           {{"delete", "--countries", "xx"}, {"--product names the subscription", "xx isn't a country"}},
           {{"status", "12"}, {"That isn't a job's ID, which the command that started it printed."}},
       }) {
    SCOPED_TRACE(row.says.front());
    Ran ran = intro(row.arguments);
    EXPECT_EQ(ran.status, 2);
    for (const std::string& each : row.says) EXPECT_TRUE(has(ran.err, each));
  }
  repo.write("metadata/pricing.json",
             R"({"intro-offers":{"com.example.daylight.pro.monthly":{"countries":{"se":"+2"}}}})");
  Ran file = intro({"create", "--product", pro, "--mode", "pay-up-front", "--duration", "1m", "--discount", "40"});
  EXPECT_TRUE(begins(file.err, "metadata/pricing.json: intro-offers: " + pro + ": se's steps count from Apple's"));
  repo.write("metadata/pricing.json", R"({"intro-offers":{"com.example.daylight.pro.monthly":1}})");
  EXPECT_TRUE(has(intro({"create", "--product", pro}).err, "\nmetadata/pricing.json: intro-offers: "));
  EXPECT_TRUE(server.requests().empty());
}

TEST_F(IntroOffersTest, WhatDoesntFitTheSubscriptionIsRefusedBeforeAnythingIsSent) {
  for (const auto& [arguments, status, message] : std::vector<std::tuple<Words, int, std::string>>{
           {{"create", "--product", "com.example.daylight.tip", "--mode", "free", "--duration", "1w"},
            2,
            "com.example.daylight.tip isn't a subscription, and introductory offers are a subscription's. kestu "
            "offer-codes create gives codes for it.\n"},
           {{"create", "--product", pro, "--mode", "pay-as-you-go", "--duration", "1w", "--periods", "2", "--price",
             "1", "--override", "jp=1.5"},
            2,
            "Pay as you go is by the subscription's period, 1 month: leave --duration out.\njp pays in JPY, without "
            "cents: 2, not 1.5.\n"},
           {{"create", "--product", yearly, "--mode", "free", "--duration", "1w", "--countries", "se,no"},
            1,
            yearly +
                " has an introductory offer in that time already in 2 countries (no, se), and a country has one at "
                "a time. Leave them out with --keep or take theirs off first:\nkestu intro-offers delete --product " +
                yearly + " --countries no,se\n"},
           {{"create", "--product", yearly, "--mode", "free", "--duration", "1w", "--countries", "europe"},
            1,
            yearly +
                " has an introductory offer in that time already in 50 countries (al, am, at and 47 more), and a "
                "country has one at a time. Leave them out with --keep or take theirs off first with kestu "
                "intro-offers delete.\nNext: kestu intro-offers list --product " +
                yearly + " --all\n"},
           {{"create", "--product", yearly, "--mode", "free", "--duration", "1w"},
            1,
            yearly +
                " has an introductory offer in that time already in every country, and a country has one at a time. "
                "Take that one off first:\nkestu intro-offers delete --product " +
                yearly + "\n"},
           {{"delete", "--product", pro}, 7, pro + " has no introductory offer. Nothing sent.\n"},
       }) {
    SCOPED_TRACE(message);
    Ran ran = intro(arguments);
    EXPECT_EQ(ran.status, status);
    EXPECT_EQ(ran.err, message);
  }
  EXPECT_EQ(calls("POST") + calls("DELETE"), 0U);
}

TEST_F(IntroOffersTest, AnOfferIsMadeFollowedShownAndTakenBack) {
  Ran made = create("--mode free --duration 1w --from 2026-12-01 --until 2026-12-01 --keep ru --wait");
  EXPECT_EQ(made.status, 0) << made.err;
  std::string job = jobIn(made.out);
  EXPECT_TRUE(has(made.out, "\nUndo: kestu intro-offers undo " + job + "\n"));
  EXPECT_TRUE(has(made.out, "✓ Done, all 174 countries.\n  Daylight Pro, monthly (" + pro +
                                "): 1 week free, from 1 Dec 2026, until 1 Dec 2026\n"));
  EXPECT_EQ(lastBody().dump(), R"({"duration":"oneweek","from":"2026-12-01","mode":"freetrial","overrides":)"
                               R"([{"keep":true,"storefront":"ru"}],"periods":1,"product":")" +
                                   pro + R"(","until":"2026-12-01"})");
  EXPECT_EQ(intro({"list", "--product", pro}).out,
            "Daylight Pro, monthly (" + pro + "), renewed every month\n1 week free, on 1 Dec 2026: 174 countries\n");
  EXPECT_TRUE(has(create("--mode free --duration 1w --countries se").err,
                  "Leave it out with --keep, let this one start after 1 Dec 2026 or take that one off first:\n"));
  Ran undone = intro({"undo", job, "--yes", "--wait"});
  EXPECT_TRUE(has(undone.out, "✓ Undoing it: Kestu deletes the new offers over the next few minutes.\n"));
  server.forgetRequests();
  EXPECT_EQ(intro({"undo", job}).err, "It's undone already.\n") << "nobody is asked";
  EXPECT_EQ(calls("POST"), 0U);
  EXPECT_TRUE(
      has(intro({"list", "--product", pro}).out, "\nNo introductory offers.\n\nNext: kestu intro-offers create "));

  server.scriptNextPlan({});
  Ran gone = intro({"delete", "--product", yearly, "--countries", "uscanada,ca", "--yes", "--wait"});
  EXPECT_EQ(gone.status, 0) << gone.err;
  EXPECT_TRUE(begins(gone.err, "! --countries names ca twice.\n"));
  EXPECT_FALSE(has(gone.out, "Undo: "));
  EXPECT_TRUE(has(intro({"list", "--product", yearly}).out, "1 week free, since 1 Sep 2026: 173 countries\n"));
  EXPECT_TRUE(has(intro({"delete", "--product", yearly, "--countries", "se,ca,us", "--dry-run"}).out,
                  "1 week free, since 1 Sep 2026: Sweden\n! There is none to take off in 2 countries (ca, us).\n"));
}

TEST_F(IntroOffersTest, PricesComeFromTheFileAndTheCommandLineAndAreShownFirst) {
  repo.write("metadata/pricing.json", R"({"intro-offers":{"com.example.daylight.pro.monthly":
      {"countries":{"eur":"-60%","se":29,"no":"-20%"},"rounding":{"round":"closest"},"extra":1}}})");
  Words paid = {"--mode", "pay-as-you-go", "--periods", "3", "--discount", "50%", "--override", "se=-25%"};
  Words dry = {"create", "--product", pro, "--dry-run", "--countries", "se,de,us,jp"};
  dry.insert(dry.end(), paid.begin(), paid.end());
  Ran shown = intro(dry);
  EXPECT_EQ(shown.status, 0) << shown.err;
  EXPECT_EQ(shown.out,
            "Daylight Weather (com.example.daylight), " + pro +
                ": 50% off each country's own price, pay as you go for 3 months, in 4 countries (de, jp, se, "
                "us), after your approval:\n"
                "  de  Germany         5.49 →  2.19 EUR  -60%\n"
                "  jp  Japan            900 →   450 JPY  -50%\n"
                "  se  Sweden         60.00 → 45.00 SEK  -25%\n"
                "  us  United States   4.99 →  2.49 USD  -50%\n"
                "1 country from metadata/pricing.json.\n"
                "Dry run: would make the introductory offer of " +
                pro + ", after your approval.\n");
  EXPECT_TRUE(has(shown.err, "has extra, which kestu doesn't read"));
  EXPECT_EQ(server.requests().back().query, "round=closest&dryRun=true");
  dry.push_back("--json");
  auto changes = nlohmann::json::parse(intro(dry).out)["changes"];
  EXPECT_EQ(changes[3].dump(),
            R"({"field":"introductory offer","from":null,"place":"us","to":"2.49 USD, pay as you go for 3 months"})");
  EXPECT_EQ(create(paid).status, 0);
  EXPECT_EQ(lastBody()["overrides"].size(), 23U) << "the euro's, se and no";
  EXPECT_EQ(intro({"create", "--product", pro, "--mode", "free", "--duration", "1w"}).status, 6);
}

TEST_F(IntroOffersTest, APriceNamesTheCountryThatItIsOf) {
  const std::string soldInSweden = R"({"kind":"subscription","base":{"storefront":"se","currency":"SEK","amount":60},
      "storefronts":[{"storefront":"se","currency":"SEK","price":60},{"storefront":"no","currency":"NOK"}]})";
  struct Row {
    Words arguments;
    bool inSweden;
    std::string says, country;
  };
  for (const Row& row : std::vector<Row>{
           {{"--price", "1.99", "--countries", "us,se"},
            false,
            ": $1.99 a month for 3 months in United States, its",
            ""},
           {{"--price", "1.99", "--countries", "se,no"},
            false,
            ": Apple's match of $1.99 a month for 3 months in ",
            ""},
           {{"--price", "29", "--countries", "se,no"}, true, ": SEK 29.00 a month for 3 months in Sweden, its", "se"},
           {{"--price", "29", "--country", "no"}, true, ": NOK 29.00 a month for 3 months in Norway, its", "no"},
       }) {
    SCOPED_TRACE(row.says);
    if (row.inSweden) {
      server.onNext({.path = "/v1/apps/1234567890/prices", .method = "GET", .status = 200, .body = soldInSweden});
    }
    Words all = {"create", "--product", pro, "--mode", "pay-as-you-go", "--periods", "3", "--dry-run"};
    all.insert(all.end(), row.arguments.begin(), row.arguments.end());
    Ran ran = intro(all);
    EXPECT_TRUE(has(ran.out, row.says));
    EXPECT_EQ(lastBody().value("country", ""), row.country);
  }
}

} // namespace
} // namespace kestu::tests
