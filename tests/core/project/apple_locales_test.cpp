#include "core/project/apple_locales.hpp"
#include "tests/support/tables.hpp"

#include <gtest/gtest.h>

#include <algorithm>

namespace kestu::tests {
namespace {

using AppleLocales::Standing;

TEST(AppleLocales, JudgesANameAndFindsWhatItMeant) {
  for (const auto& [name, standing, near] : Rows<std::string, Standing, std::string>{
           {"de_DE", Standing::refused, "de-DE"},
           {"de-de", Standing::refused, "de-DE"},
           {"german", Standing::refused, "de-DE"},
           {"English", Standing::refused, "en-US"},
           {"English (U.K.)", Standing::refused, "en-GB"},
           {"Chinese (Traditional)", Standing::refused, "zh-Hant"},
           {"Chinese", Standing::refused, "zh-Hans"},
           {"zh_Hant_TW", Standing::refused, "zh-Hant"},
           {"ptbr", Standing::refused, "pt-BR"},
           {"fr_CA.lproj", Standing::refused, "fr-CA"},
           {"de", Standing::unknown, "de-DE"},
           {"de-AT", Standing::unknown, "de-DE"},
           {"zh-HK", Standing::unknown, "zh-Hant"},
           {"es-419", Standing::unknown, "es-MX"},
           {"iw", Standing::unknown, "he"},
           {"en-US-old", Standing::unknown, ""},
           {"default", Standing::refused, ""},
           {"android", Standing::refused, ""},
           {"", Standing::refused, ""},
           {"de-DE\n", Standing::refused, "de-DE"},
       }) {
    SCOPED_TRACE(name);
    EXPECT_EQ(AppleLocales::standing(name), standing);
    EXPECT_EQ(AppleLocales::near(name).value_or(""), near);
  }
}

TEST(AppleLocales, AreKnownByTheirShape) {
  for (const char* code : {"en", "en-US", "de-DE", "zh-Hans", "pt-BR", "sr-Latn-RS", "ca-ES-valencia-12345678", "fil"})
    EXPECT_TRUE(AppleLocales::localeShape(code)) << code;
  for (const char* code : {"", "e", "engl", "en-", "-US", "en-U", "en_US", "en-123456789", "a1", "en-US-aa-bb-cc",
                           "screenshots", "../en", "en-US/x", "en-ÜS", "en-US ", "default"}) {
    EXPECT_FALSE(AppleLocales::localeShape(code)) << code;
  }
}

TEST(AppleLocales, AreWellFormedInOrderAndMeanThemselves) {
  const auto& all = AppleLocales::all();
  EXPECT_TRUE(std::is_sorted(all.begin(), all.end(), [](const auto& a, const auto& b) { return a.code < b.code; }));
  for (const AppleLocale& each : all) {
    SCOPED_TRACE(each.code);
    EXPECT_EQ(AppleLocales::standing(each.code), Standing::apples);
    EXPECT_EQ(AppleLocales::near(each.code), each.code);
    EXPECT_EQ(AppleLocales::near(each.name), each.code);
  }
}

} // namespace
} // namespace kestu::tests
