#include "core/support/json_data.hpp"

#include "core/support/json.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <utility>

namespace kestu {

namespace {

auto position(auto& members, std::string_view key) {
  return std::lower_bound(members.begin(), members.end(), key, [](const JSONMember& member, std::string_view wanted) {
    return member.key.compare(wanted) < 0;
  });
}

std::string scalar(const nlohmann::json& value) {
  return value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::string quoted(const std::string& text) {
  bool plain = std::all_of(text.begin(), text.end(),
                           [](char byte) { return byte >= ' ' && byte < '\x7f' && byte != '"' && byte != '\\'; });
  return plain ? '"' + text + '"' : scalar(text);
}

void newLine(std::string& out, int indent) {
  if (indent >= 0) out.append("\n").append(static_cast<std::size_t>(indent), ' ');
}

} // namespace

JSONData::JSONData() noexcept = default;
JSONData::JSONData(const JSONData& other) = default;
JSONData::JSONData(JSONData&& other) noexcept = default;
JSONData& JSONData::operator=(const JSONData& other) = default;
JSONData& JSONData::operator=(JSONData&& other) noexcept = default;
JSONData::~JSONData() = default;
JSONData::JSONData(std::int64_t value) : value_(value) {}
JSONData::JSONData(double value) : value_(value) {}
JSONData::JSONData(std::string text) : value_(std::move(text)) {}
JSONData::JSONData(Array elements) : value_(std::move(elements)) {}
JSONData::JSONData(Truth value) : value_(value) {}

bool JSONData::isNull() const { return std::holds_alternative<std::monostate>(value_); }
bool JSONData::isObject() const { return std::holds_alternative<Object>(value_); }
const JSONData::Object& JSONData::members() const { return std::get<Object>(value_); }
const JSONData::Array& JSONData::elements() const { return std::get<Array>(value_); }

const std::string* JSONData::text() const { return std::get_if<std::string>(&value_); }
std::optional<bool> JSONData::truth() const {
  const auto* truth = std::get_if<Truth>(&value_);
  return truth ? std::optional(truth->value) : std::nullopt;
}

JSONData JSONData::object(std::initializer_list<JSONMember> members) {
  JSONData object;
  object.value_ = Object{};
  for (const JSONMember& member : members) object.set(member.key, member.value);
  return object;
}

JSONData JSONData::decimal(std::string digits) {
  JSONData number;
  number.value_ = Decimal{std::move(digits)};
  return number;
}

JSONData JSONData::copied(const JSONValue& value) {
  const nlohmann::json& raw = value.raw();
  if (raw.is_object()) {
    JSONData object = JSONData::object();
    for (const auto& [key, member] : value.members()) object.set(key, copied(member));
    return object;
  }
  if (raw.is_array()) {
    JSONData list = JSONData::array();
    for (const JSONValue& element : value.list()) list.add(copied(element));
    return list;
  }
  if (raw.is_string()) return value.text();
  if (raw.is_boolean()) return value.boolean();
  return raw.is_null() ? JSONData() : decimal(value.digits());
}

JSONData& JSONData::set(std::string key, JSONData value) {
  if (isNull()) value_ = Object{};
  auto& members = std::get<Object>(value_);
  auto found = position(members, key);
  if (found != members.end() && found->key == key) {
    found->value = std::move(value);
  } else {
    members.insert(found, {std::move(key), std::move(value)});
  }
  return *this;
}

void JSONData::erase(std::string_view key) {
  if (!isObject()) return;
  auto& members = std::get<Object>(value_);
  auto found = position(members, key);
  if (found != members.end() && found->key == key) members.erase(found);
}

const JSONData* JSONData::find(std::string_view key) const {
  if (!isObject()) return nullptr;
  auto found = position(members(), key);
  return found != members().end() && found->key == key ? &found->value : nullptr;
}

JSONData* JSONData::find(std::string_view key) { return const_cast<JSONData*>(std::as_const(*this).find(key)); }

JSONData& JSONData::add(JSONData value) {
  if (isNull()) value_ = Array{};
  std::get<Array>(value_).push_back(std::move(value));
  return *this;
}

bool JSONData::isEmpty() const {
  if (const auto* list = std::get_if<Array>(&value_)) return list->empty();
  return isObject() && members().empty();
}

std::string JSONData::compact() const {
  std::string out;
  write(out, -1);
  return out;
}

std::string JSONData::pretty() const {
  std::string out;
  write(out, 0);
  return out + "\n";
}

void JSONData::write(std::string& out, int indent) const {
  const int inner = indent < 0 ? indent : indent + 2;
  bool first = true;
  auto next = [&] {
    if (!first) out += ',';
    first = false;
    newLine(out, inner);
  };
  if (isEmpty()) {
    out += isObject() ? "{}" : "[]";
  } else if (isObject()) {
    out += '{';
    for (const auto& [key, value] : members()) {
      next();
      out += quoted(key) + (indent < 0 ? ":" : ": ");
      value.write(out, inner);
    }
    newLine(out, indent);
    out += '}';
  } else if (const auto* list = std::get_if<Array>(&value_)) {
    out += '[';
    for (const JSONData& value : *list) {
      next();
      value.write(out, inner);
    }
    newLine(out, indent);
    out += ']';
  } else if (const auto* decimal = std::get_if<Decimal>(&value_)) {
    out += decimal->digits;
  } else if (const auto* text = std::get_if<std::string>(&value_)) {
    out += quoted(*text);
  } else if (const auto* real = std::get_if<double>(&value_)) {
    out += scalar(*real);
  } else if (const auto* whole = std::get_if<std::int64_t>(&value_)) {
    out += std::to_string(*whole);
  } else if (const auto* truth = std::get_if<Truth>(&value_)) {
    out += truth->value ? "true" : "false";
  } else {
    out += "null";
  }
}

} // namespace kestu
