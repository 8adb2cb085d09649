#include "core/support/files.hpp"
#include "tests/support/command_test.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace kestu::tests {
namespace {

using Words = std::vector<std::string>;

const std::string pro = "com.example.daylight.pro.monthly";
const std::string tip = "com.example.daylight.tip";

class OfferCodesTest : public CommandTest {
 protected:
  OfferCodesTest() : CommandTest({.now = [this] { return clock.now(); }}) {
    signIn();
    link();
  }
  Ran codes(Words arguments) {
    arguments.insert(arguments.begin(), "offer-codes");
    return run(arguments);
  }
  Ran approved(Words arguments) {
    server.scriptNextPlan({});
    arguments.push_back("--yes");
    return codes(arguments);
  }
  void makeOffer(const std::string& name = "Spring") {
    server.scriptNextPlan({});
    Ran ran = codes({"create", "--product", pro, "--mode", "pay-as-you-go", "--periods", "3", "--price", "1.99",
                     "--yes", "--", name});
    ASSERT_EQ(ran.status, 0) << ran.err;
  }
  std::string newest() {
    std::string id;
    server.withState([&](sandbox::State& state) { id = state.offers.codes.back().offerId; });
    return id;
  }
  std::string file(const std::string& name) { return Files::read(repo.path() / name, 1 << 20).value_or("none"); }
};

TEST_F(OfferCodesTest, WhatIsTypedWronglyIsToldAtOnceAndBeforeAnyRequest) {
  repo.write("there.txt", "mine");
  struct Row {
    Words arguments, says;
    int status = 2;
  };
  for (const Row& row : std::vector<Row>{
           {{"create", std::string(65, 'x'), "--eligibility", "new,old"},
            {"The name is 65 characters long, 64 at most.", "--product names the in-app purchase or subscription",
             "--eligibility is of new, existing, expired, or an in-app purchase's non-spender", "Say what it costs:"}},
           {{"create", "a", "--product", pro, "--free", "--mode", "free"},
            {"Free trial says how long", "--free is an in-app purchase's, a subscription has --mode free."}},
           {{"generate", " ", "--app", "a\nb"}, {"The offer is empty.", "--app is an app's App Store ID"}},
           {{"generate", "a"}, {"--count says how many one-time codes", "--expires is the last day of one-time codes"}},
           {{"generate", "a", "--count", "25001", "--expires", "2027-05-22"},
            {"--count is a whole number from 1 to 25,000, not 25001.",
             "One-time codes are good for 6 months, so --expires is 2027-05-21 at most."}},
           {{"generate", "a", "--count", "5", "--expires", "2026-11-21"},
            {"--expires is a day to come, as 2027-02-19, not"}},
           {{"generate", "a", "--custom", "SPRING-26", "--count", "1e3", "--to", "x"},
            {"--custom is up to 64 letters and figures", "--count is a whole number", "--to goes without it."}},
           {{"generate", "a", "--count", "5", "--expires", "2027-01-01", "--to", "-", "--json", "--no-wait"},
            {"--to waits for the codes, so it goes without --no-wait.", "--to - writes the codes alone"}},
           {{"generate", "a", "--count", "5", "--expires", "2027-01-01", "--to", "no/x"},
            {"lies in a folder that isn't"}},
           {{"generate", "a", "--count", "5", "--expires", "2027-01-01", "--to", "there.txt"},
            {"Something is there already, so nothing was written:\n  there.txt\n--force writes over them."},
            1},
           {{"download", "a", "--force"}, {"--to says where the codes go", "--force goes with --to and a file."}},
       }) {
    SCOPED_TRACE(row.says.front());
    Ran ran = codes(row.arguments);
    EXPECT_EQ(ran.status, row.status);
    for (const std::string& each : row.says) EXPECT_TRUE(has(ran.err, each));
  }
  EXPECT_TRUE(server.requests().empty());
}

TEST_F(OfferCodesTest, WhatTheProductsKindForbidsIsRefused) {
  for (const auto& [arguments, message] : std::vector<std::pair<Words, std::string>>{
           {{"create", "a", "--product", pro, "--price", "1"},
            pro + " is a subscription: --mode says how customers pay"},
           {{"create", "a", "--product", tip, "--mode", "free", "--duration", "1w", "--eligibility", "new"},
            tip +
                " isn't a subscription: --mode, --duration and --periods are a subscription's. One that costs nothing "
                "is --free.\n--eligibility of an in-app purchase is of non-spender, active-spender, "
                "churned-spender.\n"},
           {{"create", "a", "--product", pro, "--mode", "pay-as-you-go", "--periods", "13", "--price", "1"},
            "A subscription of 1 month takes 1 to 12 periods, not 13.\n"},
           {{"view", "a"}, "The app has no offer a: kestu offer-codes list shows them.\n"},
       }) {
    SCOPED_TRACE(message);
    Ran ran = codes(arguments);
    EXPECT_NE(ran.status, 0);
    EXPECT_TRUE(begins(ran.err, message));
  }
  EXPECT_EQ(calls("POST"), 0U);
}

TEST_F(OfferCodesTest, CodesGoFromTheirOfferToAFileAndToTheirEnd) {
  Ran made = approved({"create", "Tip's on us", "--product", tip, "--free", "--countries", "se,no"});
  EXPECT_EQ(made.out,
            "Daylight Weather (com.example.daylight), offer Tip's on us of com.example.daylight.tip: free, in 2 "
            "countries (no, se), after your approval:\nFor customers who never paid, who pay and who used to "
            "pay, with a code alone.\n● Waiting for your approval in the kestu app, until tomorrow, 12:00.\n"
            "✓ Made the offer Tip's on us of com.example.daylight.tip: free.\nNext: kestu offer-codes generate " +
                newest() + " --count 500 --expires 2027-02-19\n")
      << made.err;
  makeOffer();
  server.withState([](sandbox::State& state) { state.offers.codesAfter = 12; });
  Ran generated = approved("generate Spring --count 3 --expires 2027-05-21 --to codes.txt");
  EXPECT_EQ(generated.status, 0) << generated.err;
  EXPECT_TRUE(
      ends(generated.out, "✓ Wrote 3 codes to codes.txt. Each is worth an offer: keep the file to yourself.\n"));
  EXPECT_EQ(std::filesystem::status(repo.path() / "codes.txt").permissions(), std::filesystem::perms(0600));
  std::string text = file("codes.txt");
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 3);
  EXPECT_EQ(codes("download Spring --to -").out, text);
  EXPECT_EQ(codes("download Spring --to codes.txt").status, 1);
  std::string first = text.substr(0, text.find('\n'));
  EXPECT_EQ(codes("download Spring --to codes.csv").out,
            "✓ Wrote 3 codes of the offer Spring of " + pro + " to codes.csv.\n");
  EXPECT_TRUE(begins(file("codes.csv"), "Code,Link\n" + first +
                                            ",https://apps.apple.com/redeem?ctx=offercodes&id="
                                            "1234567890&code=" +
                                            first + "\n"));
  Ran custom = approved("generate Spring --custom SPRING26 --count 1000");
  EXPECT_TRUE(has(custom.out, "✓ Made SPRING26 (1,000 times) for the offer Spring of " + pro +
                                  ".\nNext: kestu offer-codes "
                                  "view Spring\n"));
  EXPECT_EQ(codes("generate Spring --custom SPRING26 --count 5 --yes").err,
            "The offer Spring of " + pro +
                " has the code SPRING26 (1,000 times) already. Nothing sent.\nNext: kestu offer-codes view Spring\n");
  EXPECT_EQ(codes("download Spring --codes SPRING26 --to -").status, 2);
  EXPECT_EQ(approved("deactivate Spring --codes SPRING26").status, 0);
  EXPECT_TRUE(has(codes("list").out, "3 one-time codes; SPRING26 (1,000 times) (off)"));
  Ran more = approved("generate Spring --count 2 --expires 2027-05-21 --to more.txt --json");
  auto written = nlohmann::json::parse(more.out);
  EXPECT_EQ(written["file"].dump() + written["count"].dump(), "\"more.txt\"2");
  EXPECT_EQ(approved("deactivate Spring").status, 0);
  EXPECT_TRUE(has(codes("view Spring").out, "3 one-time codes, made just now, until 21 May 2027, off\n"));
  EXPECT_EQ(codes("deactivate Spring").out, "✓ It's off already: nothing sent.\n");
  EXPECT_EQ(approved("generate Spring --count 3 --expires 2027-01-01").err,
            "The offer Spring of " + pro + " is off for good. Nothing sent.\n");
}

