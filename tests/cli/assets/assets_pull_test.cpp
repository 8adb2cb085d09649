#include "core/assets/asset_pull.hpp"
#include "core/support/folder_lock.hpp"
#include "core/support/md5.hpp"
#include "sandbox/assets/catalog.hpp"
#include "tests/support/endings.hpp"
#include "tests/support/linked_test.hpp"

namespace fs = std::filesystem;

namespace kestu::tests {
namespace {

using Tree = std::map<std::string, std::string>;
using nlohmann::json;
using sandbox::Fault;

const std::string shots = "metadata/screenshots/";
const std::string phone = shots + "en-US/iPhone 6.9/";
const std::string movies = "metadata/previews/", frames = movies + "frames.json";
const std::string byName = "{\n  \"en-US/iPhone 6.9/01.mov\": \"00:00:03:00\"\n}\n";
const std::string byID = R"({"en-US/IPHONE_DYNAMIC_ISLAND_LARGE_PROFILE/01.mov": "00:00:03:00"})";
const std::string phoneID = shots + "en-US/IPHONE_DYNAMIC_ISLAND_LARGE_PROFILE/";

std::string shot(std::uint8_t shade) { return png(1290, 2796, PNGColours::palette, shade); }

class PullTest : public LinkedTest {
 protected:
  Tree tree(bool withPulled = true) const {
    Tree files;
    for (const auto& entry : fs::recursive_directory_iterator(repo.path() / "metadata")) {
      if (!entry.is_regular_file() || (!withPulled && entry.path().filename() == "pulled.json")) continue;
      std::string name = entry.path().lexically_relative(repo.path()).generic_string();
      files[name] = contents(name);
    }
    return files;
  }
  static std::vector<std::string> names(const Tree& tree) {
    std::vector<std::string> names;
    for (const auto& [name, bytes] : tree) names.push_back(name);
    return names;
  }
  void put(const Tree& files) {
    fs::remove_all(repo.path() / "metadata");
    for (const auto& [name, bytes] : files) repo.write(name, bytes);
  }
  void push(const std::string& platform = "ios") {
    server.scriptNextPlan({});
    Ran ran = run("assets push 1.2 --yes --platform '" + platform + "'");
    ASSERT_EQ(ran.status, 0) << ran.err;
  }
  Ran pull(const std::string& more = "") {
    server.forgetRequests();
    return run("assets pull 1.2 " + more);
  }
  void expectInSync() { EXPECT_TRUE(has(run("assets push 1.2").out, "nothing to upload")); }
  std::size_t downloads() { return calls("GET /files/"); }
  void useIDs(bool ids) { ASSERT_EQ(run({"config", "screenshot-folders", ids ? "ids" : "names"}).status, 0); }
};

TEST_F(PullTest, ARoundTripIsByteForByteTheSame) {
  Tree files;
  std::uint8_t shade = 0;
  for (const std::string locale : {"de-DE", "en-US", "zh-Hans"}) {
    for (const std::string file : {"iPhone 6.9/01.png", "iPhone 6.9/02.png"})
      files[shots + locale + "/" + file] = shot(++shade);
    files[shots + locale + "/iPad 13/01.jpg"] = jpeg(2064, 2752);
    files[shots + locale + "/Mac/01.png"] = png(1280, 800, PNGColours::palette, ++shade);
    files["metadata/previews/" + locale + "/iPhone 6.9/01.mov"] = "movie " + locale;
    files["metadata/previews/" + locale + "/Mac/01.mp4"] = "film " + locale;
    files["metadata/header/" + locale + "/HEADER_IPHONE/01.png"] = png(2000, 900, PNGColours::grey, ++shade);
    files["metadata/header/" + locale + "/HEADER_MAC/01.png"] = png(2000, 901, PNGColours::grey, ++shade);
    files["metadata/search-results/" + locale + "/Search Results/01.png"] = png(2000, 902, PNGColours::grey, ++shade);
  }
  files["metadata/previews/frames.json"] =
      "{\n  \"de-DE/Mac/01.mp4\": \"00:00:05:00\",\n  \"en-US/iPhone 6.9/01.mov\": \"00:00:07:00\"\n}\n";
  put(files);
  for (const std::string platform : {"ios", "macos"}) push(platform);
  fs::remove_all(repo.path() / "metadata");
  auto both = [&] {
    for (const char* platform : {"--platform ios", "--platform macos"}) EXPECT_EQ(pull(platform).status, 0);
  };
  both();
  EXPECT_EQ(names(tree(false)), names(files));
  EXPECT_EQ(tree(false), files);
  expectInSync();
  EXPECT_TRUE(has(run("assets push 1.2 --platform macos").out, "nothing to upload"));
  Tree pulled = tree();
  EXPECT_TRUE(pulled.contains("metadata/previews/pulled.json"));
  both();
  EXPECT_EQ(tree(), pulled);
  EXPECT_EQ(downloads(), 0U);

  useIDs(true);
  both();
  Tree withIDs = tree();
  EXPECT_FALSE(fs::exists(repo.path() / phone));
  EXPECT_EQ(withIDs.at(phoneID + "01.png"), files.at(phone + "01.png"));
  EXPECT_TRUE(has(withIDs.at("metadata/previews/frames.json"), "en-US/IPHONE_DYNAMIC_ISLAND_LARGE_PROFILE/01.mov"));
  EXPECT_EQ(downloads(), 0U);
  fs::remove_all(repo.path() / "metadata");
  both();
  EXPECT_EQ(tree(), withIDs) << "pulled anew and renamed are the same";
  useIDs(false);
  both();
  EXPECT_EQ(tree(), pulled);
}

TEST_F(PullTest, WhatShowsTheSameStaysAsItIs) {
  const Tree odd = {{shots + "en-US/iPhone 6.9/2.png", shot(2)}, {shots + "en-US/iPhone 6.9/10.png", shot(1)}};
  const Tree loose = {{"fastlane/screenshots/en-US/a.png", shot(3)}, {"fastlane/screenshots/en-US/b.png", shot(4)}};
  put(odd);
  push();
  EXPECT_EQ(pull().out, "✓ The repo shows 1.2 for iOS's assets already: nothing to download, nothing written.\n");
  EXPECT_EQ(tree(), odd);
  fs::remove_all(repo.path() / "metadata");
  for (const auto& [name, bytes] : loose) repo.write(name, bytes);
  push();
  EXPECT_EQ(pull().status, 0);
  EXPECT_FALSE(fs::exists(repo.path() / "metadata"));
  EXPECT_FALSE(fs::exists(repo.path() / "fastlane/screenshots/pulled.json"));
  EXPECT_EQ(downloads(), 0U);
}

TEST_F(PullTest, FilesThatAreThereAreRenamedNotFetched) {
  put({{phone + "1.png", shot(1)}, {phone + "2.png", shot(2)}, {phone + "3.png", shot(3)}});
  push();
  const Tree wanted = {{phone + "01.png", shot(1)}, {phone + "02.png", shot(2)}, {phone + "03.png", shot(3)}};
  for (const auto& [what, before, fetched] : std::vector<std::tuple<const char*, Tree, std::size_t>>{
           {"none", {}, 3},
           {"two changed places",
            Tree{{phone + "01.png", shot(2)}, {phone + "02.png", shot(1)}, {phone + "03.png", shot(3)}}, 0},
           {"a chain", {{phone + "02.png", shot(1)}, {phone + "03.png", shot(2)}}, 1},
           {"in the language's folder", {{shots + "en-US/z.png", shot(1)}, {phone + "x.png", shot(2)}}, 1},
           {"in both folders", {{phone + "01.png", shot(1)}, {phoneID + "02.png", shot(2)}}, 1},
           {"a copy that a kill left",
            Tree{{phone + "01.png", shot(2)}, {phone + "02.png", shot(2)}, {phone + "04.png", shot(1)}}, 1},
           {"in another's case", {{shots + "en-US/iphone  6.9/01.png", shot(1)}}, 2},
       }) {
    SCOPED_TRACE(what);
    put(before);
    EXPECT_EQ(pull().status, 0);
    EXPECT_EQ(downloads(), fetched);
    std::vector<std::string> bytes, expected;
    for (const auto& [name, content] : tree(false)) bytes.push_back(content);
    for (const auto& [name, content] : wanted) expected.push_back(content);
    EXPECT_EQ(bytes, expected);
    if (std::string(what) != "in another's case") EXPECT_EQ(names(tree(false)), names(wanted));
    expectInSync();
  }
}

TEST_F(PullTest, OtherFilesAreOnlyWrittenOverWithForce) {
  const Tree wanted = {{phone + "01.png", shot(1)}, {phone + "02.png", shot(2)}};
  put(wanted);
  push();
  for (const auto& [before, listed] : std::vector<std::pair<Tree, std::string>>{
           {{{phone + "01.png", shot(9)}, {phone + "02.png", shot(1)}}, phone + "01.png"},
           {{{phone + "01.png", shot(1)}, {phone + "2.png", shot(2)}, {phone + "3.jpg", "x"}}, phone + "3.jpg"},
           {{{phoneID + "7.png", shot(7)}, {phone + "01.png", shot(1)}}, phoneID + "7.png"},
           {{{shots + "en-US/loose.png", shot(7)}}, shots + "en-US/loose.png"},
       }) {
    SCOPED_TRACE(listed);
    put(before);
    EXPECT_TRUE(ended(pull(), 1, equals,
                      "App Store Connect doesn't show these for 1.2 for iOS, so nothing was written:\n  " + listed +
                          "\n--force removes them, or writes over them.\n"));
    EXPECT_EQ(tree(), before) << "nothing may be written, folders not renamed either";
    EXPECT_EQ(pull("--force").status, 0);
    EXPECT_EQ(tree(false), wanted);
  }
  put({{phone + "01.png/inside.png", shot(9)}});
  EXPECT_EQ(pull("--force").err, phone + "01.png is a folder, where a file goes.\n");
  put({{shots + "en-US/iPhone 6.9", "text"}});
  EXPECT_EQ(pull("--force").err, shots + "en-US/iPhone 6.9 is a file, and iPhone 6.9″ takes a folder of files.\n");
}

TEST_F(PullTest, OnlyWhatIsAskedForIsPulled) {
  const std::string pad = shots + "en-US/iPad 13/01.png", german = shots + "de-DE/iPhone 6.9/01.png";
  put({{phone + "01.png", shot(1)}, {pad, png(2064, 2752)}, {german, shot(2)}});
  push();
  for (const auto& [options, before, after] : std::vector<std::tuple<std::string, Tree, std::vector<std::string>>>{
           {"--locale de-de", {}, {german}},
           {"--display 'iPad 13'", {}, {pad}},
           {"--display 'iPhone 6.9' --locale en-US", {}, {phone + "01.png"}},
           // Other folders keep their names and their files, whatever is wrong with them.
           {"--display 'iPad 13'", {{phoneID + "9.png", shot(9)}}, {phoneID + "9.png", pad}},
           {"--display 'iPad 13'", {{shots + "en-US/iPhone 6.9", "a file"}}, {pad, shots + "en-US/iPhone 6.9"}},
           {"--locale de-DE", {{phoneID + "9.png", shot(9)}}, {german, phoneID + "9.png"}},
       }) {
    SCOPED_TRACE(options);
    put(before);
    Tree untouched = before.empty() ? Tree() : tree(false);
    EXPECT_EQ(pull(options + " --dry-run").status, 0);
    EXPECT_EQ(fs::exists(repo.path() / "metadata") ? tree() : Tree(), untouched) << "a dry run writes nothing";
    EXPECT_EQ(pull(options).status, 0);
    EXPECT_EQ(names(tree(false)), after);
  }
  EXPECT_TRUE(begins(pull("--locale german").err, "--locale german can't be a language: it's written de-DE."));
  EXPECT_EQ(pull("--display Toaster").err, "No display is called Toaster: kestu assets sizes lists them.\n");
  EXPECT_EQ(pull("--locale ja").out, "App Store Connect shows no assets for ja for 1.2 for iOS yet.\n");
}

TEST_F(PullTest, ADryRunTellsWhatAPullWouldDo) {
  put({{phone + "01.png", shot(1)}, {phone + "02.png", shot(2)}, {shots + "de-DE/iPad 13/01.png", png(2064, 2752)}});
  push();
  put({{phoneID + "9.png", shot(1)}, {phoneID + "8.png", shot(8)}});
  const std::string place = phone.substr(0, phone.size() - 1);
  EXPECT_EQ(pull("--dry-run --force").out,
            "  renamed  " + phoneID.substr(0, phoneID.size() - 1) + " → " + place + "\n  renamed  " + phone +
                "9.png → " + phone + "01.png\n  new      " + shots + "de-DE/iPad 13/01.png\n  new      " + phone +
                "02.png\n  removed  " + phone +
                "8.png\nDry run: would download 2 files (1 MB) into metadata/screenshots, rename 1 folder, rename 1 "
                "file, remove 1 file.\n");
  auto changes = json::parse(pull("--dry-run --force --json").out)["changes"];
  ASSERT_EQ(changes.size(), 5U);
  EXPECT_EQ(changes[4].dump(),
            R"({"field":"file","from":")" + phone + R"(8.png","place":")" + place + R"(","to":null})");
  EXPECT_EQ(pull("--dry-run").status, 1) << "as the pull would, it stops at files of one's own";
  EXPECT_TRUE(begins(pull("--force").out, "  removed  " + phone + "8.png\n"));
  EXPECT_EQ(pull("--dry-run").out, "Dry run: nothing to download, nothing to write.\n");
  repo.write(phone + "02.png", shot(7));
  EXPECT_TRUE(
      begins(pull("--dry-run --force").out, "  replaced " + phone + "02.png\nDry run: would download 1 file ("));
  auto replacing = json::parse(pull("--dry-run --force --json").out)["changes"];
  EXPECT_EQ(replacing.dump(), R"([{"field":"file","from":")" + phone + R"(02.png","place":")" + place + R"(","to":")" +
                                  phone + R"(02.png"}])");
  EXPECT_TRUE(has(pull("--force").out, "into metadata/screenshots, replaced 1 file.\n"));
}

