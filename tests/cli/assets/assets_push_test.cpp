#include "core/assets/asset_push.hpp"
#include "core/support/md5.hpp"
#include "sandbox/plans.hpp"
#include "tests/support/endings.hpp"
#include "tests/support/linked_test.hpp"

#include <algorithm>
#include <cstdint>
#include <set>

namespace fs = std::filesystem;

namespace kestu::tests {
namespace {

using nlohmann::json;
using sandbox::Fault;

const std::string commit = "POST /v1/apps/1234567890/assets/commit";
const std::string folder = "metadata/screenshots/en-US/iPhone 6.9/";

class PushTest : public LinkedTest {
 protected:
  Ran push(const std::string& more = "--yes") { return run("assets push 1.2 " + more); }
  void picture(const std::string& path, std::uint8_t shade, std::uint32_t width = 1290, std::uint32_t height = 2796) {
    repo.write(path, png(width, height, PNGColours::palette, shade));
  }
  /// 1.png and so on.
  void pictures(std::uint8_t count) {
    for (std::uint8_t i = 1; i <= count; ++i) picture(folder + std::to_string(i) + ".png", i);
  }
  void twoLanguages() {
    picture(folder + "2.png", 2);
    picture(folder + "10.png", 10);
    picture("metadata/screenshots/de-DE/iPhone 6.9/01.png", 2);
  }
  std::size_t parts() { return calls("PUT /upload/"); }
  /// The uploads that the service was told have arrived, in the calls from that one on.
  std::set<std::string> uploadsTold(std::size_t from = 0, std::size_t most = SIZE_MAX) {
    std::set<std::string> told;
    std::size_t call = 0;
    for (const auto& request : server.requests()) {
      if (!request.path.ends_with("/uploaded") || call++ < from || call - from > most) continue;
      const auto body = json::parse(request.body);
      for (const auto& id : body["assetIds"]) told.insert(id.get<std::string>());
    }
    return told;
  }
};

TEST_F(PushTest, SendsEachFileOnceThenNothing) {
  twoLanguages();
  server.scriptNextPlan({.waitingPolls = 2});
  EXPECT_TRUE(ended(push(), 0, has, "✓ 1.2 for iOS shows the repo's assets, 2 files ("));
  EXPECT_EQ(parts(), 2U) << "the same picture in two languages goes once";
  for (const auto& request : server.requests()) {
    if (request.path.starts_with("/upload/")) EXPECT_FALSE(request.headers.contains("authorization"));
  }
  auto languages = lastBody("/commit")["languages"];
  EXPECT_EQ(languages[0]["locale"], "de-DE");
  auto files = languages[1]["displays"][0]["files"];
  EXPECT_EQ(files[0]["path"], "en-US/iPhone 6.9/2.png");
  EXPECT_EQ(files[1]["path"], "en-US/iPhone 6.9/10.png");
  EXPECT_EQ(languages[0]["displays"][0]["files"][0]["assetId"], files[0]["assetId"]);
  server.forgetRequests();
  EXPECT_TRUE(has(push("").out, "nothing to upload"));
  EXPECT_EQ(parts() + calls(commit), 0U);
  fs::rename(repo.path() / (folder + "10.png"), repo.path() / (folder + "1.png"));
  EXPECT_EQ(json::parse(approved("assets push 1.2 --json").out)["plan"]["state"], "applied");
  EXPECT_EQ(parts(), 0U) << "a new order sends no file";
}

TEST_F(PushTest, NothingLeavesBeforeItIsConfirmed) {
  twoLanguages();
  const std::string question = "Send this for approval in the kestu app? [y/N] ";
  const std::string unasked = "Nothing sent. Run it again with --yes to send it for approval in the kestu app.\n";
  for (const auto& [answer, status, err] : std::vector<std::tuple<const char*, int, std::string>>{
           {nullptr, 6, unasked}, // nobody is there
           {"n", 5, question + "Nothing sent.\n"},
           {"", 5, question + "Nothing sent.\n"},
       }) {
    SCOPED_TRACE(err);
    terminal.inIsTerminal = answer != nullptr;
    if (answer) terminal.type(answer);
    EXPECT_TRUE(ended(push(""), status, ends, err));
  }
  EXPECT_TRUE(has(push("--dry-run").out, "2 added"));
  EXPECT_TRUE(has(push("--dry-run --json --yes").err, "2 added"));
  EXPECT_EQ(parts() + calls(commit) + calls("POST /v1/apps/1234567890/assets/uploaded"), 0U);
  terminal.inIsTerminal = true;
  terminal.type("Yes ");
  server.scriptNextPlan({});
  EXPECT_EQ(push("").status, 0);
}

TEST_F(PushTest, EveryOutcomeOfThePlanHasItsWords) {
  using sandbox::Script;
  std::uint8_t shade = 100;
  for (const auto& [script, status, err] : std::vector<std::tuple<sandbox::Script, int, std::string>>{
           {Script{0, "denied", ""}, 5, "Denied in the kestu app. Nothing changed.\n"},
           {Script{1, "expired", ""}, 1, "No one decided it in time, so nothing changed. Run it again to ask again.\n"},
           {Script{0, "failed", "changed"}, 1,
            "It changed in kestu since you asked, so nothing was applied. Look again, then run it again.\n"},
           {Script{0, "failed", "partly_replied"}, 1,
            "Some replies went and some didn't. kestu reviews shows which have yours.\n"},
           {Script{0, "failed", "interrupted"}, 1,
            "kestu was interrupted applying it, so it may or may not have gone through. Look before running it "
            "again.\n"},
           {Script{0, "failed", "quota"}, 1, "kestu couldn't apply it (quota). Nothing changed.\n"},
           {Script{0, "lost", ""}, 1, "kestu couldn't apply it (lost). Nothing changed.\n"},
       }) {
    SCOPED_TRACE(err);
    picture(folder + "01.png", ++shade);
    server.scriptNextPlan(script);
    EXPECT_TRUE(ended(push(), status, equals, err));
  }
  server.scriptNextPlan({});
  server.onNext({.path = "/v1/plans/", .status = 503});
  std::string lost = push().err;
  EXPECT_TRUE(begins(lost, "The change was sent, and may still wait for your approval in the kestu app, until "));
  EXPECT_TRUE(ends(lost, ".\nkestu couldn't answer (503). Try again in a moment.\n"));
  const std::string path = "/v1/apps/1234567890/assets/commit";
  for (const auto& [fault, told] : std::vector<std::pair<Fault, bool>>{
           {{.path = path, .cut = true}, true},
           {{.path = path, .status = 503}, true},
           {{.path = path, .status = 200, .body = "{"}, true},
           {{.path = path, .status = 403, .body = R"({"error": "forbidden"})"}, false},
       }) {
    server.onNext(fault);
    EXPECT_EQ(has(push().err, "See whether it was made"), told) << fault.status;
  }
  EXPECT_TRUE(ended(push("--yes --no-wait"), 0, ends, "1 added\n● Waiting for your approval in the kestu app.\n"));
}

TEST_F(PushTest, PollsEveryFiveSecondsForTwoMinutesThenEveryFifteen) {
  picture(folder + "01.png", 1);
  server.scriptNextPlan({.waitingPolls = 27});
  EXPECT_EQ(push().status, 0);
  auto sleeps = clock.sleeps();
  ASSERT_EQ(sleeps.size(), 28U);
  for (std::size_t i = 0; i < sleeps.size(); ++i) EXPECT_EQ(sleeps[i], std::chrono::seconds(i < 24 ? 5 : 15)) << i;
}

TEST_F(PushTest, ProblemsStopItBeforeAnythingIsPlanned) {
  picture(folder + "01.png", 1, 100, 200);
  repo.write(folder + "02.png", "\x89PNG\r\n\x1A\n12");
  repo.write("metadata/screenshots/en-US/iPad 13", "a file");
  repo.write("metadata/screenshots/en-US/Toaster/01.png", png(1290, 2796));
  fs::create_directory_symlink("loop", repo.path() / "metadata/screenshots/loop");
  Ran ran = push();
  EXPECT_TRUE(ended(ran, 1, begins, "Apple wouldn't take these, so nothing was sent:\n"));
  for (const char* line : {"/01.png is 100 × 200, not a size of iPhone 6.9″", "/02.png isn't a PNG or a JPEG.",
                           "No display is called Toaster: kestu assets sizes lists them.", "metadata/screenshots/loop",
                           "metadata/screenshots/en-US/iPad 13 is a file, and iPad 13″ takes a folder of files."}) {
    EXPECT_TRUE(has(ran.err, line)) << line;
  }
  EXPECT_EQ(calls("POST /v1/apps/1234567890/assets"), 0U);
  EXPECT_EQ(push("--display Toaster").err, "No display is called Toaster: kestu assets sizes lists them.\n");
  EXPECT_EQ(run("assets previews push 1.2").status, 7);
  fs::remove(repo.path() / "metadata/screenshots/loop");
  EXPECT_EQ(push("--locale fr-FR").status, 7);
}

TEST_F(PushTest, ABrokenUploadCommitsNothing) {
  std::uint8_t shade = 0;
  const std::string assets = "/v1/apps/1234567890/assets", none = "Apple took no part of 01.png (";
  for (const auto& [fault, status, sent, err] : std::vector<std::tuple<Fault, int, std::size_t, std::string>>{
           {Fault{.path = "/upload/", .times = 1, .status = 403}, 1, 1,
            none + "403: its address may have expired, and a new run gets a new one). Nothing was changed; run it "
                   "again.\n"},
           {Fault{.path = "/upload/", .times = 3, .status = 503}, 9, 3,
            none + "503). Nothing was changed; run it again.\n"},
           {Fault{.path = "/upload/", .times = 3, .status = 429, .headers = {{"Retry-After", "3600"}}}, 9, 3,
            none + "429: Apple asks to wait 1 hour). Nothing was changed; run it again.\n"},
           {Fault{.path = "/upload/", .status = 413}, 1, 1,
            none + "413: Apple refuses it as it is). Nothing was changed.\n"},
           {Fault{.path = "/upload/", .times = 2, .status = 500}, 0, 3, ""},
           {Fault{.path = assets + "/uploaded", .status = 409, .body = R"({"message":"Torn."})"}, 1, 1, "Torn.\n"},
           {Fault{.path = assets, .method = "POST", .status = 200, .body = R"({"languages":[]})"}, 9, 0,
            "kestu's answer for the assets wasn't what this version of the CLI expects. Update the CLI, or try "
            "again.\n"},
       }) {
    SCOPED_TRACE(err);
    picture(folder + "01.png", ++shade);
    server.forgetRequests();
    server.onNext(fault);
    EXPECT_TRUE(ended(approved("assets push 1.2"), status, ends, err));
    EXPECT_EQ(parts(), sent);
    EXPECT_EQ(calls(commit), err.empty() ? 1U : 0U);
  }
}

TEST_F(PushTest, WhatArrivedIsNotSentAgain) {
  pictures(3);
  server.onNext({.path = "/upload/", .skip = 2, .times = -1, .status = 403});
  EXPECT_EQ(push().status, 1);
  std::size_t told = uploadsTold().size(); // a file on its way may be stopped by the failure of another
  server.faults().clear();
  server.forgetRequests();
  EXPECT_EQ(approved("assets push 1.2").status, 0);
  EXPECT_EQ(parts(), 3 - told);
}

TEST_F(PushTest, WhatCouldNotBeToldIsToldAtTheEnd) {
  pictures(3);
  server.onNext({.path = "/upload/", .status = 500}); // waits for its next try, so that the others are told of
  server.onNext({.path = "/v1/apps/1234567890/assets/uploaded", .status = 403});
  EXPECT_EQ(push().status, 1);
  auto lost = uploadsTold(0, 1);
  ASSERT_FALSE(lost.empty());
  auto told = uploadsTold(1);
  EXPECT_TRUE(std::includes(told.begin(), told.end(), lost.begin(), lost.end()));
}

TEST_F(PushTest, AnInterruptionTellsWhatArrived) {
  pictures(8);
  server.onNext({.path = "/upload/", .skip = 7, .times = -1, .status = 500});
  clock.onSleep = [&](std::chrono::milliseconds) { stopping.request_stop(); };
  EXPECT_THROW(push(), Stopped);
  std::size_t told = uploadsTold().size();
  EXPECT_GE(told, 4U) << "at most three others were on their way";
  EXPECT_LE(told, 7U);
  EXPECT_TRUE(
      has(terminal.errText(), "Stopped: " + std::to_string(told) +
                                  " of 8 files had arrived, and nothing changed. Run it again to send the rest.\n"));
}

TEST_F(PushTest, AnInterruptionBeforeAnythingIsSentSaysSo) {
  pictures(1);
  const std::string app = "/v1/apps/1234567890/";
  for (const std::string& call : {app + "assets/catalog", app + "assets?"}) {
    SCOPED_TRACE(call);
    stopping = {};
    server.onNext({.path = call.substr(0, call.find('?')),
                   .delay = std::chrono::seconds(2),
                   .exact = true,
                   .met = [&](const std::string&) { stopping.request_stop(); }});
    EXPECT_THROW(push(), Stopped);
    EXPECT_TRUE(ends(terminal.errText(), "Stopped: nothing was sent.\n"));
  }
}

TEST_F(PushTest, WhatWaitsAlreadyIsToldBeforeItIsSentAgain) {
  TemporaryFolder state;
  environment["XDG_STATE_HOME"] = state.path().string();
  pictures(1);
  clock.onSleep = [&](std::chrono::milliseconds) { stopping.request_stop(); };
  EXPECT_THROW(push(), Stopped); // its files have arrived
  stopping = {};
  clock.onSleep = nullptr;
  auto deny = [&] {
    server.withState([&](sandbox::State& all) { sandbox::Plans::decide(all, all.plans.back(), false); });
  };
  for (const auto& [what, before, options, told] :
       std::vector<std::tuple<const char*, std::function<void()>, std::string, bool>>{
           {"asked", nullptr, "", true},
           {"another version's", nullptr, "--platform macos", false},
           {"other files", [&] { picture(folder + "1.png", 2); }, "", false},
           {"the first ones, not asked", [&] { pictures(1); }, "--yes --no-wait", true},
           {"sent by that", nullptr, "", true},
           {"decided", deny, "", false},
           {"not known", [&] { server.onNext({.path = "/v1/plans/", .status = 404}); }, "", false},
           {"a file of another's", [&] { state.write("kestu/waiting-changes.json", "{\"changes\": 1}"); }, "", false},
           {"kept anew", [&] { push("--yes --no-wait"); }, "", true},
           {"lapsed", [&] { clock.advance(std::chrono::hours(72)); }, "", false},
       }) {
    SCOPED_TRACE(what);
    if (before) before();
    EXPECT_EQ(has(push(options).err, "! A change like this waits for your approval already, until "), told);
  }
}

TEST_F(PushTest, PartsAreSentFromTheirOwnOffsets) {
  sandbox::Server inParts(sandbox::Options{.partSize = 1000});
  std::string bytes;
  for (int i = 0; i < 10'001; ++i) bytes += static_cast<char>(i * i % 251);
  fs::path file = repo.write("01.png", bytes);
  std::string md5 = MD5::hex(std::string_view(bytes));
  CurlTransport transport;
  auto post = [&](const std::string& path, const json& body) {
    HTTPRequest request;
    request.method = "POST";
    request.token = Token(inParts.tokenFor());
    request.url = inParts.origin() + "/v1/apps/1234567890/" + path + "?version=1.2&platform=ios";
    request.body = bodyOf(body.dump());
    return transport.send(request, {});
  };
  json display = {{"kind", "screenshots"}, {"group", "IPHONE_DUO_PROFILE"}, {"assets", {md5}}};
  json body = {{"languages", {{{"locale", "en-US"}, {"displays", {display}}}}},
               {"files", {{{"md5", md5}, {"fileName", "01.png"}, {"size", bytes.size()}, {"video", false}}}}};
  AssetsPlan plan = AssetsPlan::read(JSONValue::parse(post("assets", body).body));
  ASSERT_EQ(plan.uploads.at(0).parts.size(), 11U);
  inParts.onNext({.path = "/upload/", .skip = 5, .status = 500});
  std::vector<int> done;
  PartUploader(transport, clock).send(file, plan.uploads[0].parts, 4, {}, [&](int parts, int) {
    done.push_back(parts);
  });
  EXPECT_EQ(done, (std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}));
  HTTPAnswer answer = post("assets/uploaded", {{"assetIds", {plan.uploads[0].assetId}}});
  EXPECT_EQ(answer.status, 204) << "the file as put together is another one: " << answer.body;
}

TEST_F(PushTest, AFileCutShortIsNoticed) {
  picture(folder + "01.png", 1);
  server.onNext({.path = "/upload/", .status = 500});
  clock.onSleep = [&](std::chrono::milliseconds) { fs::resize_file(repo.path() / (folder + "01.png"), 100); };
  EXPECT_TRUE(ended(push(), 1, equals, "01.png changed while it was being sent.\n"));
  EXPECT_EQ(calls(commit), 0U);
}

TEST_F(PushTest, PartsGoOnlyWhereFilesMay) {
  picture(folder + "01.png", 1);
  Ran dry = push("--dry-run --json");
  EXPECT_FALSE(has(dry.out, "://")) << "an address with a signature";
  auto plan = json::parse(dry.out);
  const std::int64_t size = plan["uploads"][0]["size"];
  const std::string here = server.origin() + "/upload/1";
  auto answerWithPlan = [&] {
    server.onNext({.path = "/v1/apps/1234567890/assets", .method = "POST", .status = 200, .body = plan.dump()});
  };
  using Ranges = std::vector<std::pair<std::int64_t, std::int64_t>>;
  for (const auto& [url, ranges] : std::vector<std::pair<std::string, Ranges>>{
           {"http://example.com/x", {{0, size}}},
           {"file:///etc/passwd", {{0, size}}},
           {"ftp://127.0.0.1/x", {{0, size}}},
           {here, {}},
           {here, {{0, size - 1}}},
           {here, {{0, size + 1}}},
           {here, {{1, size - 1}}},
           {here, {{0, 5}, {6, size - 6}}},
           {here, {{0, 6}, {5, size - 5}}},
           {here, {{5, size - 5}, {0, 5}, {5, size - 5}}},
           {here, {{0, 6}, {5, 5}, {11, size - 11}}},
           {here, {{0, size}, {0, 0}}},
           {here, {{0, size}, {size, 0}}},
       }) {
    SCOPED_TRACE(url + " " + json(ranges).dump());
    auto& parts = plan["uploads"][0]["parts"] = json::array();
    for (auto [offset, length] : ranges) {
      parts.push_back({{"method", "PUT"}, {"url", url}, {"offset", offset}, {"length", length}});
      parts.back()["headers"] = json::object();
    }
    answerWithPlan();
    EXPECT_EQ(push().status, 9);
    EXPECT_EQ(this->parts() + calls(commit), 0U);
  }
  plan["uploads"][0]["md5"] = "0";
  answerWithPlan();
  EXPECT_EQ(push().err, "kestu asked for a file the repo doesn't have. Update the CLI, or try again.\n");
}

TEST_F(PushTest, ADryRunGivesTheChangesAsData) {
  auto frame = [&](const std::string& at) {
    repo.write("metadata/previews/frames.json", R"({"ja/iPhone 6.9/a.mov": ")" + at + "\"}");
  };
  picture(folder + "01.png", 1);
  repo.write("metadata/previews/ja/iPhone 6.9/a.mov", "film");
  frame("00:00:05:00");
  ASSERT_EQ(approved("assets push 1.2").status, 0);
  picture(folder + "01.png", 2);
  picture(folder + "02.png", 3);
  frame("00:00:07:00");
  auto sum = [&](const std::string& name) { return name + " " + MD5::hex(repo.path() / (folder + name)); };
  auto changes = json::parse(push("--dry-run --json").out)["changes"];
  ASSERT_EQ(changes.size(), 2U) << changes;
  EXPECT_TRUE(begins(changes[0]["from"], "01.png "));
  EXPECT_NE(changes[0]["from"], changes[0]["to"]);
  changes[0].erase("from");
  EXPECT_EQ(
      changes[0],
      (json{{"place", "en-US iPhone 6.9″"}, {"field", "screenshots"}, {"to", sum("01.png") + "\n" + sum("02.png")}}));
  EXPECT_EQ(changes[1], json::parse(R"({"place": "ja iPhone 6.9″", "field": "poster frame of a.mov",
                                        "from": "00:00:05:00", "to": "00:00:07:00"})"));
  EXPECT_TRUE(has(push("--dry-run").out,
                  "Dry run: Daylight Weather (com.example.daylight) 1.2 for iOS would show these, 2 files ("));
}

TEST_F(PushTest, WhatLiesElsewhereIsTold) {
  picture("ios/fastlane/screenshots/ja/1.png", 1);
  EXPECT_TRUE(has(push("").err,
                  "\nios/fastlane/screenshots holds screenshots: run kestu in ios, after kestu link --here there.\n"));
  here = repo.path() / "ios";
  EXPECT_EQ(run("link --here Daylight").status, 0);
  EXPECT_EQ(approved("assets push 1.2").status, 0);
  EXPECT_EQ(parts(), 1U);
}

TEST_F(PushTest, SizesListsEveryDisplay) {
  std::string sizes = run("assets sizes").out;
  EXPECT_TRUE(has(sizes, "iPhone 6.9″            IPHONE_DYNAMIC_ISLAND_LARGE_PROFILE  10 "));
  EXPECT_TRUE(has(sizes, "886 × 1920 (15–30 s, 23.98–30 fps)"));
  EXPECT_FALSE(has(run("assets header sizes -ocsv").out, "screenshots"));
  server.onNext(
      {.path = "/v1/apps/1234567890/assets/catalog", .status = 200, .body = R"({"screenshots":[{"group":"A"}]})"});
  EXPECT_EQ(run("assets sizes").status, 9);
  EXPECT_FALSE(has(run("assets sizes --platform macos --json").out, "IPHONE"));
  EXPECT_EQ(json::parse(run("assets previews sizes --json").out).size(), 1U);
  EXPECT_EQ(json::parse(run("assets sizes --json").out).size(), 4U);
}

} // namespace
} // namespace kestu::tests
