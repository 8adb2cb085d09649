#include "core/listing/listing_file.hpp"
#include "core/listing/metadata.hpp"
#include "core/support/json.hpp"

namespace kestu::Metadata {

namespace {

using nlohmann::json;

std::optional<json> objectOf(const std::string& text) {
  try {
    JSONValue value = JSONValue::parse(text);
    if (value.isObject()) return value.raw();
  } catch (const JSONError&) {
  }
  return std::nullopt;
}

/// Whether a key of one is missing in the other, or has another value there.
bool objectSaysOtherwise(const json& existing, const json& wanted) {
  for (const auto& [key, value] : existing.items()) {
    auto found = wanted.find(key);
    if (found == wanted.end()) return true;
    bool objects = value.is_object() && found->is_object();
    if (objects ? objectSaysOtherwise(value, *found) : value != *found) return true;
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
  return before && after ? *before == *after : ListingFile::value(existing) == ListingFile::value(wanted);
}

std::string serialized(const json& object) { return JSON::pretty(object); }

} // namespace kestu::Metadata
