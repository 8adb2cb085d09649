#include "core/support/json.hpp"

#include "core/support/moments.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <mutex>
#include <set>
#include <unordered_map>

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

/// `before` is all that comes before the byte that is wrong.
JSONSyntaxError syntaxError(std::string_view before, const char* message) {
  std::size_t lineStart = before.rfind('\n') + 1; // 0 where there is no line feed
  auto lines = static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n'));
  return {message, lines + 1, before.size() - lineStart + 1};
}

using Pointer = nlohmann::json::json_pointer;

/// What a parsed value no longer tells of its text: the digits of numbers that aren't integers, and repeated keys.
class WrittenForm : public nlohmann::json_sax<nlohmann::json> {
 public:
  std::vector<std::pair<Pointer, std::string>> digits;
  std::optional<std::string> repeatedKey;

  bool null() override { return element(); }
  bool boolean(bool) override { return element(); }
  bool number_integer(number_integer_t) override { return element(); }
  bool number_unsigned(number_unsigned_t) override { return element(); }
  bool number_float(number_float_t, const string_t& text) override {
    count();
    digits.emplace_back(at_, text);
    return true;
  }
  bool string(string_t&) override { return element(); }
  bool binary(binary_t&) override { return element(); }
  bool start_object(std::size_t) override { return enter(false); }
  bool start_array(std::size_t) override { return enter(true); }
  bool key(string_t& name) override {
    Level& level = levels_.back();
    if (!level.keys.insert(name).second && !repeatedKey) repeatedKey = path(name);
    step(name);
    return true;
  }
  bool end_object() override { return leave(); }
  bool end_array() override { return leave(); }
  bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override { return false; }

 private:
  struct Level {
    bool isList;
    std::size_t elements = 0;
    std::set<std::string, std::less<>> keys = {};
    bool stepped = false;
  };

  void step(const std::string& name) {
    if (std::exchange(levels_.back().stepped, true)) at_.pop_back();
    at_.push_back(name);
  }
  void count() {
    if (!levels_.empty() && levels_.back().isList) step(std::to_string(levels_.back().elements++));
  }
  bool element() {
    count();
    return true;
  }
  bool enter(bool isList) {
    count();
    levels_.push_back({isList});
    return true;
  }
  bool leave() {
    if (levels_.back().stepped) at_.pop_back();
    levels_.pop_back();
    return true;
  }
  std::string path(const std::string& name) const {
    Pointer above = levels_.back().stepped ? at_.parent_pointer() : at_;
    std::string text = above.to_string() + "/" + name;
    text.erase(0, 1);
    std::replace(text.begin(), text.end(), '/', '.');
    return text;
  }

  Pointer at_;
  std::vector<Level> levels_;
};

} // namespace

/// Few readers ask for the written form, so that it is only found out, once, for the first that does.
struct JSONValue::Document {
  explicit Document(std::string_view bytes) : root(nlohmann::json::parse(bytes)), text(bytes) {}

  void readWrittenForm() const {
    std::call_once(once, [this] {
      WrittenForm form;
      nlohmann::json::sax_parse(text, &form);
      repeatedKey = form.repeatedKey;
      for (auto& [place, figures] : form.digits) {
        // Of a repeated key the last value is the one that is there, and the last one noted.
        if (root.contains(place)) digits[&root.at(place)] = std::move(figures);
      }
    });
  }

  nlohmann::json root;
  std::string text;
  mutable std::once_flag once;
  mutable std::unordered_map<const nlohmann::json*, std::string> digits;
  mutable std::optional<std::string> repeatedKey;
};

JSONValue JSONValue::parse(std::string_view text) {
  if (depthOf(text) > deepest) throw JSONError("too deeply nested");
  try {
    auto document = std::make_shared<const Document>(text);
    // Taken for the end by the parser, whatever follows.
    if (std::size_t zero = text.find('\0'); zero != std::string_view::npos) {
      throw syntaxError(text.substr(0, zero), "a zero byte is no JSON");
    }
    const nlohmann::json* root = &document->root;
    return JSONValue(std::move(document), root, "");
  } catch (const nlohmann::json::parse_error& error) {
    throw syntaxError(text.substr(0, error.byte == 0 ? 0 : error.byte - 1), error.what());
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

std::string JSONValue::digits() const {
  if (!value_->is_number()) wrong("a number");
  if (!value_->is_number_float()) return value_->dump();
  document_->readWrittenForm();
  return document_->digits.at(value_);
}

std::optional<std::string> JSONValue::repeatedKey() const {
  document_->readWrittenForm();
  return document_->repeatedKey;
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
bool JSONValue::isText() const { return value_->is_string(); }
bool JSONValue::isNumber() const { return value_->is_number(); }

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
