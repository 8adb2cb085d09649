#include "core/console/format.hpp"
#include "core/support/blotting.hpp"
#include "core/support/decimal.hpp"
#include "core/support/json.hpp"
#include "core/support/json_data.hpp"
#include "tests/fuzz/targets.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace kestu::fuzz {

namespace {

/// Every number keeps its digits.
void requireSame(const JSONValue& one, const JSONValue& other) {
  require(one.raw().type() == other.raw().type() || one.isNumber() == other.isNumber(), "kinds stay");
  if (one.isNumber()) require(one.digits() == other.digits(), "digits stay: " + one.digits());
  if (one.isText()) require(one.text() == other.text(), "texts stay");
  if (one.raw().is_array()) {
    auto ours = one.list(), theirs = other.list();
    require(ours.size() == theirs.size(), "lists stay");
    for (std::size_t i = 0; i < ours.size(); ++i) requireSame(ours[i], theirs[i]);
  }
  if (one.isObject()) {
    auto ours = one.members(), theirs = other.members();
    require(ours.size() == theirs.size(), "objects stay");
    for (std::size_t i = 0; i < ours.size(); ++i) {
      require(ours[i].first == theirs[i].first, "keys stay");
      requireSame(ours[i].second, theirs[i].second);
    }
  }
}

/// In a document's texts; its keys and what isn't text are left as they are.
bool hasText(const nlohmann::json& value, std::string_view secret) {
  if (value.is_string()) return value.get_ref<const std::string&>().find(secret) != std::string::npos;
  return value.is_structured() &&
         std::any_of(value.begin(), value.end(), [&](const auto& each) { return hasText(each, secret); });
}

} // namespace

/// What was read is written and read again as it was, and a place that is told is in the text.
void jsonDocuments(std::string_view input) {
  try {
    JSONValue value = JSONValue::parse(input);
    require(input.find('\0') == std::string_view::npos, "a document ends where the text does");
    JSONData data = JSONData::copied(value);
    for (const std::string& text : {data.compact(), data.pretty(), Format::json(input)}) {
      JSONValue again = JSONValue::parse(text);
      requireSame(value, again);
      require(JSONData::copied(again).compact() == data.compact(), "a second time changes nothing");
      require(!again.repeatedKey(), "no key is written twice");
    }
    require(data.compact().find('\n') == std::string::npos, "a body is one line");
    std::string blotted = blottedJSON(input, "secret");
    require(!hasText(nlohmann::json::parse(blotted), "secret"), "a secret is blotted out of every text");
  } catch (const JSONSyntaxError& error) {
    auto lines = static_cast<std::size_t>(std::count(input.begin(), input.end(), '\n')) + 1;
    require(error.line >= 1 && error.line <= lines, "the line is one of the text's");
    require(error.column >= 1 && error.column <= input.size() + 1, "the column is in the text");
    bool cut = input.find('\0') != std::string_view::npos; // the other parser goes no further
    require(cut || !nlohmann::json::accept(input), "what isn't read is no JSON");
  } catch (const JSONError&) {
    return; // too deep, or a number beyond all bounds
  }
}

} // namespace kestu::fuzz
