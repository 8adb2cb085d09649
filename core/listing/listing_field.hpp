#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kestu {

/// The text fields of a language, in the order in which they are listed and checked everywhere.
enum class ListingField {
  name,
  subtitle,
  description,
  keywords,
  whatsNew,
  promotionalText,
  marketingUrl,
  supportUrl,
  privacyPolicyUrl,
  privacyChoicesUrl,
};

struct ListingFieldFacts {
  ListingField field;
  std::string_view key;             ///< in JSON files and in the service's answers
  std::string_view label;           ///< in messages: "what's new"
  std::optional<std::size_t> limit; ///< user-perceived characters
  bool isURL;
  bool isAppInfo; ///< one value a language for the whole app, on every platform; the others belong to a version
  std::string_view fastlaneFile;
};

/// Every field, in order.
const std::array<ListingFieldFacts, 10>& listingFields();

const ListingFieldFacts& facts(ListingField field);

std::optional<ListingField> listingFieldOfKey(std::string_view key);

/// One language's text.
class LocaleText {
 public:
  const std::optional<std::string>& operator[](ListingField field) const { return texts_[index(field)]; }
  std::optional<std::string>& operator[](ListingField field) { return texts_[index(field)]; }

  /// The fields that hold a value, in order.
  std::vector<ListingField> given() const;
  bool isEmpty() const { return given().empty(); }

  bool operator==(const LocaleText&) const = default;

 private:
  static std::size_t index(ListingField field) { return static_cast<std::size_t>(field); }

  std::array<std::optional<std::string>, 10> texts_;
};

/// By locale code ("en-US"), ascending.
using LocaleTexts = std::map<std::string, LocaleText>;

} // namespace kestu