TEST_F(PullTest, AnUnusablePulledFileIsMended) {
  put({{phone + "01.png", shot(1)}});
  push();
  put({});
  EXPECT_EQ(pull().status, 0);
  Tree whole = tree();
  for (const std::string bad : {"", "[]", "{\"a\": 1}", "<<<<<<< HEAD"}) {
    SCOPED_TRACE(bad);
    repo.write(shots + "pulled.json", bad);
    EXPECT_TRUE(has(pull().out, "updated " + shots + "pulled.json"));
    EXPECT_EQ(tree(), whole);
  }
}

TEST_F(PullTest, MergingNeverWritesOverADifferentFile) {
  put({{phone + "01.png", shot(1)}, {movies + "en-US/iPhone 6.9/01.mov", "one"}, {frames, byName}});
  push();
  put({{phone + "01.png", shot(1)},
       {phone + "notes.txt", "here"},
       {phoneID + "01.png", shot(1)},
       {phoneID + "notes.txt", "there"},
       {phoneID + "deep/more.txt", "kept"},
       {shots + "de-DE/IPAD_PRO_BORDERLESS_PROFILE/01.png", "any"},
       {movies + "en-US/IPHONE_DYNAMIC_ISLAND_LARGE_PROFILE/01.mov", "one"},
       {frames, byID}});
  Ran ran = pull();
  EXPECT_EQ(ran.status, 0) << ran.err;
  EXPECT_EQ(ran.err, phoneID + "notes.txt was left where it is: " + phone.substr(0, phone.size() - 1) +
                         " has another file of that name.\n");
  Tree after = tree(false);
  EXPECT_EQ(after.at(phone + "notes.txt") + after.at(phoneID + "notes.txt"), "herethere");
  EXPECT_EQ(after.at(phone + "deep/more.txt"), "kept");
  EXPECT_FALSE(after.contains(phoneID + "01.png"));
  EXPECT_TRUE(after.contains(shots + "de-DE/iPad 13/01.png")) << "also where App Store Connect shows nothing";
  EXPECT_EQ(after.at(frames), byName);
  EXPECT_EQ(downloads(), 0U);
}