TEST_F(OfferCodesTest, CodesThatAreMadeAreNeverLost) {
  makeOffer();
  const Words generate = {"generate", "Spring", "--count", "3", "--expires", "2027-01-01", "--to", "codes.txt"};
  const std::string next =
      "The codes are made, and stay in App Store Connect.\nNext: kestu offer-codes download Spring --codes ";
  server.withState([](sandbox::State& state) { state.offers.codesAfter = 3600; });
  Ran late = approved(generate);
  EXPECT_EQ(late.status, 10);
  EXPECT_TRUE(has(late.err, "Apple is still making the codes.\n" + next));
  server.withState([](sandbox::State& state) { state.offers.codesAfter = 0; });
  server.onNext({.path = "/v1/apps/1234567890/offer-codes/",
                 .method = "GET",
                 .status = 200,
                 .body = R"({"state":"ready","codes":["OK","\u001b[2J"]})"});
  Ran hostile = approved(generate);
  EXPECT_EQ(hostile.status, 9);
  EXPECT_TRUE(has(hostile.err, next));
  EXPECT_FALSE(std::filesystem::exists(repo.path() / "codes.txt"));
  EXPECT_EQ(codes("download Spring --to codes.txt").status, 0);
  server.withState([](sandbox::State& state) { state.offers.codes.back().name = "Spr\x1bing"; });
  EXPECT_FALSE(has(codes("view Spr\x1bing").out, "download 'Spr"));
  approved({"create", "Quarter", "--product", pro, "--mode", "pay-up-front", "--duration", "3m", "--price", "9.99"});
  EXPECT_TRUE(has(codes("view Quarter").out, "United States    14.97 →   9.99 USD  -33%\n"));
  makeOffer("-f");
  EXPECT_FALSE(has(codes("view -- -f").out, "generate -f"));
}

} // namespace
} // namespace kestu::tests
