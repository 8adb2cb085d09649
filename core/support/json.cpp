#include "core/support/json.hpp"

#include "core/support/moments.hpp"

#include <nlohmann/json.hpp>

#include <cmath>

namespace kestu {

namespace {

constexpr std::size_t deepest = 512;

std::size_t depthOf(std::string_view text) {
  std::size_t depth = 0;
  std::size_t most = 0;
  bool quoted = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    char c = text[i];
    if (quoted) {
      if (c == '\\') ++i;
      if (c == '"') quoted = false;
    } else if (c == '"') {
      quoted = true;
    } else if (c == '[' || c == '{') {
      most = std::max(most, ++depth);
    } else if ((c == ']' || c == '}') && depth > 0) {
      --depth;
    }
  }
  return most;
}

} // namespace

JSONValue JSONValue::parse(std::string_view text) {
  if (depthOf(text) > deepest) throw JSONError("too deeply nested");
  try {
    auto document = std::make_shared<const nlohmann::json>(nlohmann::json::parse(text));
    const nlohmann::json* root = document.get();
    return JSONValue(std::move(document), root, "");
  } catch (const nlohmann::json::exception& error) {
    throw JSONError(error.what());
  }
}

void JSONValue::wrong(std::string_view expected) const {
  throw JSONError((path_.empty() ? "the document" : path_) + " isn't " + std::string(expected));
}

JSONValue JSONValue::at(std::string_view key) const {
  auto value = find(key);
  if (!value) throw JSONError((path_.empty() ? "" : path_ + ".") + std::string(key) + " is missing");
  return *value;
}

std::optional<JSONValue> JSONValue::find(std::string_view key) const {
  if (!value_->is_object()) wrong("an object");
  auto found = value_->find(std::string(key));
  if (found == value_->end() || found->is_null()) return std::nullopt;
  return JSONValue(document_, &*found, (path_.empty() ? "" : path_ + ".") + std::string(key));
}

std::string JSONValue::text() const {
  if (!value_->is_string()) wrong("a text");
  return value_->get<std::string>();
}

std::int64_t JSONValue::integer() const {
  if (value_->is_number_unsigned()) {
    auto number = value_->get<std::uint64_t>();
    if (number > static_cast<std::uint64_t>(INT64_MAX)) wrong("a 64-bit integer");
    return static_cast<std::int64_t>(number);
  }
  if (value_->is_number_integer()) return value_->get<std::int64_t>();
  if (!value_->is_number_float()) wrong("an integer");
  double number = value_->get<double>();
  if (std::trunc(number) != number || std::abs(number) >= 9007199254740992.0) wrong("an integer");
  return static_cast<std::int64_t>(number);
}

double JSONValue::number() const {
  if (!value_->is_number()) wrong("a number");
  return value_->get<double>();
}

bool JSONValue::boolean() const {
  if (!value_->is_boolean()) wrong("true or false");
  return value_->get<bool>();
}

Moment JSONValue::moment() const {
  auto moment = Moments::parse(text());
  if (!moment) wrong("an ISO 8601 moment");
  return *moment;
}

std::vector<JSONValue> JSONValue::list() const {
  if (!value_->is_array()) wrong("a list");
  std::vector<JSONValue> values;
  for (const auto& element : *value_) {
    values.push_back(JSONValue(document_, &element, path_ + "[" + std::to_string(values.size()) + "]"));
  }
  return values;
}

std::vector<std::pair<std::string, JSONValue>> JSONValue::members() const {
  if (!value_->is_object()) wrong("an object");
  std::vector<std::pair<std::string, JSONValue>> members;
  for (const auto& [key, value] : value_->items()) {
    members.emplace_back(key, JSONValue(document_, &value, (path_.empty() ? "" : path_ + ".") + key));
  }
  return members;
}

std::vector<std::string> JSONValue::texts() const {
  std::vector<std::string> texts;
  for (const JSONValue& value : list()) texts.push_back(value.text());
  return texts;
}

bool JSONValue::isObject() const { return value_->is_object(); }

bool JSONValue::whenTrue(std::string_view key) const {
  auto value = find(key);
  return value && value->boolean();
}

namespace JSON {

std::string pretty(const nlohmann::json& value) {
  return value.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

std::string compact(const nlohmann::json& value) {
  return value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

} // namespace JSON

} // namespace kestu