TEST_F(PullTest, RenamesThatEndEarlyLeaveTheirFrames) {
  put({{movies + "en-US/IPHONE_DYNAMIC_ISLAND_LARGE_PROFILE/01.mov", "one"}, {frames, byID}});
  auto catalog = AssetCatalog::read(JSONValue::parse(sandbox::Catalog::displays("ios").dump()));
  ScanOptions options;
  options.platform = "ios";
  PullPlan plan = AssetPull::plan({}, {AssetKind::previews}, repo.path(), catalog, options, false);
  CurlTransport transport;
  stopping.request_stop();
  EXPECT_THROW(AssetPull::carryOut(plan, repo.path(), Downloader(transport, clock), stopping.get_token(), {}), Stopped);
  EXPECT_EQ(json::parse(contents(frames)), json::parse(byID));
  AssetPull::carryOut(plan, repo.path(), Downloader(transport, clock), {}, {});
  EXPECT_EQ(contents(frames), byName);
}

TEST_F(PullTest, NamesThatAreOneOnAMacAreNeverTwo) {
  put({{phone + "01.png", shot(1)}, {phone + "02.png", shot(2)}});
  push();
  // With what the first one is called afterwards.
  for (const auto& [before, first] : std::vector<std::pair<Tree, const char*>>{
           {{{phone + "01.PNG", shot(9)}}, "01.PNG"},
           {{{phone + "01.PNG", shot(2)}, {phone + "02.PNG", shot(1)}}, "01.png"},
           {{{phone + "01.PNG", shot(9)}, {phone + "3.png", shot(1)}, {phone + "4.png", shot(2)}}, "01.PNG"},
           {{{phone + "01.PNG", shot(1)}, {phone + "1.png", shot(9)}}, "01.png"},
       }) {
    SCOPED_TRACE(json(before).begin().key());
    put(before);
    EXPECT_EQ(pull("--force").status, 0);
    EXPECT_EQ(tree(false), (Tree{{phone + first, shot(1)}, {phone + "02.png", shot(2)}}));
  }
  const Tree misnamed = {{shots + "en-us/iPhone 6.9/01.png", shot(1)}};
  put(misnamed);
  EXPECT_EQ(pull().err,
            shots + "en-us can't be a language: it's written en-US. Rename it: a Mac takes the two for one.\n");
  EXPECT_EQ(tree(), misnamed);
}

