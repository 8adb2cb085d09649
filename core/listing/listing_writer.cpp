#include "core/listing/listing_file.hpp"
#include "core/listing/metadata.hpp"
#include "core/support/json.hpp"

namespace kestu::Metadata {

namespace {

std::optional<JSONData> objectOf(const std::string& text) {
  try {
    JSONValue value = JSONValue::parse(text);
    if (value.isObject()) return JSONData::copied(value);
  } catch (const JSONError&) {
  }
  return std::nullopt;
}

/// Whether a key of one is missing in the other, or has another value there. Null says nothing.
bool objectSaysOtherwise(const JSONData& existing, const JSONData& wanted) {
  for (const auto& [key, value] : existing.members()) {
    if (value.isNull() || (value.isObject() && value.isEmpty())) continue;
    const JSONData* found = wanted.find(key);
    if (found == nullptr) return true;
    bool objects = value.isObject() && found->isObject();
    if (objects ? objectSaysOtherwise(value, *found) : value.compact() != found->compact()) return true;
  }
  return false;
}

} // namespace

bool saysOtherwise(const std::string& existing, const std::string& wanted) {
  auto before = objectOf(existing);
  auto after = objectOf(wanted);
  if (before && after) return objectSaysOtherwise(*before, *after);
  auto text = ListingFile::value(existing);
  return text && text != ListingFile::value(wanted);
}

bool saysTheSame(const std::string& existing, const std::string& wanted) {
  auto before = objectOf(existing);
  auto after = objectOf(wanted);
  return before && after ? before->compact() == after->compact()
                         : ListingFile::value(existing) == ListingFile::value(wanted);
}

std::string serialized(const JSONData& object) { return object.pretty(); }

} // namespace kestu::Metadata
