#include "core/support/blotting.hpp"
#include "tests/support/tables.hpp"

#include <gtest/gtest.h>

namespace kestu::tests {

TEST(Blotting, HidesTheSecretWhereverItIsEchoed) {
  for (const auto& [text, secret, expected] : Rows<std::string, std::string, std::string>{
           {"pa55 is weak: pa55", "pa55", "•••• is weak: ••••"},
           {"nothing", "pa55", "nothing"},
           {"aaa", "a", "••••••••••••"},
           {"any", "", "any"},
           {R"(p"\w was in {"is": "p\"\\w"})", R"(p"\w)", R"(•••• was in {"is": "••••"})"},
       })
    EXPECT_EQ(blotted(text, secret), expected);
  for (const auto& [text, expected] : Rows<std::string, std::string>{
           {"Unsupported proxy scheme for 'odd://user:pa55@x'", "Unsupported proxy scheme for 'odd://••••@x'"},
           {"Unsupported proxy syntax in 'user:pa 55@[::1'", "Unsupported proxy syntax in '••••@[::1'"},
           {"Could not resolve proxy: us@er:pa55@x", "Could not resolve proxy: ••••@x"},
           {"https://u:pa@/5'5@x:1", "https://••••@x:1"},
           {"my user:pa://55@x", "••••@x"},
           {"Failed to connect to 127.0.0.1 port 1: 'x'", "Failed to connect to 127.0.0.1 port 1: 'x'"},
       }) {
    EXPECT_EQ(withoutUserinfo(text), expected);
  }
  for (const auto& [document, secret, expected] : Rows<std::string, std::string, std::string>{
           {R"({"plan": {"error": "plan"}, "waits":true})", "plan", R"({"plan": {"error": "••••"}, "waits":true})"},
           {R"({"a":["x\"y\\","true",1,true]})", "true", R"({"a":["x\"y\\","••••",1,true]})"},
           {R"({"a":"is p\u00e4ss\"w","b":""})", "p\u00e4ss\"w", R"({"a":"is ••••","b":""})"},
           {R"({"a":1})", "1", R"({"a":1})"},
       })
    EXPECT_EQ(blottedJSON(document, secret), expected) << document;
}

} // namespace kestu::tests
