#include "core/listing/listing_change.hpp"
#include "core/support/text.hpp"
#include "tests/support/tables.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace kestu::tests {
namespace {

using nlohmann::json;
using enum ListingField;

constexpr const char* storeText = R"({"primaryLocale": "en-US", "copyright": "2026 A", "unknown": 1,
  "contentRights": "USES_THIRD_PARTY_CONTENT",
  "version": {"versionId": "v", "platform": "ios", "version": "1.2", "state": "prepareforsubmission",
              "createdAt": "2026-11-01T00:00:00Z", "phased": false},
  "locales": {"en-US": {"name": "A", "description": "One\r\ntwo\n", "promotionalText": "P"}, "de-DE": {"name": "D"}},
  "review": {"contactPhone": "1", "demoAccountRequired": false, "notes": null}, "testNotes": {"en-US": "T"}})";

StoreListing store(const std::string& state = "prepareforsubmission", const std::string& text = storeText) {
  StoreListing listing = StoreListing::read(JSONValue::parse(text));
  if (listing.version) listing.version->state = state;
  return listing;
}

RepoListing same() {
  RepoListing repo;
  repo.texts["en-US"][name] = "A";
  repo.texts["en-US"][description] = "One\ntwo";
  repo.copyright = "2026 A";
  repo.contentRights = ContentRights::usesThirdPartyContent;
  repo.review = ReviewInfo{};
  repo.review->contactPhone = "1";
  repo.review->demoAccountRequired = false;
  return repo;
}

TEST(ListingChange, HoldsOnlyWhatDiffers) {
  const ListingChange::Choice none = {}, password = {{}, "secret", false}, asked = {{}, "secret", true};
  const ListingChange::Choice two = {{"fr-FR", "en-US"}, "secret", false};
  auto nothing = [](RepoListing&) {};
  auto defaults = [](RepoListing& repo) {
    repo.defaults.emplace();
    (*repo.defaults)[supportUrl] = "u";
    (*repo.defaults)[name] = "A";
  };
  auto several = [](RepoListing& repo) {
    repo.texts["ja"][name] = "J";
    repo.texts["fr-FR"][name] = "F";
    repo.copyright = "2027";
    repo.review->notes = "N";
  };
  auto appWide = [](RepoListing& repo) {
    repo.copyright = "2027";
    repo.contentRights = ContentRights::doesNotUseThirdPartyContent;
  };
  auto review = [](RepoListing& repo) {
    repo.review->demoAccountRequired = true;
    repo.review->notes = "N";
  };
  using Edit = std::function<void(RepoListing&)>;
  for (const auto& [what, edit, request, choice] : Rows<const char*, Edit, const char*, ListingChange::Choice>{
           {"nothing", nothing, "{}", none},
           {"a password alone", nothing, "{}", password},
           {"a password asked for", nothing, R"({"review": {"demoAccountPassword": "secret"}})", asked},
           {"a text", [](RepoListing& repo) { repo.texts["en-US"][name] = "B"; },
            R"({"locales": {"en-US": {"name": "B"}}})", password},
           {"what the repository leaves out stays", [](RepoListing& repo) { repo = {}; }, "{}", none},
           {"a new language", [](RepoListing& repo) { repo.texts["ja"][keywords] = "k"; },
            R"({"locales": {"ja": {"keywords": "k"}}})", none},
           {"defaults reach every language", defaults,
            R"({"locales": {"de-DE": {"name": "A", "supportUrl": "u"}, "en-US": {"supportUrl": "u"}}})", none},
           {"only some languages", several, R"({"locales": {"fr-FR": {"name": "F"}}})", two},
           {"app-wide values", appWide, R"({"copyright": "2027", "contentRights": "DOES_NOT_USE_THIRD_PARTY_CONTENT"})",
            password},
           {"App Review, with the password", review,
            R"({"review": {"demoAccountRequired": true, "notes": "N", "demoAccountPassword": "secret"}})", password},
       }) {
    SCOPED_TRACE(what);
    RepoListing repo = same();
    edit(repo);
    ListingChange change = ListingChange::between(repo, store(), choice);
    EXPECT_EQ(json::parse(change.request().compact()), json::parse(request));
    EXPECT_EQ(change.isEmpty(), request == std::string("{}"));
    EXPECT_TRUE(change.held.empty());
    for (const ListingDifference& each : change.differences) EXPECT_NE(each.after, "secret");
  }
}