TEST_F(PullTest, AccentsAreTheSameInEitherForm) {
  const std::string composed = "en-US/iPhone 6.9/caf\u00E9.mov", decomposed = "en-US/iPhone 6.9/cafe\u0301.mov";
  const auto of = [](const std::string& video) { return "{\"" + video + R"(": "00:00:03:00"})"; };
  put({{movies + decomposed, "one"}, {frames, of(composed)}});
  push();
  put({{movies + composed, "one"}, {frames, of(decomposed)}});
  EXPECT_EQ(pull().status, 0);
  EXPECT_EQ(downloads(), 0U);
  EXPECT_TRUE(has(contents(frames), "00:00:03:00"));
  EXPECT_EQ(run("assets push 1.2 --yes").status, 0);
}

TEST_F(PullTest, APosterFrameOfOnesOwnIsKept) {
  put({{movies + "en-US/iPhone 6.9/01.mov", "one"}, {frames, byName}});
  push();
  const std::string mine = R"({"en-US/iPhone 6.9/01.mov": "00:00:09:00"})";
  repo.write(frames, mine);
  EXPECT_TRUE(has(pull().err, "  " + frames + "\n"));
  EXPECT_EQ(contents(frames), mine);
  EXPECT_EQ(pull("--force").status, 0);
  EXPECT_TRUE(has(contents(frames), "00:00:03:00"));
  repo.write(frames, "[]");
  EXPECT_TRUE(has(pull("--force").err, "isn't each video's path"));
}

