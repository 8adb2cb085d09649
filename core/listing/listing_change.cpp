#include "core/listing/listing_change.hpp"

#include "core/listing/listing_file.hpp"
#include "core/project/apple_locales.hpp"

#include <algorithm>
#include <set>

namespace kestu {

namespace {

std::optional<std::string> textOf(const JSONValue& object, std::string_view key) {
  auto text = object.find(key, &JSONValue::text);
  return text ? ListingFile::value(*text) : std::nullopt;
}

ContentRights readRights(const JSONValue& value) {
  auto rights = contentRightsOfApple(value.text());
  if (!rights) throw JSONError(value.path() + " isn't a Content Rights answer");
  return *rights;
}

LocaleText readText(const JSONValue& value) {
  LocaleText text;
  for (const ListingFieldFacts& field : listingFields()) text[field.field] = textOf(value, field.key);
  return text;
}

ReviewInfo readReview(const JSONValue& value) {
  ReviewInfo review;
  for (const ReviewTextFacts& text : reviewTexts()) review.*text.field = textOf(value, text.key);
  review.demoAccountRequired = value.find("demoAccountRequired", &JSONValue::boolean);
  return review;
}

/// The members by locale; locales become names of files, so that only codes are taken.
std::vector<std::pair<std::string, JSONValue>> localeMembers(const JSONValue& value) {
  auto members = value.members();
  for (const auto& [locale, each] : members) {
    if (!AppleLocales::localeShape(locale)) throw JSONError(each.path() + " isn't named by a locale");
  }
  return members;
}

std::string rightsText(ContentRights rights) {
  return rights == ContentRights::usesThirdPartyContent ? "uses third-party content" : "no third-party content";
}

/// Gathers what differs, and what of it is held back.
class Comparison {
 public:
  Comparison(const RepoListing& ofRepo, const StoreListing& ofStore) : repo_(ofRepo), store_(ofStore) {}

  void text(const std::string& locale, const LocaleText& wanted) {
    auto found = store_.texts.find(locale);
    const LocaleText before = found == store_.texts.end() ? LocaleText() : found->second;
    for (ListingField field : wanted.given()) {
      bool taken = editable_ || field == ListingField::promotionalText;
      if (differs(locale, std::string(facts(field).label), before[field], wanted[field], taken)) {
        change.texts[locale][field] = wanted[field];
      }
    }
  }

  void app() {
    if (differs("App", "copyright", store_.copyright, repo_.copyright, editable_)) change.copyright = repo_.copyright;
    auto rights = [](const auto& value) { return value ? std::optional(rightsText(*value)) : std::nullopt; };
    if (differs("App", "Content Rights", rights(store_.contentRights), rights(repo_.contentRights), editable_)) {
      change.contentRights = repo_.contentRights;
    }
  }

  void review(const ListingChange::Choice& choice) {
    const ReviewInfo wanted = repo_.review.value_or(ReviewInfo{});
    const ReviewInfo before = store_.review.value_or(ReviewInfo{});
    for (const ReviewTextFacts& text : reviewTexts()) {
      if (differs("App Review", std::string(text.label), before.*text.field, wanted.*text.field, editable_,
                  text.isPersonal)) {
        change.review.*text.field = wanted.*text.field;
      }
    }
    auto word = [](const std::optional<bool>& value) {
      return value ? std::optional<std::string>(*value ? "yes" : "no") : std::nullopt;
    };
    if (differs("App Review", "demo account required", word(before.demoAccountRequired),
                word(wanted.demoAccountRequired), editable_)) {
      change.review.demoAccountRequired = wanted.demoAccountRequired;
    }
    if (choice.demoPassword && editable_ && (choice.sendPassword || change.review != ReviewInfo{})) {
      change.demoPassword = choice.demoPassword;
      change.differences.push_back({"App Review", "demo account's password", std::nullopt, "", true});
    } else if (choice.demoPassword && !editable_ && choice.sendPassword) {
      change.held.push_back({"App Review", "demo account's password", std::nullopt, "", true});
    }
  }

  ListingChange change;

 private:
  /// Whether the change takes the value.
  bool differs(const std::string& place, const std::string& label, const std::optional<std::string>& before,
               const std::optional<std::string>& wanted, bool taken, bool hidden = false) {
    if (!wanted || before == wanted) return false;
    (taken ? change.differences : change.held).push_back({place, label, before, *wanted, hidden});
    return taken;
  }

  const RepoListing& repo_;
  const StoreListing& store_;
  const bool editable_ = store_.version && store_.version->takesUpdate();
};

} // namespace

StoreListing StoreListing::read(const JSONValue& value) {
  StoreListing listing;
  listing.primaryLocale = value.at("primaryLocale").text();
  listing.copyright = textOf(value, "copyright");
  listing.contentRights = value.find("contentRights", readRights);
  listing.version = value.find("version", StoreVersion::read);
  for (const auto& [locale, text] : localeMembers(value.at("locales"))) listing.texts[locale] = readText(text);
  listing.review = value.find("review", readReview);
  if (auto notes = value.find("testNotes")) {
    for (const auto& [locale, note] : localeMembers(*notes)) {
      if (auto text = ListingFile::value(note.text())) listing.testNotes[locale] = *text;
    }
  }
  return listing;
}

std::vector<std::string> StoreListing::locales() const {
  std::vector<std::string> codes;
  for (const auto& [locale, text] : texts) codes.push_back(locale);
  return codes;
}

ListingChange ListingChange::between(const RepoListing& repo, const StoreListing& store, const Choice& choice) {
  Comparison comparison(repo, store);
  const std::set<std::string> only(choice.locales.begin(), choice.locales.end());
  for (const auto& [locale, text] : repo.resolved(store.locales())) {
    if (only.empty() || only.contains(locale)) comparison.text(locale, text);
  }
  if (only.empty()) {
    comparison.app();
    comparison.review(choice);
  }
  return std::move(comparison.change);
}

JSONData ListingChange::request() const {
  JSONData request = JSONData::object();
  JSONData languages = JSONData::object();
  for (const auto& [locale, text] : texts) {
    JSONData fields = JSONData::object();
    for (ListingField field : text.given()) fields.set(std::string(facts(field).key), *text[field]);
    languages.set(locale, std::move(fields));
  }
  if (!languages.isEmpty()) request.set("locales", std::move(languages));
  request.setGiven("copyright", copyright);
  if (contentRights) request.set("contentRights", appleValue(*contentRights));
  JSONData told = JSONData::object();
  for (const ReviewTextFacts& text : reviewTexts()) told.setGiven(std::string(text.key), review.*text.field);
  told.setGiven("demoAccountRequired", review.demoAccountRequired).setGiven("demoAccountPassword", demoPassword);
  if (!told.isEmpty()) request.set("review", std::move(told));
  return request;
}

} // namespace kestu
