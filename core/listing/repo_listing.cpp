#include "core/listing/repo_listing.hpp"

#include <algorithm>
#include <array>

namespace kestu {

namespace {

constexpr std::array<MetadataLayoutFacts, 3> layouts = {{
    {MetadataLayout::kestu, "kestu", "kestu's layout", "metadata"},
    {MetadataLayout::fastlane, "fastlane", "fastlane's layout", "fastlane/metadata"},
    {MetadataLayout::json, "json", "the JSON layout", "metadata"},
}};

/// The defaults where the text has nothing.
void fill(LocaleText& text, const LocaleText& defaults) {
  for (ListingField field : defaults.given()) {
    if (!text[field]) text[field] = defaults[field];
  }
}

} // namespace

const MetadataLayoutFacts& facts(MetadataLayout layout) { return layouts[static_cast<std::size_t>(layout)]; }

std::optional<MetadataLayout> metadataLayoutOfWord(std::string_view word) {
  for (const MetadataLayoutFacts& each : layouts) {
    if (each.word == word) return each.layout;
  }
  return std::nullopt;
}

ReviewInfo ReviewInfo::merging(const ReviewInfo& over) const {
  ReviewInfo merged = *this;
  auto take = [](auto& value, const auto& other) {
    if (other) value = other;
  };
  take(merged.contactFirstName, over.contactFirstName);
  take(merged.contactLastName, over.contactLastName);
  take(merged.contactPhone, over.contactPhone);
  take(merged.contactEmail, over.contactEmail);
  take(merged.demoAccountName, over.demoAccountName);
  take(merged.demoAccountRequired, over.demoAccountRequired);
  take(merged.notes, over.notes);
  return merged;
}

const std::array<ReviewTextFacts, 6>& reviewTexts() {
  static constexpr std::array<ReviewTextFacts, 6> all = {{
      {&ReviewInfo::contactFirstName, "contactFirstName", "contact's first name", "first_name.txt"},
      {&ReviewInfo::contactLastName, "contactLastName", "contact's last name", "last_name.txt"},
      {&ReviewInfo::contactPhone, "contactPhone", "contact's phone", "phone_number.txt", true},
      {&ReviewInfo::contactEmail, "contactEmail", "contact's email", "email_address.txt", true},
      {&ReviewInfo::demoAccountName, "demoAccountName", "demo account", "demo_user.txt"},
      {&ReviewInfo::notes, "notes", "notes", "notes.txt"},
  }};
  return all;
}

std::optional<ContentRights> contentRightsOfApple(std::string_view value) {
  for (ContentRights each : {ContentRights::usesThirdPartyContent, ContentRights::doesNotUseThirdPartyContent}) {
    if (appleValue(each) == value) return each;
  }
  return std::nullopt;
}

std::string_view appleValue(ContentRights rights) {
  return rights == ContentRights::usesThirdPartyContent ? "USES_THIRD_PARTY_CONTENT"
                                                        : "DOES_NOT_USE_THIRD_PARTY_CONTENT";
}

std::string_view rawValue(ContentRights rights) {
  return rights == ContentRights::usesThirdPartyContent ? "usesthirdpartycontent" : "doesnotusethirdpartycontent";
}

bool RepoListing::isEmpty() const {
  bool noText = std::all_of(texts.begin(), texts.end(), [](const auto& text) { return text.second.isEmpty(); });
  return noText && !defaults && !copyright && !contentRights && !review && !demoPassword && !release &&
         testNotes.empty() && !whatsNewPage;
}

LocaleTexts RepoListing::resolved(const std::vector<std::string>& locales) const {
  LocaleTexts all = texts;
  if (!defaults) return all;
  for (const std::string& locale : locales) all.try_emplace(locale);
  for (auto& [locale, text] : all) fill(text, *defaults);
  return all;
}

} // namespace kestu