TEST_F(PullTest, OnlyWholeFilesStayAndTheNextRunGoesOn) {
  const Tree wanted = {{phone + "01.png", shot(1)}, {phone + "02.png", shot(2)}, {phone + "03.png", shot(3)}};
  put(wanted);
  push();
  auto expectWhole = [&](const Tree& left) {
    for (const auto& [name, bytes] : left)
      EXPECT_TRUE(bytes == shot(1) || bytes == shot(2) || bytes == shot(3)) << name;
  };
  const std::string other(shot(1).size(), 'x');
  for (auto [fault, status, reason] : std::vector<std::tuple<Fault, int, const char*>>{
           {Fault{.times = 1, .status = 404}, 1, "(404: its address may have expired"},
           {Fault{.times = 1, .status = 400}, 1, "(400: Apple refuses it as it is). What came whole is kept.\n"},
           {Fault{.times = -1, .status = 429}, 9, "(429). What came whole is kept; run it again to go on.\n"},
           {Fault{.times = -1, .status = 200, .body = "short"}, 9, "(only a part of it came)"},
           {Fault{.times = -1, .status = 200, .body = other}, 9, "(it came with another checksum)"},
           {Fault{.times = -1, .status = 200, .body = other + "x"}, 9, "(more came than it has)"},
           {Fault{.times = -1, .half = true}, 9, "Couldn't download "},
           {Fault{.times = 2, .half = true}, 0, ""},
       }) {
    SCOPED_TRACE(reason);
    put({});
    fault.path = "/files/";
    fault.skip = 2;
    server.onNext(fault);
    EXPECT_TRUE(ended(pull(), status, has, reason));
    server.faults().clear();
    if (status == 0) continue;
    Tree left = tree(false);
    expectWhole(left);
    EXPECT_EQ(pull().status, 0);
    EXPECT_EQ(downloads() + left.size(), 3U);
    EXPECT_EQ(names(tree(false)), names(wanted));
  }
  put({});
  server.onNext({.path = "/files/", .skip = 1, .times = -1, .status = 500});
  clock.onSleep = [&](std::chrono::milliseconds) { stopping.request_stop(); };
  EXPECT_THROW(pull(), Stopped);
  EXPECT_TRUE(has(terminal.errText(), " came and are kept. Run it again to go on from there.\n"));
  expectWhole(tree(false));
}

