#pragma once

#include "core/support/files.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <map>
#include <regex>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace kestu::tests {

/// The schemas of a folder, as far as they are written there; one with a keyword that isn't known here is refused.
class JSONSchemas {
 public:
  using json = nlohmann::json;

  explicit JSONSchemas(std::filesystem::path folder) : folder_(std::move(folder)) {}

  /// What of the value isn't as the file's schema has it, each with its place; empty when it fits.
  std::vector<std::string> problems(const std::string& file, const json& value) {
    std::vector<std::string> found;
    check({file, &document(file)}, value, "$", found);
    return found;
  }

 private:
  struct Place {
    std::string file;
    const json* schema;
  };

  const json& document(const std::string& file) {
    auto known = documents_.find(file);
    if (known != documents_.end()) return known->second;
    auto bytes = Files::read(folder_ / file, 1 << 20);
    if (!bytes) throw std::runtime_error("There is no schema " + file);
    json schema = json::parse(*bytes);
    requireKnown(file, schema);
    return documents_.emplace(file, std::move(schema)).first->second;
  }

  static void requireKnown(const std::string& where, const json& schema) {
    static const std::set<std::string> known = {"$schema",    "$defs",    "$ref",  "title", "description",
                                                "type",       "enum",     "const", "anyOf", "format",
                                                "properties", "required", "items", "$id",   "additionalProperties"};
    if (schema.is_boolean()) return;
    for (const auto& [key, value] : schema.items()) {
      if (!known.contains(key)) throw std::runtime_error(where + " has " + key);
      if (key == "format" && !formats().contains(value))
        throw std::runtime_error(where + " has the format " + value.dump());
      if (key == "items" || key == "additionalProperties") requireKnown(where + "/" + key, value);
      if (key == "anyOf" || key == "properties" || key == "$defs") {
        for (const auto& [name, each] : value.items()) requireKnown(where + "/" + name, each);
      }
    }
  }

  Place referred(const Place& from, const std::string& reference) {
    std::size_t hash = std::min(reference.find('#'), reference.size());
    std::string file = hash == 0 ? from.file : reference.substr(0, hash);
    json::json_pointer pointer(hash < reference.size() ? reference.substr(hash + 1) : "");
    return {file, &document(file).at(pointer)};
  }

  static bool isOfType(const json& value, const std::string& type) {
    return type == "integer" ? value.is_number_integer() : type == value.type_name();
  }

  /// The formats that are known, each with the texts that it takes.
  static const std::map<std::string, std::regex>& formats() {
    static const std::map<std::string, std::regex> all = {
        {"date", std::regex("\\d{4}-\\d\\d-\\d\\d")},
        {"date-time", std::regex("\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d(\\.\\d*)?(Z|[+-]\\d\\d:\\d\\d)")},
        {"uuid", std::regex("[\\da-fA-F]{8}(-[\\da-fA-F]{4}){3}-[\\da-fA-F]{12}")}};
    return all;
  }

  /// What the object has by the name; null where it hasn't.
  static const json* member(const json& object, const std::string& name) {
    auto found = object.find(name);
    return found == object.end() ? nullptr : &*found;
  }

  void checkType(const json& schema, const json& value, const std::string& at, std::vector<std::string>& found) {
    const json* types = member(schema, "type");
    if (!types) return;
    json all = types->is_array() ? *types : json::array({*types});
    bool fits = std::any_of(all.begin(), all.end(), [&](const json& type) { return isOfType(value, type); });
    if (!fits) found.push_back(at + " is " + value.dump().substr(0, 60) + ", not " + types->dump());
  }

  void checkMembers(const Place& place, const json& value, const std::string& at, std::vector<std::string>& found) {
    const json& schema = *place.schema;
    for (const json& name : schema.value("required", json::array())) {
      if (!value.contains(name)) found.push_back(at + " has no " + name.get<std::string>());
    }
    const json* properties = member(schema, "properties");
    for (const auto& [name, each] : value.items()) {
      const json* known = properties ? member(*properties, name) : nullptr;
      if (!known) known = member(schema, "additionalProperties");
      if (known) check({place.file, known}, each, at + "." + name, found);
    }
  }

  void checkValue(const json& schema, const json& value, const std::string& at, std::vector<std::string>& found) {
    const json *same = member(schema, "const"), *words = member(schema, "enum"), *format = member(schema, "format");
    if (same && *same != value) found.push_back(at + " isn't " + same->dump());
    if (words && std::find(words->begin(), words->end(), value) == words->end()) {
      found.push_back(at + " is " + value.dump() + ", not of " + words->dump());
    }
    if (format && value.is_string() && !std::regex_match(value.get<std::string>(), formats().at(*format))) {
      found.push_back(at + " is " + value.dump() + ", no " + format->get<std::string>());
    }
  }

  void check(const Place& place, const json& value, const std::string& at, std::vector<std::string>& found) {
    const json& schema = *place.schema;
    if (schema.is_boolean()) {
      if (!schema.get<bool>()) found.push_back(at + " isn't known");
      return;
    }
    if (const json* reference = member(schema, "$ref")) check(referred(place, *reference), value, at, found);
    checkType(schema, value, at, found);
    checkValue(schema, value, at, found);
    if (value.is_object()) checkMembers(place, value, at, found);
    const json* items = member(schema, "items");
    for (std::size_t i = 0; items && value.is_array() && i < value.size(); ++i) {
      check({place.file, items}, value[i], at + "[" + std::to_string(i) + "]", found);
    }
    if (const json* ways = member(schema, "anyOf")) {
      std::vector<std::string> all;
      for (const json& way : *ways) {
        std::vector<std::string> ofWay;
        check({place.file, &way}, value, at, ofWay);
        if (ofWay.empty()) return;
        all.insert(all.end(), ofWay.begin(), ofWay.end());
      }
      found.push_back(at + " fits none of its forms:");
      found.insert(found.end(), all.begin(), all.end());
    }
  }

  std::filesystem::path folder_;
  std::map<std::string, json> documents_;
};

} // namespace kestu::tests
