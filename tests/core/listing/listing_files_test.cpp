#include "core/listing/metadata.hpp"
#include "core/support/files.hpp"
#include "core/support/moments.hpp"
#include "core/support/text.hpp"
#include "tests/support/tables.hpp"
#include "tests/support/temporary_folder.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <map>
#include <random>

namespace fs = std::filesystem;

namespace kestu::tests {
namespace {

using enum ListingField;

constexpr std::array allLayouts = {MetadataLayout::kestu, MetadataLayout::fastlane, MetadataLayout::json};

LocaleText text(std::initializer_list<std::pair<ListingField, std::string>> values) {
  LocaleText result;
  for (const auto& [field, value] : values) result[field] = value;
  return result;
}

void save(const TemporaryFolder& repo, const ListingFiles& files) {
  for (const auto& [path, contents] : files) repo.write(path, contents);
}

RepoListing read(const TemporaryFolder& repo, MetadataLayout layout = MetadataLayout::kestu,
                 std::optional<std::string> version = "1.2", std::optional<std::string> platform = "ios") {
  return Metadata::read(layout, repo.path(), version, platform);
}

/// What reading throws, or "" when it doesn't.
std::string failure(MetadataLayout layout, const ListingFiles& files, const std::string& version = "1.2") {
  TemporaryFolder repo;
  save(repo, files);
  return outcomeOf([&] { read(repo, layout, version); });
}

TEST(ListingFiles, TheFirstLayoutFoundWins) {
  for (const auto& [folders, layout] : Rows<std::vector<std::string>, std::optional<MetadataLayout>>{
           {std::vector<std::string>(), std::nullopt},
           {{"metadata/screenshots"}, std::nullopt},
           {{"fastlane/metadata"}, MetadataLayout::fastlane},
           {{"fastlane/metadata", "metadata/versions"}, MetadataLayout::json},
           {{"metadata/version"}, MetadataLayout::json},
           {{"metadata/app-info", "metadata/releases"}, MetadataLayout::kestu},
           {{"fastlane/metadata", "metadata/listing"}, MetadataLayout::kestu}}) {
    SCOPED_TRACE(folders.empty() ? "none" : folders.back());
    TemporaryFolder repo;
    for (const std::string& folder : folders) fs::create_directories(repo.path() / folder);
    EXPECT_EQ(Metadata::detect(repo.path()), layout);
  }
  TemporaryFolder repo;
  repo.write("metadata/listing", "a file");
  EXPECT_EQ(Metadata::detect(repo.path()), std::nullopt);
}

TEST(ListingFiles, WhatIsMalformedIsSaidByPath) {
  const std::string app = "metadata/app.json", en = "metadata/listing/en-US.json", review = "metadata/review.json";
  const std::string releases = "metadata/releases/1.2/", noObject = " isn't a JSON object.";
  const std::string notRead = " isn't what kestu reads: ";
  const std::string release = notRead + "releaseType, earliestReleaseDate (as 2026-11-02T09:00:00Z), phased and build.";
  auto appWide = [](const std::string& field, const std::string& platform) {
    return ": " + field + " is the app's on every platform in App Store Connect, so it can't be " + platform +
           "'s own: say it once, outside " + platform + ".";
  };
  for (const auto& [path, contents, message] : Rows<std::string, std::string, std::string>{
           {app, R"({"contentRightsDeclaration": "YES"})",
            ": contentRightsDeclaration is DOES_NOT_USE_THIRD_PARTY_CONTENT or USES_THIRD_PARTY_CONTENT."},
           {app, R"({"contentRightsDeclaration": null, "copyright": " "})", ""},
           {app, R"({"copyright": 2026})", ": copyright isn't text or null."},
           {app, R"({"macos": "x"})", ": macos isn't an object of what's that platform's own."},
           {en, "[1]", noObject},
           {en, "", noObject + "\nIt's JSON up to line 1, column 1."},
           {en, "{\"name\": \"\xFF\"}", " isn't UTF-8 text."},
           {en, "{\n  \"name\": \"Ähm\",\n}\n", noObject + "\nIt's JSON up to line 3, column 1."},
           {en, "{\r\n  \"name\": \"水\" \"subtitle\"", noObject + "\nIt's JSON up to line 2, column 26."},
           {en, R"({"name": 5})", ": name isn't text or null."},
           {en, R"({"name": null, "other": 5})", ""},
           {en, R"({"tvos": null})", ": tvos isn't an object of what's that platform's own."},
           {en, R"({"ios": {"name": "A"}})", appWide("name", "ios")},
           {releases + "de-DE.json", R"({"visionos": {"privacyPolicyUrl": null}})",
            appWide("privacyPolicyUrl", "visionos")},
           {releases + "de-DE.json", R"({"whatToTest": 1})", ": whatToTest isn't text or null."},
           {"metadata/releases/1.3/de-DE.json", "another release's isn't read", ""},
           {releases + "release.json", R"({"releaseTyp": "manual"})", release},
           {releases + "release.json", R"({"earliestReleaseDate": "2026-11-02"})", release},
           {releases + "release.json", R"({"build": null})", ""},
           {review, R"({"contactName": "Kim"})",
            notRead + "contactFirstName, contactLastName, contactPhone, contactEmail, demoAccountName, "
                      "demoAccountPassword, demoAccountRequired and notes."},
           {review, R"({"demoAccountPassword": 1234})", ": demoAccountPassword isn't text."},
           {review, R"({"demoAccountRequired": "yes"})", ": demoAccountRequired isn't true, false or null."},
           {"metadata/listing/screenshots.json", "not a language", ""},
       })
    EXPECT_EQ(failure(MetadataLayout::kestu, {{path, contents}}), message.empty() ? "" : path + message) << contents;
  EXPECT_EQ(failure(MetadataLayout::kestu, {{en, "[1]"}, {app, "["}, {review, "1"}}),
            app + noObject + "\nIt's JSON up to line 1, column 2.\n" + en + noObject + "\n" + review + noObject)
      << "all at once";
  EXPECT_EQ(failure(MetadataLayout::fastlane,
                    {{"fastlane/metadata/ja/name.txt", "\xE3\x81"}, {"fastlane/metadata/copyright.txt", "\xFF"}}),
            "fastlane/metadata/ja/name.txt isn't UTF-8 text.\nfastlane/metadata/copyright.txt isn't UTF-8 text.");
  EXPECT_EQ(failure(MetadataLayout::json, {{"metadata/versions/1.2/ja.json", R"({"keywords": 1})"}}),
            "metadata/versions/1.2/ja.json: keywords isn't text or null.");
  EXPECT_EQ(failure(MetadataLayout::kestu, {{"x", ""}}, "../../etc"),
            "../../etc can't be a version: it's a number, as 1.2.");
}

TEST(ListingFiles, ValuesAreTrimmedAndEmptyOnesArentGiven) {
  for (const auto& [file, value] : Rows<std::string, std::optional<std::string>>{
           {"  Daylight \n", "Daylight"},
           {std::string("\xEF\xBB\xBF") + "Daylight\r\n", "Daylight"},
           {"\u00A0\u2028Tag\u3000", "Tag"},
           {"a\r\n\r\nb\rc\n", "a\n\nb\nc"},
           {" \r\n\t", std::nullopt},
           {"", std::nullopt},
           {"👩‍👩‍👧‍👦 \u202Bعربي\u202C", "👩‍👩‍👧‍👦 \u202Bعربي\u202C"},
           {std::string("a\0b", 3), std::string("a\0b", 3)},
           {std::string(1 << 20, 'x') + "\n", std::string(1 << 20, 'x')}}) {
    SCOPED_TRACE(file.substr(0, 40));
    TemporaryFolder repo;
    repo.write("fastlane/metadata/en-US/description.txt", file);
    std::string bytes = nlohmann::json{{"description", file.starts_with("\xEF") ? file.substr(3) : file}}.dump();
    repo.write("metadata/listing/en-US.json", "\xEF\xBB\xBF" + bytes);
    for (MetadataLayout layout : {MetadataLayout::fastlane, MetadataLayout::kestu}) {
      RepoListing listing = read(repo, layout, std::nullopt, std::nullopt);
      EXPECT_EQ(listing.texts["en-US"][description], value);
      EXPECT_EQ(listing.isEmpty(), !value);
    }
  }
}

TEST(ListingFiles, KestusLayoutIsReadWhole) {
  TemporaryFolder repo;
  repo.write("metadata/app.json", R"({"copyright": "2026 A", "macos": {"copyright": "2026 M"},
    "contentRightsDeclaration": "USES_THIRD_PARTY_CONTENT"})");
  repo.write("metadata/listing/en-US.JSON", R"({"name": "A", "whatsNew": "not here", "ios": {"keywords": "i"},
    "keywords": "k", "macos": {"keywords": null}})");
  repo.write("metadata/listing/default.json", R"({"supportUrl": "https://a", "name": "D"})");
  repo.write("metadata/listing/en-GB", "not a JSON file");
  repo.write("metadata/releases/1.10/en-US.json", R"({"whatsNew": "ten", "whatToTest": "All", "name": "not here"})");
  repo.write("metadata/releases/1.10/default.json", R"({"whatsNew": "Fixes."})");
  repo.write("metadata/releases/1.10/whatsnew/page.json", "{}");
  repo.write(
      "metadata/releases/1.10/release.json",
      R"({"releaseType": "scheduled", "earliestReleaseDate": "2026-11-02T09:00:00Z", "phased": false, "build": "7"})");
  repo.write("metadata/releases/1.9/en-US.json", R"({"whatsNew": "nine"})");
  repo.write("metadata/review.json", R"({"contactPhone": "1", "notes": "N", "demoAccountPassword": "first"})");
  repo.write("metadata/releases/1.10/review.json", R"({"notes": "ten's", "demoAccountPassword": " second "})");
  RepoListing listing = read(repo, MetadataLayout::kestu, "1.10");
  EXPECT_EQ(listing.texts, (LocaleTexts{{"en-US", text({{name, "A"}, {keywords, "i"}, {whatsNew, "ten"}})}}));
  EXPECT_EQ(listing.defaults, text({{name, "D"}, {supportUrl, "https://a"}, {whatsNew, "Fixes."}}));
  EXPECT_EQ(listing.copyright, "2026 A");
  EXPECT_EQ(listing.contentRights, ContentRights::usesThirdPartyContent);
  EXPECT_EQ(listing.review->notes, "ten's");
  EXPECT_EQ(listing.review->contactPhone, "1");
  EXPECT_EQ(listing.demoPassword, "second");
  EXPECT_EQ(listing.demoPasswordFile, "metadata/releases/1.10/review.json");
  EXPECT_EQ(listing.release, (ReleaseSettings{"scheduled", Moments::parse("2026-11-02T09:00:00Z"), false, "7"}));
  EXPECT_EQ(listing.testNotes, (std::map<std::string, std::string>{{"en-US", "All"}}));
  EXPECT_EQ(listing.whatsNewPage, "metadata/releases/1.10/whatsnew");
  EXPECT_EQ(listing.files.at("en-US").at(keywords), "metadata/listing/en-US.JSON");
  EXPECT_EQ(listing.files.at("en-US").at(whatsNew), "metadata/releases/1.10/en-US.json");

  LocaleTexts resolved = listing.resolved({"ja"});
  EXPECT_EQ(resolved.at("ja"), *listing.defaults);
  EXPECT_EQ(resolved.at("en-US")[name], "A");
  EXPECT_EQ(resolved.at("en-US")[supportUrl], "https://a");

  RepoListing onMac = read(repo, MetadataLayout::kestu, "1.10", "macos");
  EXPECT_EQ(onMac.copyright, "2026 M");
  EXPECT_EQ(onMac.texts.at("en-US")[keywords], std::nullopt);
  EXPECT_EQ(read(repo, MetadataLayout::kestu, "1.9").demoPassword, "first");
  EXPECT_EQ(read(repo, MetadataLayout::kestu, "2.0").texts.at("en-US")[whatsNew], std::nullopt);
  EXPECT_EQ(read(repo, MetadataLayout::kestu, std::nullopt).texts.at("en-US")[whatsNew], "ten")
      << "without a version, the highest: 1.10 comes after 1.9";
}

TEST(ListingFiles, TheOtherLayoutsTakeWhatBelongsInTheirFolders) {
  TemporaryFolder repo;
  repo.write("metadata/app-info/de-DE.json", R"({"name": "A", "description": "not here"})");
  repo.write("metadata/versions/1.2/de-DE.json", R"({"name": "not here", "description": "D", "whatsNew": "W"})");
  repo.write("fastlane/metadata/default/support_url.txt", "https://d");
  repo.write("fastlane/metadata/en-US/release_notes.txt", "W");
  repo.write("fastlane/metadata/ja", "a file");
  repo.write("fastlane/metadata/review_information/first_name.txt", "Kim");
  repo.write("fastlane/metadata/review_information/demo_password.txt", "pw\n");
  repo.write("elsewhere/name.txt", "G");
  fs::create_directory_symlink(repo.path() / "elsewhere", repo.path() / "fastlane/metadata/en-GB");
  EXPECT_EQ(read(repo, MetadataLayout::json).texts,
            (LocaleTexts{{"de-DE", text({{name, "A"}, {description, "D"}, {whatsNew, "W"}})}}));
  RepoListing listing = read(repo, MetadataLayout::fastlane);
  EXPECT_EQ(listing.texts, (LocaleTexts{{"en-GB", text({{name, "G"}})}, {"en-US", text({{whatsNew, "W"}})}}));
  EXPECT_EQ(listing.defaults, text({{supportUrl, "https://d"}}));
  EXPECT_EQ(listing.review->contactFirstName, "Kim");
  EXPECT_EQ(listing.demoPassword, "pw");
  EXPECT_EQ(listing.demoPasswordFile, "fastlane/metadata/review_information/demo_password.txt");
}

TEST(ListingFiles, WhatIsNotReadIsToldALineAFolder) {
  using enum MetadataLayout;
  for (const auto& [layout, files, notes, misnamed, locales] :
       Rows<MetadataLayout, const char*, const char*, const char*, const char*>{
           {fastlane, "ja/name.txt J\nde-DE/.DS_Store\nREADME.md", "", "", "ja"},
           {fastlane,
            "ja/whats_new.txt W\nko/whats_new.txt W\nko/Name.txt N\nprimary_category.txt G\nandroid/en-US/title.txt A",
            "fastlane/metadata: not read: Name.txt in ko (name.txt is); primary_category.txt; whats_new.txt in ja and "
            "ko (release_notes.txt is).",
            "", ""},
           {fastlane, "de_DE/name.txt A\ngerman/x.txt A\nKlingon/name.txt A\nScreens/1.png\nfy/name.txt F",
            "fastlane/metadata: not read: Screens.",
            "fastlane/metadata/Klingon\nfastlane/metadata/de_DE\nfastlane/metadata/german", "fy"},
           {fastlane, "review_information/demo_notes.txt A\nreview_information/notes.txt A",
            "fastlane/metadata/review_information: not read: demo_notes.txt.", "", ""},
           {kestu,
            "listing/ja.json {\"titel\": \"?\", \"macos\": {\"what to test\": \"?\", \"name \": \"\"}}\n"
            "listing/whats_new.txt ?\nlisting/pt_br.JSON ?\nreleases/1.2/release.json {}\n"
            "releases/1.2/ja.json {\"whatToTest\": \"All\", \"subtitle\": \"S\"}",
            "metadata/listing: not read: name  in ja.json (name is); titel in ja.json; what to test in ja.json; "
            "whats_new.txt.\n"
            "metadata/releases/1.2: not read: subtitle in ja.json (it goes in metadata/listing/<locale>.json).",
            "metadata/listing/pt_br.JSON", ""},
           {kestu, "reveiw.json {}\napp.json {}\npricing.json {}\nREADME.txt\nen-US/name.txt N\nheader/en-US/a.png",
            "metadata: not read: en-US; reveiw.json.", "", ""},
           {json, "app.json {}\npricing.json {}", "metadata: not read: app.json.", "", ""},
           {json,
            "app-info/ja.json {\"description\": \"D\", \"Privacy Policy URL\": \"u\"}\n"
            "version/1.2/ko.json {\"name\": \"N\", \"whatToTest\": \"T\", \"keywords\": \"k\"}",
            "metadata/app-info: not read: Privacy Policy URL in ja.json (privacyPolicyUrl is); description in ja.json "
            "(it goes in metadata/version/<version>/<locale>.json).\n"
            "metadata/version/1.2: not read: name in ko.json (it goes in metadata/app-info/<locale>.json); whatToTest "
            "in ko.json (kestu's layout has it).",
            "", "ko"},
       }) {
    SCOPED_TRACE(files);
    TemporaryFolder repo;
    for (const std::string& file : Text::split(files, '\n')) {
      std::size_t end = std::min(file.find(' '), file.size());
      std::string contents = file.substr(std::min(end + 1, file.size()));
      repo.write((layout == fastlane ? "fastlane/metadata/" : "metadata/") + file.substr(0, end), contents);
    }
    RepoListing listing = read(repo, layout);
    EXPECT_EQ(Text::joined(listing.notes, "\n"), notes);
    std::vector<std::string> others, languages;
    for (const MisnamedLanguage& each : listing.misnamed) others.push_back(each.path);
    for (const auto& [locale, values] : listing.texts) languages.push_back(locale);
    EXPECT_EQ(Text::joined(others, "\n"), misnamed);
    EXPECT_EQ(Text::joined(languages, "\n"), locales) << "an empty folder and What to Test alone make no language";
  }
}

/// A listing with something in every field, in forty languages.
ListingToWrite wholeListing() {
  ListingToWrite listing{"1.2", "ios", {}};
  listing.copyright = "2026 Ünlü & Söhne";
  listing.contentRights = ContentRights::doesNotUseThirdPartyContent;
  listing.review = {"Kim", "T\"arn", "+49 30 1", "a@b.c", "demo", std::nullopt, "Line 1\nLine 2 \\ / end"};
  listing.appReviewInfo = true;
  for (int i = 0; i < 40; ++i) {
    std::string locale = {static_cast<char>('a' + i / 26), static_cast<char>('a' + i % 26), '-', 'X', 'X'};
    for (const ListingFieldFacts& field : listingFields()) {
      const std::string odd = "\n\u200Fמזג אוויר 👩‍👩‍👧‍👦 \t\u2028\x01";
      listing.texts[locale][field.field] = std::string(field.key) + " " + locale + odd + "end";
    }
  }
  return listing;
}

TEST(ListingFiles, WhatIsWrittenIsReadBack) {
  for (MetadataLayout layout : allLayouts) {
    SCOPED_TRACE(facts(layout).name);
    TemporaryFolder repo;
    ListingToWrite listing = wholeListing();
    if (layout == MetadataLayout::kestu) {
      listing.release = ReleaseSettings{"manual", std::nullopt, true, "7"};
      listing.review.demoAccountRequired = true;
      listing.testNotes = {{"aa-XX", "Try it"}};
    }
    save(repo, Metadata::files(layout, repo.path(), listing));
    EXPECT_EQ(Metadata::detect(repo.path()), layout);
    RepoListing back = read(repo, layout);
    EXPECT_EQ(back.texts, listing.texts);
    EXPECT_EQ(back.testNotes, listing.testNotes);
    EXPECT_EQ(back.release, listing.release);
    EXPECT_EQ(back.demoPassword, std::nullopt);
    if (layout != MetadataLayout::json) EXPECT_EQ(back.copyright, listing.copyright);
    if (layout != MetadataLayout::json) EXPECT_EQ(back.review, listing.review);
    if (layout == MetadataLayout::kestu) EXPECT_EQ(back.contentRights, listing.contentRights);
    for (const auto& [path, contents] : Metadata::files(layout, repo.path(), listing)) {
      EXPECT_TRUE(Metadata::saysTheSame(*Files::read(repo.path() / path, 1 << 20), contents)) << path;
      EXPECT_EQ(contents.back(), '\n');
      EXPECT_EQ(contents.find("\\/"), std::string::npos);
    }
  }
}

TEST(ListingFiles, APullOfOnePlatformLeavesWhatAnotherSends) {
  const std::string file = "metadata/listing/en-US.json";
  struct Row {
    std::string what, before, after;
    std::vector<std::string> platforms = {"ios", "macos"};
  };
  for (const Row& row : std::vector<Row>{
           {"a value for both", R"({"keywords": "old"})", R"({"keywords": "new", "macos": {"keywords": "old"}})"},
           {"one that was new", R"({"name": "A"})", R"({"name": "A", "keywords": "new", "macos": {"keywords": null}})"},
           {"one of its own", R"({"keywords": "old", "macos": {"keywords": "m"}})",
            R"({"keywords": "new", "macos": {"keywords": "m"}})"},
           {"not at the top", R"({"keywords": "m", "ios": {}})", R"({"keywords": "m", "ios": {"keywords": "new"}})"},
           {"an app on one", R"({"keywords": "old"})", R"({"keywords": "new"})", {"ios"}},
           {"three",
            R"({"keywords": "old", "tvos": {"keywords": "t"}})",
            R"({"keywords": "new", "macos": {"keywords": "old"}, "tvos": {"keywords": "t"}})",
            {"ios", "macos", "tvos"}},
       }) {
    SCOPED_TRACE(row.what);
    TemporaryFolder repo;
    repo.write(file, row.before);
    repo.write("metadata/review.json", R"({"notes": "old"})");
    repo.write("metadata/app.json", R"({"copyright": "old"})");
    repo.write("metadata/releases/1.2/en-US.json", R"({"whatToTest": "old"})");
    ListingToWrite listing{"1.2", "ios", row.platforms};
    listing.texts["en-US"][keywords] = "new";
    if (row.what == "one that was new") listing.texts["en-US"][name] = "A";
    listing.review.notes = "new";
    listing.copyright = "new";
    listing.testNotes = {{"en-US", "new"}};
    listing.appReviewInfo = true;
    ListingFiles files = Metadata::files(MetadataLayout::kestu, repo.path(), listing);
    save(repo, files);
    for (const std::string& platform : row.platforms) {
      const std::string said = platform == "ios" ? "new" : "old";
      RepoListing back = read(repo, MetadataLayout::kestu, "1.2", platform);
      EXPECT_EQ(back.copyright.value_or("") + " " + back.testNotes.at("en-US"), said + " " + said);
    }
    EXPECT_EQ(nlohmann::json::parse(files.at(file)), nlohmann::json::parse(row.after));
    EXPECT_EQ(files.contains("metadata/review.json"), row.platforms.size() == 1) << "which has one place for all";
  }
}

TEST(ListingFiles, APullKeepsWhatItDoesNotKnow) {
  TemporaryFolder repo;
  repo.write("metadata/listing/default.json", R"({"supportUrl": "https://s", "keywords": "d"})");
  repo.write(
      "metadata/listing/en-US.json",
      R"({"$comment": [1], "name": " A ", "tvos": {"keywords": "t"}, "ios": {"description": "i"}, "subtitle": "S"})");
  repo.write("metadata/review.json", R"({"demoAccountPassword": "secret", "notes": "app's", "contactPhone": "1"})");
  repo.write("metadata/releases/1.2/review.json", R"({"notes": "release's"})");
  ListingToWrite listing{"1.2", "ios", {"ios"}};
  listing.texts["en-US"] = text({{name, "A"}, {description, "i"}, {supportUrl, "https://s"}, {keywords, "k"}});
  listing.review.notes = "new";
  listing.appReviewInfo = true;
  ListingFiles files = Metadata::files(MetadataLayout::kestu, repo.path(), listing);
  EXPECT_EQ(nlohmann::json::parse(files.at("metadata/listing/en-US.json")).dump(),
            R"({"$comment":[1],"ios":{"description":"i"},"keywords":"k","name":" A ","tvos":{"keywords":"t"}})");
  EXPECT_EQ(nlohmann::json::parse(files.at("metadata/review.json")),
            (nlohmann::json{{"demoAccountPassword", "secret"}, {"notes", "app's"}}));
  EXPECT_EQ(nlohmann::json::parse(files.at("metadata/releases/1.2/review.json")), (nlohmann::json{{"notes", "new"}}));
  EXPECT_FALSE(files.contains("metadata/listing/default.json"));

  repo.write("metadata/listing/en-US.json", R"({"name": 5, "ios": {"name": "A"}, "macos": 1})");
  repo.write("metadata/review.json", R"({"other": 5, "demoAccountPassword": 5})");
  save(repo, Metadata::files(MetadataLayout::kestu, repo.path(), listing));
  EXPECT_EQ(read(repo).resolved({}).at("en-US"), listing.texts["en-US"]) << "what could not be read is mended";
}

TEST(ListingFiles, WhateverIsThereAPullIsReadBack) {
  std::minstd_rand random(7);
  auto pick = [&](unsigned count) { return random() % count; };
  auto value = [&]() -> std::optional<std::string> {
    return pick(3) == 0 ? std::nullopt : std::optional("v" + std::to_string(pick(3)));
  };
  auto someFile = [&] {
    nlohmann::json object = {{"unknown", 1}};
    for (const ListingFieldFacts& field : listingFields()) {
      auto text = value();
      const nlohmann::json given = text ? nlohmann::json(*text) : nlohmann::json();
      if (pick(2) == 0) object[std::string(field.key)] = given;
      if (field.isAppInfo || pick(2) == 0) continue;
      object[pick(2) == 0 ? "ios" : "macos"][std::string(field.key)] = given;
    }
    return object.dump();
  };
  for (int round = 0; round < 25; ++round) {
    MetadataLayout layout = pick(2) == 0 ? MetadataLayout::kestu : MetadataLayout::json;
    TemporaryFolder repo;
    for (const char* folder : {"listing", "releases/1.2", "app-info", "version/1.2"}) {
      if (pick(2) == 0) repo.write("metadata/" + std::string(folder) + "/default.json", someFile());
      if (pick(2) == 0) repo.write("metadata/" + std::string(folder) + "/en-US.json", someFile());
    }
    for (int pull = 0; pull < 4; ++pull) {
      const std::array<std::string, 2> both = {"ios", "macos"};
      const std::size_t of = pick(2);
      ListingToWrite listing{"1.2", both.at(of), {"ios", "macos"}};
      auto other = [&] { return read(repo, layout, "1.2", both.at(1 - of)); };
      auto sent = [](const RepoListing& listingOf) { return listingOf.resolved({"en-US"})["en-US"]; };
      const RepoListing others = other();
      LocaleText& wanted = listing.texts["en-US"];
      for (const ListingFieldFacts& field : listingFields()) wanted[field.field] = value();
      save(repo, Metadata::files(layout, repo.path(), listing));
      RepoListing back = read(repo, layout, "1.2", listing.platform);
      for (const ListingFieldFacts& field : listingFields()) {
        if (!others.isEmpty() && !field.isAppInfo) {
          EXPECT_EQ(sent(other())[field.field], sent(others)[field.field]) << "what another platform's push sends";
        }
        SCOPED_TRACE(std::to_string(round) + " " + std::string(field.key));
        if (wanted[field.field] || back.texts["en-US"][field.field]) {
          EXPECT_EQ(sent(back)[field.field], wanted[field.field]);
        }
      }
      for (const auto& [path, contents] : Metadata::files(layout, repo.path(), listing)) {
        EXPECT_TRUE(Metadata::saysTheSame(*Files::read(repo.path() / path, 1 << 20), contents)) << path;
      }
    }
  }
}

TEST(ListingFiles, SayingOtherwiseIsByValue) {
  for (const auto& [existing, wanted, otherwise, same] : Rows<std::string, std::string, bool, bool>{
           {R"({"b":1,  "a":"x"})", "{\"a\": \"x\", \"b\": 1}\n", false, true},
           {R"({"a":"x"})", R"({"a":"x","b":"new"})", false, false},
           {R"({"a":"x","b":"lost"})", R"({"a":"x"})", true, false},
           {R"({"macos":{"a":"x"}})", R"({"macos":{"a":"x","b":"y"}})", false, false},
           {R"({"a":"1"})", R"({"a":1})", true, false},
           {"not JSON", R"({"a":1})", true, false},
           {"", R"({"a":1})", false, false},
           {"Name", "Name\n", false, true},
           {"Na\r\nme\r\n", "Na\nme\n", false, true},
           {"\xEF\xBB\xBFName", "Name\n", false, true},
           {"Name", "", true, false},
           {" \n", "Name\n", false, false},
       }) {
    SCOPED_TRACE(existing + " | " + wanted);
    EXPECT_EQ(Metadata::saysOtherwise(existing, wanted), otherwise);
    EXPECT_EQ(Metadata::saysTheSame(existing, wanted), same);
  }
}

TEST(ListingFiles, TheEnvironmentsPasswordWins) {
  RepoListing listing;
  listing.demoPassword = "file's";
  auto with = [](std::string value) { return Environment({{"KESTU_REVIEW_DEMO_PASSWORD", std::move(value)}}); };
  EXPECT_EQ(Metadata::demoPassword(listing, with("set")), "set");
  EXPECT_EQ(Metadata::demoPassword(listing, with("")), "file's");
  EXPECT_EQ(Metadata::demoPassword(listing, Environment()), "file's");
  EXPECT_EQ(Metadata::demoPassword({}, Environment()), std::nullopt);
}

} // namespace
} // namespace kestu::tests