TEST_F(PullTest, AssetsWithoutAChecksumAreKnownByPulledJson) {
  put({{phone + "01.png", shot(1)}, {shots + "de-DE/iPhone 6.9/01.png", shot(1)}});
  push();
  server.withState([](sandbox::State& state) {
    for (auto& [id, asset] : state.assets) asset.checksumHidden = true;
  });
  put({});
  EXPECT_EQ(pull().status, 0);
  EXPECT_EQ(downloads(), 1U) << "the same asset in two languages comes once";
  Tree before = tree();
  EXPECT_EQ(pull().status, 0);
  EXPECT_EQ(downloads(), 0U);
  EXPECT_EQ(tree(), before);
  expectInSync();
  fs::remove(repo.path() / (shots + "pulled.json"));
  EXPECT_EQ(pull().status, 1) << "without it they may be anybody's";
}

TEST_F(PullTest, TheBooksKnowEveryFileHoweverThePullEnds) {
  put({{phone + "01.png", shot(1)}, {phone + "02.png", shot(2)}, {phone + "03.png", shot(3)}});
  push();
  for (const char* ends : {"well", "early"}) {
    SCOPED_TRACE(ends);
    put({{phone + "01.png", shot(2)}}); // makes room for the one that is downloaded
    if (std::string(ends) == "early") server.onNext({.path = "/files/", .skip = 1, .status = 404});
    EXPECT_EQ(pull().status, std::string(ends) == "early");
    auto books = json::parse(contents(shots + "pulled.json"));
    for (const auto& [name, bytes] : tree(false)) {
      EXPECT_EQ(books[name.substr(shots.size())].value("md5", ""), MD5::hex(std::string_view(bytes))) << name;
    }
  }
}

