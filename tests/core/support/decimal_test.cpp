#include "core/support/decimal.hpp"
#include "core/support/json.hpp"
#include "core/support/json_data.hpp"
#include "tests/support/tables.hpp"

#include <gtest/gtest.h>

namespace kestu::tests {
namespace {

Decimal d(std::string_view text) { return Decimal::parse(text).value(); }

TEST(Decimal, ReadsNumbersAsJSONWritesThemAndNothingElse) {
  for (const auto& [text, expected] : Rows<std::string, std::string>{{"12.90", "12.9"},
                                                                     {"0059", "59"},
                                                                     {"-0.00", "0"},
                                                                     {"1.5e3", "1500"},
                                                                     {"15E-1", "1.5"},
                                                                     {"1e+2", "100"},
                                                                     {"0.1234567890123456789", "0.1234567890123456789"},
                                                                     {"0e999", "0"},
                                                                     {"-4.05", "-4.05"},
                                                                     {"1e-99", "0." + std::string(98, '0') + "1"}}) {
    SCOPED_TRACE(text);
    auto read = Decimal::parse(text);
    EXPECT_EQ(read ? read->text() : "", expected);
  }
  for (const std::string text : {"", "-", ".5", "5.", "+5", "1,5", "5 ", "1e", "1e--1", "1e+-1", "1e99999", "0x1",
                                 "nan", "1.2.3", "0.5e-99", "10e99"})
    EXPECT_FALSE(Decimal::parse(text)) << text;
  EXPECT_FALSE(Decimal::parse(std::string(101, '9')));
}

TEST(Decimal, ReckonsExactly) {
  for (const auto& [shown, expected] : Rows<std::string, std::string>{
           {(d("0.1") + d("0.2")).text(), "0.3"},
           {(d("4.99") - d("5")).text(), "-0.01"},
           {(d("-4.99") + d("4.99")).text(), "0"},
           {(d("999.99") + d("0.01")).text(), "1000"},
           {(d("1.15") * d("-9.99")).text(), "-11.4885"},
           {(d("0") * d("-7")).text(), "0"},
           {d("4.99").fixed(2), "4.99"},
           {d("5").fixed(2), "5.00"},
           {d("-0.005").fixed(2), "-0.01"},
           {d("0.004").fixed(2), "0.00"},
           {d("9.995").fixed(2), "10.00"},
           {d("0.05").fixed(1), "0.1"},
           {d("60").shifted(-2).text(), "0.6"},
           {d("0.015").shifted(2).text(), "1.5"},
           {d("-0.5").rounded().text(), "-1"},
           {d("0.49999999999999999").rounded().text(), "0"},
           {std::to_string(d("99999999999999999999").whole()), "9223372036854775807"},
           {std::to_string(d("-2.5").whole()), "-3"},
       })
    EXPECT_EQ(shown, expected);
  EXPECT_LT(d("-1"), d("0.5"));
  EXPECT_GT(d("10"), d("9.99"));
  EXPECT_EQ(d("59.00"), d("59"));
}

TEST(Decimal, KeepsTheDigitsOfJSON) {
  JSONValue value =
      JSONValue::parse(R"({"a":[1,4.10,{"b/c~":0.30000000000000000001}],"x":1.5,"x":[2.50],"n":7,"s":"1"})");
  EXPECT_EQ(value.at("a").list()[1].digits(), "4.10");
  EXPECT_EQ(value.at("a").list()[2].at("b/c~").digits(), "0.30000000000000000001");
  EXPECT_EQ(value.at("x").list()[0].digits(), "2.50") << "the last of a key that stands twice";
  EXPECT_EQ(Decimal::read(value.at("n")).text(), "7");
  EXPECT_EQ(value.repeatedKey(), "x");
  EXPECT_THROW(Decimal::read(value.at("s")), JSONError);
  EXPECT_EQ(JSONData::copied(value.at("a")).compact(), R"([1,4.10,{"b/c~":0.30000000000000000001}])");
  for (const auto& [text, repeated] :
       Rows<std::string, std::string>{{R"({"a":{"b":1},"c":{"b":1}})", ""},
                                      {R"([{"a":1},{"a":1}])", ""},
                                      {R"({"p":{"countries":{"se":1,"no":2.5,"se":3}}})", "p.countries.se"},
                                      {R"([1,{"a":[],"b":{},"a":2}])", "1.a"}})
    EXPECT_EQ(JSONValue::parse(text).repeatedKey().value_or(""), repeated) << text;
}

} // namespace
} // namespace kestu::tests