TEST(ListingChange, OnlyAVersionThatCanBeEditedTakesMoreThanPromotionalText) {
  RepoListing repo = same();
  repo.texts["en-US"][promotionalText] = "Q";
  repo.texts["en-US"][name] = "B";
  repo.copyright = "2027";
  repo.review->notes = "N";
  auto inState = [&](const char* state) { return ListingChange::between(repo, store(state), {{}, "secret", true}); };
  for (const char* state :
       {"prepareforsubmission", "readyforreview", "rejected", "metadatarejected", "developerrejected", "invalidbinary"})
    EXPECT_EQ(inState(state).held.size(), 0U) << state;
  for (const char* state : {"waitingforreview", "inreview", "pendingdeveloperrelease", "readyfordistribution",
                            "removedfromsale", "a state of tomorrow"}) {
    ListingChange change = inState(state);
    EXPECT_EQ(change.held.size(), 4U) << state;
    EXPECT_EQ(json::parse(change.request().compact()), (json{{"locales", {{"en-US", {{"promotionalText", "Q"}}}}}}));
  }
}

TEST(ListingChange, AnAnswerIsTakenOnlyWhenItCanBeTrusted) {
  EXPECT_EQ(store().texts.at("en-US")[description], "One\ntwo");
  EXPECT_EQ(store().testNotes.at("en-US"), "T");
  for (const char* text : {R"({"locales": {}})", R"({"primaryLocale": "en-US"})",
                           R"({"primaryLocale": "en-US", "locales": {"../../x": {}}})",
                           R"({"primaryLocale": "en-US", "locales": {"default": {}}})",
                           R"({"primaryLocale": "en-US", "locales": {"en-US": {"name": 5}}})",
                           R"({"primaryLocale": "en-US", "locales": {}, "testNotes": {"/etc": "x"}})",
                           R"({"primaryLocale": "en-US", "locales": {}, "contentRights": "MAYBE"})"})
    EXPECT_THROW(store("", text), JSONError) << text;
}

TEST(ListingChange, RowsFitTheirWidthAndShowWhereTextsPart) {
  const std::string sentence = "Daylight shows how much light is left today and what the sky does ";
  for (const auto& [before, after, width, expected] : Rows<std::optional<std::string>, std::string, int, std::string>{
           {"old", "new", 60, "  en-US  name  old → new"},
           {std::nullopt, "new", 60, "  en-US  name  new"},
           {sentence + "with it.", sentence + "about it.", 60, "  en-US  name  …with it. → …about it."},
           {sentence, sentence + "with it", 60, "  en-US  name  … → …with it"},
           {"a", std::string(200, 'x'), 40, "  en-US  name  a → xxxxxxxxxxxxxxxxxxxx…"},
           {"older text", "newer text here", 38, "  en-US  name\n    older text → newer text here"},
           {std::nullopt, std::string(50, 'x'), 30, "  en-US  name\n    " + std::string(25, 'x') + "…"},
           {"x\ny", "\x1B[31m", 60, "  en-US  name  x y → \\u{1b}[31m"},
           {std::string(40, 'x') + "👩‍👩‍👧", std::string(40, 'x') + "👩‍👩‍👦", 60,
            "  en-US  name  …👩‍👩‍👧 → …👩‍👩‍👦"},
           {"天気を空から見る今日の天気", "天気を空から見る明日の天気", 40, "  en-US  name  …今日の天気 → …明日の天気"},
       }) {
    std::string text = differencesText({{"en-US", "name", before, after}}, width, TextStyles(false));
    EXPECT_EQ(text, expected);
    for (const std::string& line : Text::split(text, '\n')) {
      EXPECT_LE(Text::columns(line), static_cast<std::size_t>(width));
    }
  }
}

} // namespace
} // namespace kestu::tests
