#include "core/release/finding_table.hpp"
#include "core/release/placeholder.hpp"
#include "core/release/release_check.hpp"
#include "core/release/web_address.hpp"
#include "tests/support/fake_clock.hpp"
#include "tests/support/tables.hpp"
#include "tests/support/temporary_folder.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace kestu::tests {
namespace {

using enum ListingField;
using ReleaseCheck::Purpose;
using std::chrono::hours, std::chrono::seconds;
using Lines = std::vector<std::string>;

const Moment now = FakeClock().now();

/// "error limit de-DE: name is under 2 characters.", a line each.
std::string lines(const Findings& findings) {
  std::string lines;
  for (const Finding& each : findings) {
    lines += std::string(rawValue(each.level)) + " " + each.rule + (each.locale ? " " + *each.locale : "") + ": " +
             each.message + "\n";
  }
  return lines;
}

/// The line of a language's message, which begins with the language; none without a message.
std::string line(const std::string& kind, const std::string& message, const std::string& locale = "de-DE") {
  return message.empty() ? "" : kind + " " + locale + ": " + locale + ": " + message + "\n";
}

LocaleText text(const std::map<ListingField, std::string>& values) {
  LocaleText text;
  for (const auto& [field, value] : values) text[field] = value;
  return text;
}

LocaleText whole() {
  return text({{name, "Daylight"},
               {description, "The weather."},
               {keywords, "sun,rain"},
               {whatsNew, "Faster."},
               {supportUrl, "https://example.com"},
               {privacyPolicyUrl, "https://example.com/privacy"}});
}

TEST(ReleaseCheck, LimitsCountCharactersAndKeywordBytes) {
  using ReleaseCheck::KeywordCount;
  auto found = [](ListingField field, const std::string& value, KeywordCount count) {
    return lines(ReleaseCheck::texts({{"de-DE", text({{field, value}})}}, "", Purpose::repository, "ios", count));
  };
  const std::string family = "👩‍👩‍👧‍👦";
  for (const auto& [field, value, message] : Rows<ListingField, std::string, std::string>{
           {name, std::string(30, 'n'), ""},
           {name, std::string(31, 'n'), "name is 31 characters, 30 at most."},
           {name, repeated(family, 30), ""},
           {name, repeated(family, 31), "name is 31 characters, 30 at most."},
           {name, repeated("e\u0301", 30), ""},
           {name, "日", "name is under 2 characters."},
           {subtitle, std::string(31, 's'), "subtitle is 31 characters, 30 at most."},
           {description, repeated("ä", 4000), ""},
           {description, repeated("ä", 4001), "description is 4001 characters, 4000 at most."},
           {promotionalText, std::string(171, 'p'), "promotional text is 171 characters, 170 at most."},
           {marketingUrl, "https://example.com/" + std::string(5000, 'u'), ""},
       }) {
    for (KeywordCount count : {KeywordCount::bytes, KeywordCount::characters})
      EXPECT_EQ(found(field, value, count), line("error limit", message)) << message;
  }
  const std::string seen =
      " App Store Connect has been seen to take 100 characters: kestu config keywords characters counts so.";
  const std::string inBytes = " bytes, 100 at most.", tooMany = "keywords are 101 characters, 100 at most.";
  for (const auto& [value, bytes, characters] : Rows<std::string, std::string, std::string>{
           {std::string(100, 'k'), "", ""},
           {std::string(99, 'k') + "ä", "keywords are 101" + inBytes + seen, ""},
           {std::string(101, 'k'), "keywords are 101" + inBytes, tooMany},
           {repeated("日", 101), "keywords are 303" + inBytes, tooMany},
           {repeated("日", 33) + "k", "", ""},
       }) {
    EXPECT_EQ(found(keywords, value, KeywordCount::bytes), line("error limit", bytes));
    EXPECT_EQ(found(keywords, value, KeywordCount::characters), line("error limit", characters));
  }
}

TEST(ReleaseCheck, FindsPlaceholders) {
  for (const auto& [text, found] : Rows<const char*, const char*>{
           {"LOREM Ipsum dolor", "LOREM Ipsum"},
           {"Your Text", "Your Text"},
           {"(placeholder)", "placeholder"},
           {"★placeholder★", "placeholder"},
           {"TODO\xFF", "TODO"},
           {"x TODO_ FIXME", "FIXME"},
           {"TBD later, text here", "text here"}, // filler before reminders
       })
    EXPECT_EQ(placeholderIn(text), found) << text;
  // Generators of filler write one blank, and a mark belongs to its word.
  for (const char* text : {"lorem  ipsum", "florem ipsum", "placeholderé", "placeholder\u0301", "éplaceholder",
                           "プplaceholder", "TODOS", "Todo, fixme, tbd"})
    EXPECT_EQ(placeholderIn(text), std::nullopt) << text;
}

TEST(ReleaseCheck, TellsWebAddresses) {
  for (const char* text : {"https://example.com", "HTTPS://Example.com/a?b#c", "http://user:pw@example.com:8080",
                           "https://[::1]:443/", "https://bücher.example/ä", "https://example.com/a%20b", "http://x"})
    EXPECT_TRUE(isWebAddress(text)) << text;
  for (const char* text :
       {"", "ftp://example.com", "https://", "https:///path", "https:example.com", "https://example.com/\n",
        "https://:80", "https://[]/", "https://[::1", "https://example.com:port", "https://example.com/%2",
        "https://example.com/<id>", "https://exam\xFFple.com", "mailto://a@example.com"}) {
    EXPECT_FALSE(isWebAddress(text)) << text;
  }
}

TEST(ReleaseCheck, FindsWasteInKeywords) {
  const std::string spaces = "keywords have spaces after commas, which use up bytes of the 100.";
  auto searched = [](const std::string& found) {
    return "the keywords have " + found + " from the name or subtitle, which the App Store searches anyway.";
  };
  const std::string wide = "the keywords have full-width commas (，) and ideographic commas (、), and only a plain "
                           "comma is sure to separate them, in 1 byte.";
  for (const auto& [words, ofName, ofSubtitle, messages] : Rows<std::string, std::string, std::string, Lines>{
           {"sun,rain", "Daylight", "Weather", {}},
           {"sun, rain", "", "", {spaces}},
           {" sun,rain ,,", "", "", {}},
           {"sun,\u3000rain", "", "", {spaces}},
           {"sun,Äpfel,äpfel,SUN,sun", "", "", {"the keywords repeat äpfel and sun twice."}},
           {"weather,day,light rain", "Daylight: Weather", "Rain & light!", {searched("weather and light rain")}},
           {"Sun, sun", "Sun", "", {spaces, "the keywords repeat sun twice.", searched("sun")}},
           {"天気，雨、雲", "", "", {wide}},
           {"", "", "", {}},
       }) {
    std::string expected;
    for (const std::string& message : messages) expected += line("warning keywords", message);
    LocaleText one = text({{keywords, words}, {name, ofName}, {subtitle, ofSubtitle}});
    EXPECT_EQ(lines(ReleaseCheck::keywords(one, "de-DE")), expected) << words;
  }
}

TEST(ReleaseCheck, SaysWhatALanguageLacks) {
  LocaleText primary = whole();
  primary[subtitle] = "Weather";
  primary[promotionalText] = "New";
  const std::string many = "description, keywords, what's new";
  using Fields = std::vector<ListingField>;
  const Fields none, one = {name}, two = {name, subtitle};
  const Fields untold = {name, subtitle, description, keywords, promotionalText, supportUrl};
  for (const auto& [purpose, platform, kept, required, missing] :
       Rows<Purpose, const char*, Fields, std::string, std::string>{
           {Purpose::update, "ios", none, "name, " + many + ", support URL or privacy policy URL",
            "subtitle or promotional text"},
           {Purpose::update, "ios", whole().given(), "", "subtitle or promotional text"},
           {Purpose::update, "ios", primary.given(), "", ""},
           {Purpose::firstVersion, "macos", untold, "privacy policy URL", "what's new"},
           {Purpose::update, "tvos", two, many + " or support URL", "promotional text or privacy policy URL"},
           {Purpose::out, "ios", one, "", "promotional text"},
           {Purpose::repository, "ios", two, "", many + ", promotional text, support URL or privacy policy URL"},
       }) {
    SCOPED_TRACE(required + " | " + missing);
    LocaleText other;
    for (ListingField field : kept) other[field] = primary[field];
    std::string expected;
    if (!required.empty()) expected = line("error required", "no " + required + ", which App Review needs.");
    if (!missing.empty()) expected += line("warning missing", "no " + missing + ", which en-US has.");
    EXPECT_EQ(lines(ReleaseCheck::texts({{"de-DE", other}, {"en-US", primary}}, "en-US", purpose, platform)), expected);
  }
  EXPECT_EQ(lines(ReleaseCheck::texts({}, "en-US", Purpose::update, "ios")), "");
  LocaleTexts out = {{"ja", text({{name, "N"}, {supportUrl, "ftp:"}, {keywords, "a, a"}})}};
  EXPECT_EQ(lines(ReleaseCheck::texts(out, "ja", Purpose::out, "ios")), "") << "only promotional text counts";
}

TEST(ReleaseCheck, ListsALanguagesFaultsInOrder) {
  LocaleText bad = text({{name, "X"},
                         {description, "lorem IPSUM " + std::string(4000, 'd')},
                         {keywords, "sun, sun"},
                         {supportUrl, "example.com"},
                         {marketingUrl, "https://TODO.example"}});
  LocaleTexts texts = {{"fr-FR", bad}, {"en-US", whole()}, {"de-DE", bad}};
  std::string expected;
  for (const std::string locale : {"de-DE", "fr-FR"}) {
    for (const auto& [kind, message] : Rows<const char*, const char*>{
             {"error limit", "name is under 2 characters."},
             {"error limit", "description is 4012 characters, 4000 at most."},
             {"warning placeholder", "description has \"lorem IPSUM\", which reads as placeholder text."},
             {"warning placeholder", "marketing URL has \"TODO\", which reads as placeholder text."},
             {"error url", "support URL isn't a web address: example.com"},
             {"error required", "no what's new or privacy policy URL, which App Review needs."},
             {"warning keywords", "keywords have spaces after commas, which use up bytes of the 100."},
             {"warning keywords", "the keywords repeat sun twice."},
         })
      expected += line(kind, message, locale);
  }
  EXPECT_EQ(lines(ReleaseCheck::texts(texts, "en-US", Purpose::update, "ios")), expected);
}

TEST(ReleaseCheck, TranslationsOlderThanThePrimary) {
  ReleaseCheck::FieldFiles files = {
      {"de-DE", {{name, "de/name"}, {subtitle, "de/subtitle"}, {keywords, "de/keywords"}}},
      {"default", {{name, "default/name"}}},
      {"en-US", {{name, "en/name"}, {subtitle, "en/subtitle"}, {description, "en/d"}}},
      {"fr-FR", {{name, "fr/name"}, {description, "fr/d"}}}};
  std::map<std::string, Moment> changed = {
      {"en/name", now},          {"en/subtitle", now},       {"de/name", now - seconds(1)}, {"de/subtitle", now},
      {"de/keywords", Moment()}, {"default/name", Moment()}, {"fr/name", now + seconds(1)}, {"en/d", now},
  };
  EXPECT_EQ(lines(ReleaseCheck::stale(files, changed, "en-US")),
            line("warning stale", "name last changed before en-US's, so may not say what it says now."));
  EXPECT_EQ(lines(ReleaseCheck::stale(files, changed, "ja")), "");
  EXPECT_EQ(ReleaseCheck::suspects(files, {.dates = changed}, "en-US"), (Lines{"de/name", "en/name"}));
}

StoreVersion version12(const std::string& state) {
  StoreVersion version;
  version.version = "1.2";
  version.state = state;
  return version;
}

TEST(ReleaseCheck, TheVersionAndItsBuild) {
  constexpr int far = 24 * 60;
  const std::string review = "rejected"; // sent back, so to be prepared again
  const std::string processing =
      "error build: Apple is still processing 1.2 (45): kestu builds wait '1.2 (45)' waits for it.";
  const std::string failed = "error build: Apple couldn't process 1.2 (45)",
                    another = ": send another one with kestu builds upload.";
  auto expires = [](const std::string& when) {
    return "warning build: 1.2 (45) expires in TestFlight in " + when + ", maybe before App Review gets to it.";
  };
  for (const auto& [state, buildState, hoursLeft, platform, expected] :
       Rows<std::string, std::string, int, const char*, std::string>{
           {"prepareforsubmission", "readyforexternal", far, "ios", ""},
           {"", "", far, "ios", "error version: App Store Connect has no 1.2 yet: kestu release prepare 1.2 makes it."},
           {"", "", far, "macos",
            "error version: App Store Connect has no 1.2 yet: kestu release prepare 1.2 --platform macos makes it."},
           {"inreview", "readyforexternal", far, "ios", "error version: App Review has 1.2 already (in review)."},
           {"pendingappleRelease", "readyforexternal", far, "ios", ""}, // a state that isn't known
           {"replacedwithnewversion", "expired", 0, "ios",
            "error version: 1.2 is out already (replaced by a newer version)."},
           {review, "", far, "ios", "error build: 1.2 has no build: kestu release prepare 1.2"},
           {review, "uploading", far, "ios",
            "error build: 1.2 (45) is still being uploaded: kestu builds wait '1.2 (45)' waits for it."},
           {review, "processing", far, "ios", processing},
           {review, "failed", far, "ios", failed + another},
           {review, "invalid", far, "ios", failed + " (No icon.)" + another},
           {review, "missingcompliance", far, "tvos",
            "error build: 1.2 (45)'s export compliance isn't answered: kestu builds compliance '1.2 (45)' --platform "
            "tvos"},
           {review, "readyforinternal", 24 * 7, "ios", ""},
           {review, "readyforinternal", 24 * 7 - 1, "ios", expires("6 days")},
           {review, "readyforinternal", 1, "ios", expires("1 hour")},
           {review, "readyforinternal", 0, "ios", "error build: 1.2 (45) has expired: attach a newer build."},
           {review, "processing", 47, "ios", processing + "\n" + expires("1 day")},
       }) {
    SCOPED_TRACE(state + " " + buildState + " " + std::to_string(hoursLeft));
    std::optional<StoreVersion> stored;
    if (!state.empty()) stored = version12(state);
    std::optional<ManagedBuild> build;
    if (!buildState.empty()) {
      stored->build = StoreVersion::Build{"b45", "1.2", "45"};
      build.emplace();
      build->version = "1.2";
      build->number = "45";
      build->state = buildState;
      build->expiresAt = now + hours(hoursLeft);
      if (buildState == "invalid") build->uploadError = "No icon.";
    }
    EXPECT_EQ(lines(ReleaseCheck::version(stored, "1.2", platform, build, now)),
              expected.empty() ? "" : expected + "\n");
  }
}

TEST(ReleaseCheck, ScheduledReleases) {
  for (auto [type, after, told] : {std::tuple("scheduled", 1, false), {"scheduled", 0, true}, {"manual", 0, false}}) {
    StoreVersion version = version12("inreview");
    version.releaseType = type;
    version.earliestReleaseDate = now + seconds(after);
    auto found = ReleaseCheck::version(version, "1.2", "ios", std::nullopt, now);
    EXPECT_EQ(lines(found).find(" scheduled: ") != std::string::npos, told) << type << after;
  }
}

TEST(ReleaseCheck, ContentRights) {
  constexpr auto uses = ContentRights::usesThirdPartyContent;
  constexpr auto doesNot = ContentRights::doesNotUseThirdPartyContent;
  auto level = [](std::optional<ContentRights> answered, std::optional<ContentRights> repository) {
    Findings findings = ReleaseCheck::contentRights(answered, repository);
    return findings.empty() ? "none" : rawValue(findings[0].level);
  };
  EXPECT_EQ(level({}, {}), "error");
  EXPECT_EQ(level(uses, {}), "none");
  EXPECT_EQ(level(uses, uses), "none");
  EXPECT_EQ(level(uses, doesNot), "note");
  EXPECT_EQ(level({}, uses), "note");
}

TEST(ReleaseCheck, WhatAppReviewIsTold) {
  auto contact = [](const char* first, const char* last, const char* phone, const char* email) {
    return ReviewInfo{.contactFirstName = first, .contactLastName = last, .contactPhone = phone, .contactEmail = email};
  };
  ReviewInfo all = contact("A", "B", "1", "a@example.com");
  ReviewInfo account = all;
  account.demoAccountRequired = true;
  ReviewInfo named = account;
  named.demoAccountName = "demo";
  ReviewInfo long1 = all;
  long1.notes = repeated("ä", 4000);
  ReviewInfo long2 = all;
  long2.notes = repeated("ä", 4001);
  const std::string password =
      "note review: App Review needs a demo account: Apple never gives its password back, so set "
      "KESTU_REVIEW_DEMO_PASSWORD, or demoAccountPassword in metadata/review.json, to send it.\n";
  const std::string error = "error review: App Review";
  for (const auto& [review, hasPassword, expected] : Rows<ReviewInfo, bool, std::string>{
           {all, false, ""},
           {ReviewInfo(), false, error + "'s contact has no first name, last name, phone and email.\n"},
           {contact("A", "", "1", "e"), false, error + "'s contact has no last name.\n"},
           {contact("", "B", "", "e"), false, error + "'s contact has no first name and phone.\n"},
           {account, false, error + " needs a demo account, and has no name for it.\n" + password},
           {named, false, password},
           {named, true, ""},
           {long1, false, ""},
           {long2, false, error + "'s notes are 4001 characters, 4000 at most.\n"},
       })
    EXPECT_EQ(lines(ReleaseCheck::review(review, hasPassword)), expected);
}

TEST(ReleaseCheck, AssetsByLanguage) {
  for (const auto& [problem, locale] : Rows<std::string, std::optional<std::string>>{
           {"metadata/header/en-US/iPhone/1.png is 2 × 2", "en-US"},
           {"metadata/header/de-DE has none", "de-DE"},
           {"metadata/header/frames.json gives en-US/1.png", std::nullopt},
           {"metadata/headers/en-US/1.png", std::nullopt},
           {"metadata/header/", std::nullopt},
       })
    EXPECT_EQ(ReleaseCheck::assetLocale(problem, "metadata/header"), locale) << problem;
  TemporaryFolder repo;
  CLIError offline(CLIError::Kind::unavailable, "Couldn't reach kestu: no route");
  EXPECT_EQ(lines(ReleaseCheck::assets(repo.path(), offline, Level::note)), "");
  repo.write("metadata/screenshots/en-US/1.png", "");
  repo.write("metadata/header/en-US/1.png", "");
  EXPECT_EQ(lines(ReleaseCheck::assets(repo.path(), offline, Level::note)),
            "note assets: The screenshots and header assets weren't checked against Apple's specs: Couldn't reach "
            "kestu: no route\n");
}

TEST(ReleaseCheck, TheWhatsNewPage) {
  const std::string none = "No What's New page for 1.9, though earlier versions had one.";
  const std::string draft = "The 1.9 What's New page is a draft, so no one sees it: kestu kit whats-new publish 1.9";
  const std::string page = "a b/whatsnew";
  const std::string upload = page + " isn't uploaded to kestu: kestu kit whats-new upload 'a b/whatsnew' --version 1.9";
  for (const auto& [pages, repositoryPage, warning] :
       Rows<std::vector<WhatsNewPage>, std::optional<std::string>, std::string>{
           {{}, std::nullopt, ""},
           {{{"1.10", {}, "published"}}, std::nullopt, ""}, // a later version's
           {{{"1.8", {}, "draft"}}, std::nullopt, none},
           {{{"1.8", "macos", "published"}}, std::nullopt, ""},
           {{{"1.9", "macos", "published"}, {"1.8", "ios", "published"}}, std::nullopt, none},
           {{{"1.9", {}, "published"}, {"1.8", {}, "published"}}, page, ""},
           {{{"1.9", {}, "published"}, {"1.9", "ios", "draft"}}, page, draft + " --platform ios"},
           {{{"1.9", "ios", "published"}, {"1.9", {}, "draft"}}, std::nullopt, ""},
           {{{"1.8", {}, "published"}}, page, upload},
       })
    EXPECT_EQ(lines(ReleaseCheck::whatsNew(pages, "1.9", "ios", repositoryPage)),
              warning.empty() ? "" : "warning whatsnew: " + warning + "\n");
}

TEST(ReleaseCheck, HowLongAppReviewTakes) {
  for (const auto& [time, words] : Rows<ReleaseCheck::ReviewTime, std::string>{
           {{0.5, 1, 1}, "30 minutes now (the median of 1 review in the last 1 day)."},
           {{23.6, 1234, 30}, "24 hours now (the median of 1,234 reviews in the last 30 days)."},
           {{50, 10, 30}, "2 days 2 h now (the median of 10 reviews in the last 30 days)."},
       })
    EXPECT_EQ(lines(ReleaseCheck::reviewTime({{"macos", time}}, "macos")),
              "note reviewtime: App Review on macOS takes about " + words + "\n");
  EXPECT_EQ(lines(ReleaseCheck::reviewTime({{"macos", {}}}, "ios")), "");
}

TEST(FindingTable, GroupsAtATerminalOnly) {
  Findings findings = {{Level::warning, "url", "en-US", "en-US: support URL isn't a web address: example\x1b[2J.com"},
                       {Level::error, "version", {}, "1.2 has no build: kestu release prepare 1.2"}};
  TextStyles plain(false);
  EXPECT_EQ(ReleaseCheck::table(findings, plain),
            "warning  en-US  en-US: support URL isn't a web address: example\\u{1b}[2J.com\n"
            "error           1.2 has no build: kestu release prepare 1.2");
  EXPECT_EQ(ReleaseCheck::groups(findings, plain, 42), "en-US  1 warning\n"
                                                       "  warning  support URL isn't a web\n"
                                                       "           address: example\\u{1b}[2J.com\n"
                                                       "All else  1 error\n"
                                                       "  error    1.2 has no build:\n"
                                                       "           kestu release prepare 1.2");
  EXPECT_EQ(ReleaseCheck::groups({findings[1]}, plain, 80), "  error    1.2 has no build: kestu release prepare 1.2");
  EXPECT_EQ(ReleaseCheck::groups({}, plain, 80), "");
  EXPECT_EQ(encoded({findings[1]}).compact(),
            R"([{"level":"error","message":"1.2 has no build: kestu release prepare 1.2","rule":"version"}])");
  findings.clear();
  for (const char* locale : {"ca", "cs", "da", "el", "fi"}) {
    std::string path = "fastlane/screenshots/" + std::string(locale) + "/";
    for (const char* file : {"1.png", "02 b.JPG"}) {
      findings.push_back({Level::error, "screenshots", locale, path + file + " is 1 × 2, not a size."});
    }
    findings.push_back({Level::warning, "missing", locale, std::string(locale) + ": no subtitle, which en-US has."});
  }
  findings.push_back({Level::warning, "missing", "fi", "fi: no keywords, which en-US has."});
  EXPECT_EQ(ReleaseCheck::groups(findings, plain, 200),
            "Several languages  10 errors, 5 warnings\n"
            "  error    fastlane/screenshots/ca/1.png is 1 × 2, not a size. (9 more alike: cs, da, el and 1 more)\n"
            "  warning  ca: no subtitle, which en-US has. (4 more alike: cs, da, el and 1 more)\n"
            "fi  1 warning\n"
            "  warning  no keywords, which en-US has.");
}

} // namespace
} // namespace kestu::tests
