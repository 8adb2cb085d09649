#include "core/release/preview_assets.hpp"
#include "core/release/preview_page.hpp"
#include "core/support/base64.hpp"
#include "core/support/text.hpp"
#include "tests/support/asset_files.hpp"
#include "tests/support/tables.hpp"
#include "tests/support/temporary_folder.hpp"

#include <gtest/gtest.h>

namespace kestu::tests {
namespace {

using enum ListingField;
using Lines = std::vector<std::string>;

AssetFile file(const std::string& name, const std::string& md5) {
  AssetFile file;
  file.name = name;
  file.md5 = md5;
  return file;
}

ShownAsset shown(const std::string& md5) {
  ShownAsset asset;
  asset.assetId = "id-" + md5;
  asset.fileName = md5 + ".png";
  asset.md5 = md5;
  return asset;
}

AssetSet set(AssetKind kind, const std::string& display, std::vector<AssetFile> files) {
  AssetSet set{kind, "de-DE", {}, std::move(files), "metadata/" + std::string(facts(kind).key) + "/de-DE/" + display};
  set.display.group = set.display.name = display;
  return set;
}

std::string page(const ReleasePreview& preview) {
  std::string html;
  PreviewPage::write(preview, [&](std::string_view piece) { html += piece; });
  return html;
}

TEST(ReleasePreview, TextsAreThoseThatCustomersWouldSee) {
  using Text = std::optional<std::string>;
  // A version that isn't there has no state. Expected are the standing, what is shown and what else there is.
  for (const auto& [what, own, stored, state, field, expected] :
       Rows<const char*, Text, Text, Text, ListingField, std::string>{
           {"the same", "a", "a", "prepareforsubmission", name, "same a -"},
           {"another", "b", "a", "prepareforsubmission", subtitle, "changed b a"},
           {"none before", "b", std::nullopt, "rejected", description, "added b -"},
           {"not in the repository", std::nullopt, "a", "prepareforsubmission", keywords, "stays a -"},
           {"held back", "b", "a", "readyfordistribution", description, "held a b"},
           {"held back, none before", "b", std::nullopt, "inreview", supportUrl, "held  b"},
           {"taken in any state", "b", "a", "inreview", promotionalText, "changed b a"},
           {"a version that isn't there", "b", "a", std::nullopt, description, "changed b a"},
       }) {
    SCOPED_TRACE(what);
    RepoListing repository;
    StoreListing store;
    if (state) store.version.emplace().state = *state;
    if (own) repository.texts["de-DE"][field] = own;
    store.texts["de-DE"][field] = stored;
    auto preview = ReleasePreview::of({.repository = repository, .store = &store});
    const PreviewText* text = preview.languages.at(0).text(field);
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(std::string(rawValue(text->standing)) + " " + text->shown + " " + text->other.value_or("-"), expected);
    bool differs = !expected.starts_with("same") && !expected.starts_with("stays");
    EXPECT_EQ(preview.differences(), differs ? 1 : 0);
  }
}

TEST(ReleasePreview, AssetsAreComparedByWhatTheyAre) {
  auto compared = [](const std::vector<AssetFile>& files, const std::vector<ShownAsset>& before) {
    Lines found;
    for (const auto& each : comparedAssets(set(AssetKind::screenshots, "d", files), before)) {
      found.push_back(each.file.name + " " + std::string(rawValue(each.standing)) +
                      (each.before ? " " + std::to_string(*each.before) : ""));
    }
    return Text::joined(found, ", ");
  };
  // Each file has its name and its sum, each of those that are shown its sum.
  for (const auto& [what, files, sums, expected] : Rows<const char*, const char*, const char*, const char*>{
           {"the same", "1a 2b", "a b", "1 same, 2 same"},
           {"the last first", "3c 1a 2b", "a b c", "3 moved 3, 1 same, 2 same"},
           {"one in between", "1a nn 2b", "a b", "1 same, n added, 2 same"},
           {"one less", "2b", "a b", "2 same, a.png removed"},
           {"twins are two", "1a 2a", "a", "1 same, 2 added"},
           {"nothing shown", "1a", "", "1 added"},
       }) {
    std::vector<AssetFile> ours;
    std::vector<ShownAsset> theirs;
    for (const std::string& word : Text::words(files)) ours.push_back(file(word.substr(0, 1), word.substr(1)));
    for (const std::string& sum : Text::words(sums)) theirs.push_back(shown(sum));
    EXPECT_EQ(compared(ours, theirs), expected) << what;
  }
  AssetFile pulled = file("p", "other bytes"), framed = file("f", "f");
  pulled.assetId = "id-p";
  ShownAsset unsummed = shown("p");
  unsummed.md5.reset();
  EXPECT_EQ(compared({pulled}, {unsummed}), "p same") << "by what was pulled, where Apple tells no sum";
  framed.frame = "00:00:02:00";
  EXPECT_EQ(compared({framed}, {shown("f")}), "f changed") << "another poster frame";
}

TEST(ReleasePreview, LanguagesAndDisplaysStandInTheirOrder) {
  RepoListing repository;
  for (const char* locale : {"ar-SA", "de-DE", "en-US"}) repository.texts[locale][name] = "n";
  StoreListing store;
  store.texts["en-US"][name] = store.texts["ja"][name] = "n";
  AssetCatalog catalog;
  for (const char* display : {"Phone", "Pad"}) {
    catalog.kinds["screenshots"].push_back({.group = display, .name = display, .platform = "ios"});
  }
  ShownAssets all{{{"de-DE", {{AssetKind::screenshots, "Pad", {shown("x")}}}}}};
  PreviewFacts facts{.repository = repository, .store = &store, .catalog = &catalog, .shown = &all};
  facts.primaryLocale = "en-US";
  facts.sets = {set(AssetKind::header, "Head", {file("h", "h")}),
                set(AssetKind::screenshots, "Phone", {file("s", "s")}),
                set(AssetKind::previews, "Phone", {file("v", "v")})};
  auto preview = ReleasePreview::of(facts);
  Lines languages;
  for (const auto& each : preview.languages) languages.push_back(each.locale + (each.isNew ? " new" : ""));
  EXPECT_EQ(languages, (Lines{"en-US", "ar-SA new", "de-DE new", "ja"}));
  Lines displays;
  for (const auto& display : preview.languages.at(2).displays) {
    for (const auto& asset : display.assets) displays.push_back(display.name + " " + asset.file.name);
  }
  EXPECT_EQ(displays, (Lines{"Phone v", "Phone s", "Pad x.png", "Head h"}));
  EXPECT_TRUE(page(preview).find(R"(<article lang="ar-SA" dir="rtl">)") != std::string::npos);
  facts.locales = {"ja"};
  EXPECT_EQ(ReleasePreview::of(facts).languages.size(), 1);
}

TEST(ReleasePreview, FindingsStandBesideWhatTheyAreAbout) {
  const std::string folder = "metadata/screenshots/de-DE/Phone";
  RepoListing repository;
  repository.texts["de-DE"][subtitle] = "s";
  for (const auto& [finding, place] : Rows<Finding, std::string>{
           {{Level::error, "limit", "de-DE", "m", {subtitle}}, "subtitle"},
           {{Level::error, "required", "de-DE", "m", {supportUrl}}, "supportUrl"}, // which has no text
           {{Level::error, "required", "de-DE", "m", {supportUrl, description}}, "language"},
           {{Level::error, "screenshots", "de-DE", folder + "/1.png has an alpha channel."}, "1.png"},
           {{Level::error, "screenshots", "de-DE", folder + "/1.pngs is another."}, "language"},
           {{Level::error, "screenshots", "de-DE", folder + " has 11 screenshots."}, "display"},
           {{Level::warning, "build", std::nullopt, "m"}, "release"},
           {{Level::error, "screenshots", "german", "m"}, "release"},
           {{Level::error, "limit", "ja", "m", {subtitle}}, ""}, // not asked for
       }) {
    SCOPED_TRACE(finding.message + " " + place);
    PreviewFacts facts{.repository = repository};
    facts.sets = {set(AssetKind::screenshots, "Phone", {file("1.png", "a")})};
    facts.findings = {finding};
    auto preview = ReleasePreview::of(facts);
    const PreviewLanguage& language = preview.languages.at(0);
    Lines places;
    if (!preview.findings.empty()) places.emplace_back("release");
    if (!language.findings.empty()) places.emplace_back("language");
    for (const auto& text : language.texts) {
      if (!text.findings.empty()) places.emplace_back(kestu::facts(text.field).key);
    }
    for (const auto& display : language.displays) {
      if (!display.findings.empty()) places.emplace_back("display");
      for (const auto& asset : display.assets) {
        if (!asset.findings.empty()) places.push_back(asset.file.name);
      }
    }
    EXPECT_EQ(Text::joined(places, ", "), place);
    for (ListingField field : finding.fields) {
      if (!place.empty()) EXPECT_NE(language.text(field), nullptr) << "what is missing has its place";
    }
    EXPECT_EQ(preview.count(finding.level), place.empty() ? 0 : 1);
  }
}

TEST(ReleasePreview, DirectionGoesByTheLanguage) {
  for (const char* locale : {"ar-SA", "he", "ur-PK", "AR", "pa-Arab"}) EXPECT_TRUE(isRightToLeft(locale)) << locale;
  for (const char* locale : {"en-US", "arn", "pa-IN", "ar-Latn"}) EXPECT_FALSE(isRightToLeft(locale)) << locale;
}

TEST(ReleasePreview, NothingOfATextBecomesMarkup) {
  const std::string hostile = "\"'><script>alert(1)</script>&amp;<img src=x onerror=y>\x01\u202E";
  EXPECT_EQ(PreviewPage::escaped("<a b=\"c\" d='e'>&\n\t\xff\u202E"),
            "&lt;a b=&quot;c&quot; d=&#39;e&#39;&gt;&amp;\n \uFFFD\\u{202e}");
  RepoListing repository;
  StoreListing store;
  store.version.emplace().state = "prepareforsubmission";
  store.copyright = hostile;
  for (const ListingFieldFacts& field : listingFields()) {
    repository.texts["de-DE"][field.field] = hostile;
    store.texts["de-DE"][field.field] = hostile + "<u>";
  }
  for (LocaleTexts* texts : {&repository.texts, &store.texts}) (*texts)["de-DE"][marketingUrl] = "javascript:alert(1)";
  ShownAsset gone = shown("x");
  gone.fileName = hostile;
  ShownAssets all{{{"de-DE", {{AssetKind::screenshots, hostile, {gone}}}}}};
  PreviewFacts facts{.repository = repository, .store = &store, .shown = &all};
  facts.sets = {set(AssetKind::screenshots, hostile, {file(hostile, "a")})};
  facts.findings = {{Level::error, "r", "de-DE", hostile}, {Level::error, "r", std::nullopt, hostile}};
  auto preview = ReleasePreview::of(facts);
  preview.title = preview.state = hostile;
  preview.leftOut = {hostile};
  std::string html = page(preview);
  for (const char* never : {"<script", "<img", "<u>", "href=\"javascript", "\x01", "\u202E", "onerror=y>"})
    EXPECT_EQ(html.find(never), std::string::npos) << never;
  EXPECT_LT(html.find(PreviewPage::mark), PreviewPage::markWithin);
  EXPECT_NE(html.find("default-src 'none'"), std::string::npos);
}

TEST(ReleasePreview, ImagesStandInThePageUpToALimit) {
  TemporaryFolder folder;
  std::string bytes = png(400, 400, PNGColours::colour); // of more than one piece
  RepoListing repository;
  PreviewFacts facts{.repository = repository};
  AssetSet three = set(AssetKind::screenshots, "Phone", {});
  for (const char* name : {"1.png", "2.png", "3.png"}) {
    folder.write(name, bytes);
    AssetFile image = file(name, "");
    image.path = folder.path() / name;
    image.size = static_cast<std::int64_t>(bytes.size());
    three.files.push_back(image);
  }
  facts.sets = {three};
  auto preview = ReleasePreview::of(facts);
  preview.embed(2 * bytes.size());
  EXPECT_EQ(preview.leftOut.size(), 1);
  std::filesystem::remove(folder.path() / "2.png"); // meanwhile
  std::string html = page(preview);
  std::string data = "src=\"data:image/png;base64," + base64(bytes) + "\">";
  EXPECT_NE(html.find(data), std::string::npos);
  EXPECT_EQ(html.find("<img"), html.rfind("<img"));
  for (const auto& [text, expected] : Rows<std::string, std::string>{
           {"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foo", "Zm9v"}, {"foob", "Zm9vYg=="}, {"\xff\xfe\xfd", "//79"}})
    EXPECT_EQ(base64(text), expected);
}

TEST(ReleasePreview, WithoutDisplaysAssetsStandByTheirFolders) {
  TemporaryFolder root;
  for (const char* path : {"metadata/screenshots/de-DE/Phone/1.png", "metadata/screenshots/de-DE/Phone/10.png",
                           "metadata/screenshots/de-DE/Phone/2.png", "metadata/screenshots/de-DE/loose.png",
                           "metadata/screenshots/german/Phone/1.png", "metadata/screenshots/ja/phone/1.png"}) {
    root.write(path, png(20, 10));
  }
  root.write("metadata/screenshots/ja/phone/no.png", "no picture");
  Lines found;
  FolderAssets assets = assetsByFolder(root.path(), {});
  ASSERT_EQ(assets.findings.size(), 1U);
  EXPECT_EQ(assets.findings[0].message, "metadata/screenshots/german can't be a language: it's written de-DE.");
  for (const AssetSet& each : assets.sets) {
    for (const AssetFile& one : each.files) found.push_back(each.locale + " " + each.display.name + " " + one.name);
  }
  EXPECT_EQ(found, (Lines{"de-DE Phone 1.png", "de-DE Phone 2.png", "de-DE Phone 10.png", "de-DE 20 × 10 loose.png",
                          "ja Phone 1.png"}));
}

} // namespace
} // namespace kestu::tests
