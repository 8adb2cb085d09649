#include "core/support/json.hpp"
#include "core/support/json_data.hpp"

#include <gtest/gtest.h>

#include <limits>

namespace kestu {
namespace {

using Texts = std::vector<std::string>;

TEST(JSONData, WritesEachKindOfValue) {
  const std::pair<JSONData, std::string> cases[] = {
      {JSONData(), "null"},
      {true, "true"},
      {0, "0"},
      {std::numeric_limits<std::int64_t>::min(), "-9223372036854775808"},
      {1.5, "1.5"},
      {std::numeric_limits<double>::quiet_NaN(), "null"},
      {JSONData::decimal("12.90"), "12.90"},
      {std::string_view("ab").substr(0, 1), R"("a")"},
      {std::string("\"\\\n\x01\x7f", 5), "\"\\\"\\\\\\n\\u0001\x7f\""},
      {"Ærø 🙂", "\"Ærø 🙂\""},
      {"a\xff\xc3", "\"a\xef\xbf\xbd\xef\xbf\xbd\""}, // bytes that are no UTF-8
      {JSONData::object(), "{}"},
      {Texts{"b", "a"}, R"(["b","a"])"},
      {std::optional<int>(), "null"},
      {std::optional("x"), R"("x")"},
      {JSONData().set("a", 1), R"({"a":1})"},
      {JSONData().add("x").add(JSONData()), R"(["x",null])"},
      {JSONData::object({{"b", 1}, {"a", Texts{"x"}}, {"B", false}, {"b", 2}}), R"({"B":false,"a":["x"],"b":2})"},
      {JSONData().setGiven("a", std::optional<int>()).setGiven("b", std::optional(2)), R"({"b":2})"},
  };
  for (const auto& [value, text] : cases) EXPECT_EQ(value.compact(), text) << text;
}

TEST(JSONData, LaysOutAndIsCopiedAsItWasRead) {
  const std::string pretty =
      "{\n  \"a\": [\n    1,\n    {\n      \"b\": {}\n    },\n    []\n  ],\n  \"c\\\"\": -5e-1\n}\n";
  JSONData copy = JSONData::copied(JSONValue::parse(R"({"c\"":-5e-1,"a":[1,{"b":{}},[]]})"));
  EXPECT_EQ(copy.pretty(), pretty);
  for (std::string text : {"18446744073709551615", "[null,true,\"\\u0000\",1e+300]", "{\"\":{\"a\":0.1}}"})
    EXPECT_EQ(JSONData::copied(JSONValue::parse(text)).compact(), text);
}

TEST(JSONData, FindsAndErasesByKey) {
  JSONData object = JSONData::object({{"b", 1}, {"a", 2}, {"c", 3}});
  for (const char* key : {"b", "none", "c"}) object.erase(key);
  *object.find("a") = JSONData().set("x", 1);
  EXPECT_EQ(object.find("b"), nullptr);
  EXPECT_EQ(JSONData("text").find("a"), nullptr);
  EXPECT_EQ(object.compact(), R"({"a":{"x":1}})");
}

} // namespace
} // namespace kestu
