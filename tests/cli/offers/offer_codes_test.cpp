#include "tests/support/endings.hpp"
#include "tests/support/linked_test.hpp"

#include <algorithm>

namespace kestu::tests {
namespace {

using Words = std::vector<std::string>;

const std::string pro = "com.example.daylight.pro.monthly";
const std::string tip = "com.example.daylight.tip";

class OfferCodesTest : public LinkedTest {
 protected:
  OfferCodesTest() : LinkedTest({.now = [this] { return clock.now(); }}) {}

  Ran codes(const std::string& line) { return run("offer-codes " + line); }
  /// Approved at the first look.
  Ran made(const std::string& line) {
    server.scriptNextPlan({});
    std::string confirmed = line;
    return codes(confirmed.insert(line.find(' '), " --yes"));
  }
  void makeOffer(const std::string& name = "Spring") {
    Ran ran = made("create --product " + pro + " --mode pay-as-you-go --periods 3 --price 1.99 -- " + name);
    ASSERT_EQ(ran.status, 0) << ran.err;
  }
  std::string newest() {
    std::string id;
    server.withState([&](sandbox::State& state) { id = state.offers.codes.back().offerId; });
    return id;
  }
};

TEST_F(OfferCodesTest, WhatIsTypedWronglyIsToldAtOnceAndBeforeAnyRequest) {
  repo.write("there.txt", "mine");
  const std::string five = "generate a --count 5 --expires 2027-01-01 ";
  for (const auto& [line, says] : std::vector<std::pair<std::string, Words>>{
           {"create " + std::string(65, 'x') + " --eligibility new,old",
            {"The name is 65 characters long, 64 at most.", "--product names the in-app purchase or subscription",
             "--eligibility is of new, existing, expired, or an in-app purchase's non-spender", "Say what it costs:"}},
           {"create a --product " + pro + " --free --mode free",
            {"Free trial says how long", "--free is an in-app purchase's, a subscription has --mode free."}},
           {"generate ' ' --app 'a\nb'", {"The offer is empty.", "--app is an app's App Store ID"}},
           {"generate a", {"--count says how many one-time codes", "--expires is the last day of one-time codes"}},
           {"generate a --count 25001 --expires 2027-05-22",
            {"--count is a whole number from 1 to 25,000, not 25001.",
             "One-time codes are good for 6 months, so --expires is 2027-05-21 at most."}},
           {"generate a --count 5 --expires 2026-11-21", {"--expires is a day to come, as 2027-02-19, not"}},
           {"generate a --custom SPRING-26 --count 1e3 --to x",
            {"--custom is up to 64 letters and figures", "--count is a whole number", "--to goes without it."}},
           {five + "--to - --json --no-wait",
            {"--to waits for the codes, so it goes without --no-wait.", "--to - writes the codes alone"}},
           {five + "--to no/x", {"lies in a folder that isn't"}},
           {"download a --force", {"--to says where the codes go", "--force goes with --to and a file."}},
       }) {
    SCOPED_TRACE(line);
    Ran ran = codes(line);
    EXPECT_EQ(ran.status, 2);
    for (const std::string& each : says) EXPECT_TRUE(has(ran.err, each)) << each;
  }
  EXPECT_TRUE(ended(codes(five + "--to there.txt"), 1, has,
                    "Something is there already, so nothing was written:\n  there.txt\n--force writes over them."));
  EXPECT_TRUE(server.requests().empty());
}

TEST_F(OfferCodesTest, WhatTheProductsKindForbidsIsRefused) {
  for (const auto& [line, message] : std::vector<std::pair<std::string, std::string>>{
           {"create a --price 1 --product " + pro, pro + " is a subscription: --mode says how customers pay"},
           {"create a --mode free --duration 1w --eligibility new --product " + tip,
            tip + " isn't a subscription: --mode, --duration and --periods are a subscription's. One that costs "
                  "nothing is --free.\n--eligibility of an in-app purchase is of non-spender, active-spender, "
                  "churned-spender.\n"},
           {"create a --mode pay-as-you-go --periods 13 --price 1 --product " + pro,
            "A subscription of 1 month takes 1 to 12 periods, not 13.\n"},
           {"view a", "The app has no offer a: kestu offer-codes list shows them.\n"},
       }) {
    SCOPED_TRACE(line);
    Ran ran = codes(line);
    EXPECT_NE(ran.status, 0);
    EXPECT_TRUE(begins(ran.err, message));
  }
  EXPECT_EQ(calls("POST"), 0U);
}

TEST_F(OfferCodesTest, CodesGoFromTheirOfferToAFileAndToTheirEnd) {
  std::string out = made("create \"Tip's on us\" --free --countries se,no --product " + tip).out;
  EXPECT_EQ(out, "Daylight Weather (com.example.daylight), offer Tip's on us of com.example.daylight.tip: free, in 2 "
                 "countries (no, se), after your approval:\nFor customers who never paid, who pay and who used to pay, "
                 "with a code alone.\n● Waiting for your approval in the kestu app, until tomorrow, 12:00.\n"
                 "✓ Made the offer Tip's on us of com.example.daylight.tip: free.\nNext: kestu offer-codes generate " +
                     newest() + " --count 500 --expires 2027-02-19\n");
  makeOffer();
  const std::string it = "the offer Spring of " + pro;
  server.withState([](sandbox::State& state) { state.offers.codesAfter = 12; });
  EXPECT_TRUE(ended(made("generate Spring --count 3 --expires 2027-05-21 --to codes.txt"), 0, ends,
                    "✓ Wrote 3 codes to codes.txt. Each is worth an offer: keep the file to yourself.\n"));
  EXPECT_EQ(std::filesystem::status(repo.path() / "codes.txt").permissions(), std::filesystem::perms(0600));
  std::string text = contents("codes.txt"), first = text.substr(0, text.find('\n'));
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 3);
  EXPECT_EQ(codes("download Spring --to -").out, text);
  EXPECT_EQ(codes("download Spring --to codes.txt").status, 1);
  EXPECT_EQ(codes("download Spring --to codes.csv").out, "✓ Wrote 3 codes of " + it + " to codes.csv.\n");
  EXPECT_TRUE(begins(contents("codes.csv"),
                     "Code,Link\n" + first +
                         ",https://apps.apple.com/redeem?ctx=offercodes&id=1234567890&code=" + first + "\n"));
  EXPECT_TRUE(has(made("generate Spring --custom SPRING26 --count 1000").out,
                  "✓ Made SPRING26 (1,000 times) for " + it + ".\nNext: kestu offer-codes view Spring\n"));
  EXPECT_EQ(codes("generate Spring --custom SPRING26 --count 5 --yes").err,
            "The offer Spring of " + pro +
                " has the code SPRING26 (1,000 times) already. Nothing sent.\nNext: kestu offer-codes view Spring\n");
  EXPECT_EQ(codes("download Spring --codes SPRING26 --to -").status, 2);
  EXPECT_EQ(made("deactivate Spring --codes SPRING26").status, 0);
  EXPECT_TRUE(has(codes("list").out, "3 one-time codes; SPRING26 (1,000 times) (off)"));
  auto written = nlohmann::json::parse(made("generate Spring --count 2 --expires 2027-05-21 --to more.txt --json").out);
  EXPECT_EQ(written["file"].dump() + written["count"].dump(), "\"more.txt\"2");
  EXPECT_EQ(made("deactivate Spring").status, 0);
  EXPECT_TRUE(has(codes("view Spring").out, "3 one-time codes, made just now, until 21 May 2027, off\n"));
  EXPECT_EQ(codes("deactivate Spring").out, "✓ It's off already: nothing sent.\n");
  EXPECT_EQ(made("generate Spring --count 3 --expires 2027-01-01").err,
            "The offer Spring of " + pro + " is off for good. Nothing sent.\n");
}

TEST_F(OfferCodesTest, CodesThatAreMadeAreNeverLost) {
  makeOffer();
  const std::string generate = "generate Spring --count 3 --expires 2027-01-01 --to codes.txt";
  const std::string next =
      "The codes are made, and stay in App Store Connect.\nNext: kestu offer-codes download Spring --codes ";
  server.withState([](sandbox::State& state) { state.offers.codesAfter = 3600; });
  EXPECT_TRUE(ended(made(generate), 10, has, "Apple is still making the codes.\n" + next));
  server.withState([](sandbox::State& state) { state.offers.codesAfter = 0; });
  server.onNext({.path = "/v1/apps/1234567890/offer-codes/",
                 .method = "GET",
                 .status = 200,
                 .body = R"({"state":"ready","codes":["OK","\u001b[2J"]})"});
  EXPECT_TRUE(ended(made(generate), 9, has, next));
  EXPECT_FALSE(std::filesystem::exists(repo.path() / "codes.txt"));
  EXPECT_EQ(codes("download Spring --to codes.txt").status, 0);
  server.withState([](sandbox::State& state) { state.offers.codes.back().name = "Spr\x1bing"; });
  EXPECT_FALSE(has(codes("view Spr\x1bing").out, "download 'Spr"));
  made("create Quarter --mode pay-up-front --duration 3m --price 9.99 --product " + pro);
  EXPECT_TRUE(has(codes("view Quarter").out, "United States    14.97 →   9.99 USD  -33%\n"));
  makeOffer("-f");
  EXPECT_FALSE(has(codes("view -- -f").out, "generate -f"));
}

} // namespace
} // namespace kestu::tests
