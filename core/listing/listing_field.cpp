#include "core/listing/listing_field.hpp"

namespace kestu {

const std::array<ListingFieldFacts, 10>& listingFields() {
  using enum ListingField;
  static constexpr std::array<ListingFieldFacts, 10> all = {{
      {name, "name", "name", 30, false, true, "name.txt"},
      {subtitle, "subtitle", "subtitle", 30, false, true, "subtitle.txt"},
      {description, "description", "description", 4000, false, false, "description.txt"},
      {keywords, "keywords", "keywords", 100, false, false, "keywords.txt"},
      {whatsNew, "whatsNew", "what's new", 4000, false, false, "release_notes.txt"},
      {promotionalText, "promotionalText", "promotional text", 170, false, false, "promotional_text.txt"},
      {marketingUrl, "marketingUrl", "marketing URL", std::nullopt, true, false, "marketing_url.txt"},
      {supportUrl, "supportUrl", "support URL", std::nullopt, true, false, "support_url.txt"},
      {privacyPolicyUrl, "privacyPolicyUrl", "privacy policy URL", std::nullopt, true, true, "privacy_url.txt"},
      {privacyChoicesUrl, "privacyChoicesUrl", "privacy choices URL", std::nullopt, true, true,
       "privacy_choices_url.txt"},
  }};
  return all;
}

const ListingFieldFacts& facts(ListingField field) { return listingFields()[static_cast<std::size_t>(field)]; }

std::optional<ListingField> listingFieldOfKey(std::string_view key) {
  for (const ListingFieldFacts& each : listingFields()) {
    if (each.key == key) return each.field;
  }
  return std::nullopt;
}

std::vector<ListingField> LocaleText::given() const {
  std::vector<ListingField> fields;
  for (const ListingFieldFacts& each : listingFields()) {
    if ((*this)[each.field]) fields.push_back(each.field);
  }
  return fields;
}

} // namespace kestu
