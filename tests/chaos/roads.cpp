#include "tests/chaos/roads.hpp"

#include "core/support/files.hpp"
#include "core/support/md5.hpp"
#include "core/support/process.hpp"
#include "tests/chaos/random.hpp"
#include "tests/support/asset_files.hpp"
#include "tests/support/temporary_folder.hpp"

#include <stdexcept>

namespace kestu::chaos {

namespace {

const std::string phone = "IPHONE_DYNAMIC_ISLAND_LARGE_PROFILE";
const std::string pad = "IPAD_PRO_BORDERLESS_PROFILE";

std::string noise(std::uint64_t seed, std::size_t size) {
  Random random(seed);
  std::string bytes;
  while (bytes.size() < size) bytes += static_cast<char>(random.below(256));
  return bytes;
}

/// A screenshot of a few parts; each number is another one.
std::string shot(int number, bool ofPad = false) {
  return (ofPad ? tests::jpeg(2064, 2752) : tests::jpeg(1290, 2796)) +
         noise(static_cast<std::uint64_t>(number), 500 + 130 * static_cast<std::size_t>(number));
}

void laySomeScreenshots(World& world) {
  for (int number = 1; number <= 4; ++number) {
    world.write("metadata/screenshots/en-US/iPhone 6.9/0" + std::to_string(number) + ".jpg", shot(number));
  }
  world.write("metadata/screenshots/de-DE/iPhone 6.9/01.jpg", shot(5));
  world.write("metadata/screenshots/de-DE/iPhone 6.9/02.jpg", shot(1));
}

/// Where the service shows a language's screenshots of a display, and which they are.
std::pair<std::string, nlohmann::json> shows(const std::string& version, const std::string& locale,
                                             const std::string& group, const std::vector<int>& numbers) {
  auto list = nlohmann::json::array();
  for (int number : numbers) list.push_back(MD5::hex(std::string_view(shot(number, group == pad))) + " ");
  return {"/versions/" + version + "/displays/" + locale + " screenshots " + group, list};
}

const std::string second = "ios 1"; // of the versions for iOS, the oldest first

std::vector<Road> pushes() {
  Road empty{"assets push", {"assets", "push", "1.2", "--yes"}, laySomeScreenshots};
  empty.says = "✓ 1.2 for iOS shows ";
  empty.keys = {"plan", "languages"};
  empty.ends = {shows(second, "en-US", phone, {1, 2, 3, 4}), shows(second, "de-DE", phone, {5, 1})};
  Road others = empty;
  others.lay = [](World& world) {
    laySomeScreenshots(world);
    world.write("metadata/screenshots/en-US/iPad 13/01.jpg", shot(6, true));
    for (int number : {3, 9, 1}) world.show("1.2", "en-US", phone, std::to_string(number) + ".jpg", shot(number));
    world.show("1.2", "ja", phone, "01.jpg", shot(8));
  };
  Road one = empty;
  one.words = {"assets", "screenshots", "push", "1.2", "--yes", "--locale", "en-US"};
  one.lay = others.lay;
  one.says = "✓ 1.2 for iOS shows ";
  others.ends.push_back(shows(second, "en-US", pad, {6}));
  others.ends.push_back(shows(second, "ja", phone, {8}));
  one.ends = {shows(second, "en-US", phone, {1, 2, 3, 4}), shows(second, "en-US", pad, {6}),
              shows(second, "ja", phone, {8})};
  return {empty, others, one};
}

void showSome(World& world) {
  for (int number = 1; number <= 4; ++number) {
    world.show("1.2", "en-US", phone, "shot " + std::to_string(number) + ".jpg", shot(number));
  }
  world.show("1.2", "de-DE", phone, "eins.jpg", shot(5));
  world.show("1.2", "de-DE", phone, "zwei.jpg", shot(1));
  world.show("1.2", "en-US", pad, "pad.jpg", shot(6, true));
}

const std::string shots = "metadata/screenshots/";

std::vector<Road> pulls() {
  Road empty{"assets pull", {"assets", "pull", "1.2"}, showSome};
  empty.writes = true;
  empty.says = "✓ The repo shows 1.2 for iOS's assets";
  empty.keys = {"written"};
  empty.files = {{shots + "en-US/iPhone 6.9/01.jpg", shot(1)},
                 {shots + "en-US/iPhone 6.9/04.jpg", shot(4)},
                 {shots + "de-DE/iPhone 6.9/01.jpg", shot(5)},
                 {shots + "de-DE/iPhone 6.9/02.jpg", shot(1)},
                 {shots + "en-US/iPad 13/01.jpg", shot(6, true)}};
  Road renames = empty;
  renames.lay = [](World& world) {
    showSome(world);
    const std::string folder = "metadata/screenshots/en-US/" + phone + "/";
    world.write(folder + "01.jpg", shot(2));
    world.write(folder + "02.jpg", shot(1));
    world.write(folder + "loop.jpg", shot(4));
    world.write("metadata/screenshots/notes.txt", "Mine.");
  };
  renames.files.emplace_back(shots + "notes.txt", "Mine.");
  Road forced = empty;
  forced.words.push_back("--force");
  forced.lay = [](World& world) {
    showSome(world);
    world.show("1.2", "ja", phone, "hidden.jpg", shot(7), true);
    world.show("1.2", "ja", phone, "video.mov", noise(70, 2'000));
    world.show("1.2", "ja", phone, "hidden video.mov", noise(71, 1'500), true);
    world.write("metadata/screenshots/en-US/iPhone 6.9/own.jpg", shot(9));
    world.write("metadata/screenshots/en-US/iPhone 6.9/01.jpg", shot(3));
    world.write("metadata/previews/frames.json", R"({"fr-FR/iPhone 6.9/01.mov": "00:00:07:00"})");
  };
  forced.files.emplace_back(shots + "ja/iPhone 6.9/01.jpg", shot(7));
  forced.files.emplace_back("metadata/previews/ja/iPhone 6.9/01.mov", noise(70, 2'000));
  forced.files.emplace_back(shots + "en-US/iPhone 6.9/02.jpg", shot(2));
  return {empty, renames, forced};
}

/// An .ipa as Xcode makes it, of so many bytes of code.
std::string zipped(std::size_t size) {
  const tests::TemporaryFolder folder;
  const std::string info = R"(<?xml version="1.0" encoding="UTF-8"?><plist version="1.0"><dict>)"
                           "<key>CFBundleShortVersionString</key><string>1.3</string>"
                           "<key>CFBundleVersion</key><string>50</string></dict></plist>";
  folder.write("Payload/Daylight.app/Info.plist", info);
  folder.write("Payload/Daylight.app/Daylight", noise(50, size));
  const auto made = Process::run({.arguments = {"zip", "-q", "-r", "a.ipa", "Payload"}, .folder = folder.path()}, {});
  if (!made.succeeded()) throw std::runtime_error("zip: " + made.err);
  return Files::read(folder.path() / "a.ipa", 1'000'000).value();
}

std::vector<Road> uploads() {
  // Made once: the time of day is in them.
  const auto uploaded = [](Road road, const std::string& bytes) {
    road.lay = [bytes](World& world) { world.write("Daylight.ipa", bytes); };
    road.ends = {{"/builds/ios 1.3 (50)/0/md5", MD5::hex(std::string_view(bytes))}};
    return road;
  };
  Road small = uploaded({"builds upload", {"builds", "upload", "Daylight.ipa"}, {}}, zipped(700));
  small.onceOnly = true;
  small.says = "✓ Uploaded 1.3 (50) for iOS.";
  small.keys = {"uploadId"};
  const Road large = uploaded(small, zipped(6'000));
  Road mac = small;
  mac.words = {"builds", "upload", "Daylight.pkg", "--version", "1.3", "--build", "50"};
  const std::string package = "xar!" + noise(51, 2'300);
  mac.lay = [package](World& world) { world.write("Daylight.pkg", package); };
  mac.says = "✓ Uploaded 1.3 (50) for macOS.";
  mac.ends = {{"/builds/macos 1.3 (50)/0/md5", MD5::hex(std::string_view(package))}};
  return {small, large, mac};
}

void layRelease(World& world, const std::string& number) {
  world.write("metadata/app.json", R"({"copyright": "2026 Daylight"})");
  world.write("metadata/listing/en-US.json", R"({"subtitle": "Every hour", "keywords": "sun,moon"})");
  world.write("metadata/listing/de-DE.json", R"({"subtitle": "Jede Stunde"})");
  const std::string release = "metadata/releases/" + number + "/";
  world.write(release + "en-US.json", R"({"whatsNew": "Storms.", "whatToTest": "Radar."})");
  world.write(release + "de-DE.json", R"({"whatsNew": "Stürme.", "whatToTest": "Das Radar."})");
  world.write(release + "release.json", R"({"releaseType": "afterapproval", "phased": true})");
  laySomeScreenshots(world);
  world.server.withState([&](sandbox::State& state) {
    auto build = state.testFlight.builds.front();
    build.buildId = "build-45";
    build.version = number;
    build.number = "45";
    build.state = "readyforinternal";
    build.notes.clear();
    state.testFlight.builds.insert(state.testFlight.builds.begin(), build);
  });
}

std::vector<Road> preparations() {
  Road same{"release prepare", {"release", "prepare", "1.2", "--yes"}, [](World& world) { layRelease(world, "1.2"); }};
  same.says = "✓ 1.2 for iOS ";
  same.keys = {"steps"};
  const auto ready = [](const std::string& place, const std::string& number) {
    const std::string version = "/versions/" + place;
    return std::vector<std::pair<std::string, nlohmann::json>>{{version + "/number", number},
                                                               {version + "/build", "45"},
                                                               {version + "/copyright", "2026 Daylight"},
                                                               {version + "/releaseType", "afterapproval"},
                                                               {version + "/phased", true},
                                                               {version + "/texts/de-DE/whatsNew", "Stürme."},
                                                               {version + "/texts/en-US/keywords", "sun,moon"},
                                                               {"/notes/ios " + number + " (45)/de-DE", "Das Radar."},
                                                               shows(place, "en-US", phone, {1, 2, 3, 4}),
                                                               shows(place, "de-DE", phone, {5, 1})};
  };
  same.ends = ready(second, "1.2");
  Road renamed = same;
  renamed.says = "✓ 1.3 for iOS ";
  renamed.ends = ready(second, "1.3");
  renamed.words[2] = "1.3";
  renamed.lay = [](World& world) {
    layRelease(world, "1.3");
    world.show("1.2", "en-US", phone, "old.jpg", shot(9));
  };
  Road made = renamed;
  made.onlyEnds = true;
  made.ends = ready("ios 2", "1.3");
  made.lay = [](World& world) {
    layRelease(world, "1.3");
    world.server.withState([](sandbox::State& state) {
      auto& out = *state.version(1234567890, "ios", "1.2");
      out.state = "readyfordistribution";
      out.sent = true;
      state.review.unlisted = 1;
    });
  };
  return {same, renamed, made};
}

std::vector<Road> prices() {
  const std::string product = "com.example.daylight.";
  Road tip{"prices set", {"prices", "set", "5.99", "--product", product + "tip", "--yes"}, [](World& world) {
             world.write("metadata/pricing.json",
                         R"({"com.example.daylight.tip": {"countries": {"se": "59", "in": "-20%", "jp": "+2"}}})");
           }};
  tip.says = "✓ Set ";
  tip.keys = {"plan"};
  const std::string price = "/prices/1234567890" + product + "tip/";
  tip.ends = {{price + "base", 599}, {price + "own/se", 5900}};
  Road monthly = tip;
  monthly.ends = {{"/prices/1234567890" + product + "pro.monthly/base", 699}};
  monthly.says = "● Kestu sets ";
  monthly.onlyEnds = true; // a job moves country by country
  monthly.words = {"prices", "set", "6.99", "--product", product + "pro.monthly", "--yes", "--keep", "jp"};
  Road app = tip;
  app.words = {"prices", "set", "1.99", "--yes", "--override", "de=+1"};
  app.lay = [](World&) {};
  app.ends = {{"/prices/1234567890/base", 199}};
  return {tip, monthly, app};
}

} // namespace

std::vector<std::vector<Road>> allRoads() { return {pushes(), pulls(), uploads(), preparations(), prices()}; }

} // namespace kestu::chaos