TEST_F(PullTest, LinkedLanguagesShareWhatTheyShow) {
  put({{phone + "01.png", shot(1)}, {shots + "de-DE/iPhone 6.9/01.png", shot(1)}});
  push();
  fs::remove_all(repo.path() / (shots + "de-DE"));
  fs::create_directory_symlink("en-US", repo.path() / (shots + "de-DE"));
  useIDs(true);
  EXPECT_EQ(pull().status, 0);
  EXPECT_TRUE(fs::exists(repo.path() / (phoneID + "01.png")));
  EXPECT_EQ(downloads(), 0U);
  server.withState([](sandbox::State& state) {
    auto& languages = state.version(1234567890, "ios", "1.2")->languages;
    languages.back().displays.front().assets.clear();
    state.assets.begin()->second.md5 = std::string(32, '0');
    languages.back().displays.front().assets = {{state.assets.begin()->first}, {state.assets.begin()->first}};
  });
  Tree before = tree();
  EXPECT_TRUE(has(pull("--force").err, "and App Store Connect shows different screenshots in them."));
  EXPECT_EQ(tree(), before);
}

TEST_F(PullTest, ANameThatTwoDisplaysShareIsNone) {
  repo.write("metadata/header/en-US/Header/01.png", png(2000, 900));
  for (const char* line : {"assets push 1.2", "assets push 1.2 --platform macos"}) {
    EXPECT_TRUE(ended(run(line), 1, has,
                      "metadata/header/en-US/Header: HEADER_IPHONE and HEADER_MAC are both called Header: an ID says "
                      "which one is meant."));
  }
  fs::rename(repo.path() / "metadata/header/en-US/Header", repo.path() / "metadata/header/en-US/HEADER_MAC");
  EXPECT_TRUE(has(run("assets push 1.2 --platform macos --dry-run").out, "1 added"));
  EXPECT_EQ(run("assets push 1.2 --platform ios --dry-run").status, 7);
}

TEST_F(PullTest, WhatAKillLeftGoesAway) {
  put({{phone + "01.png", shot(1)}});
  push();
  repo.write(phone + ".01.png.kestu-aB3xYz", "half");
  repo.write(phone + ".hidden", "mine");
  repo.write(shots + ".pulled.json.kestu-aB3xYz", "half");
  repo.write(shots + ".pulled.json.kestu", "mine");
  EXPECT_EQ(pull().status, 0);
  EXPECT_EQ(names(tree()),
            (std::vector<std::string>{shots + ".pulled.json.kestu", phone + ".hidden", phone + "01.png"}));
  FolderLock other(repo.path());
  EXPECT_EQ(pull().err, "Another kestu assets pull is writing in this repo. Run it again when it's done.\n");
}

TEST_F(PullTest, AnswersNeverLeaveTheFolder) {
  for (const auto& [where, key, value, status] : std::vector<std::tuple<const char*, const char*, const char*, int>>{
           {"", "locale", "../../en", 9},
           {"", "locale", ".git", 9},
           {"/displays/0", "group", "../../../x", 0},
           {"/displays/0", "kind", "icons", 9},
           {"/displays/0/assets/0", "md5", "../x", 9},
           {"/displays/0/assets/0", "url", "file:///etc/passwd", 9},
           {"/displays/0/assets/0", "url", "http://example.com/x", 9},
           {"/displays/0/assets/0", "fileName", "../../../01.png", 1},
       }) {
    SCOPED_TRACE(std::string(key) + " " + value);
    json language = json::parse(R"({"locale": "en-US", "displays": [{"kind": "screenshots",
        "group": "IPHONE_DYNAMIC_ISLAND_LARGE_PROFILE", "assets": [{"assetId": "a", "fileName": "01.png", "size": 5}]}]})");
    json& asset = language["displays"][0]["assets"][0];
    asset["md5"] = std::string(32, '0');
    asset["url"] = server.origin() + "/files/a";
    language[json::json_pointer(where)][key] = value;
    server.onNext({.path = "/v1/apps/1234567890/assets",
                   .method = "GET",
                   .status = 200,
                   .body = json{{"languages", json::array({language})}}.dump(),
                   .exact = true});
    EXPECT_EQ(run("assets pull 1.2").status, status);
    for (const auto& entry : fs::recursive_directory_iterator(repo.path()))
      EXPECT_FALSE(entry.is_regular_file() && entry.path().filename() != "kestu.json") << entry.path();
    fs::remove_all(repo.path() / "metadata");
  }
}

} // namespace
} // namespace kestu::tests
