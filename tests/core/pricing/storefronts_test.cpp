#include "core/pricing/region_words.hpp"
#include "core/pricing/storefronts.hpp"
#include "tests/support/tables.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace kestu::tests {

TEST(Storefronts, AreInOrderAndFoundByEitherName) {
  const auto& all = Storefronts::all();
  EXPECT_TRUE(std::is_sorted(all.begin(), all.end(), [](const auto& a, const auto& b) { return a.code < b.code; }));
  std::set<std::string_view> territories;
  for (const Storefront& each : all) {
    territories.insert(each.territory);
    EXPECT_EQ(each.code.size() * 10 + each.territory.size(), 23U) << each.code;
    EXPECT_TRUE(each.eu || !each.euro) << each.code;
  }
  EXPECT_EQ(territories.size(), 175U);
  for (const auto& [name, code] : Rows<std::string, std::string>{
           {"se", "se"}, {"SE", "se"}, {"SWE", "se"}, {"swe", "se"}, {"XKS", "xk"}, {"uk", ""}, {"eu", ""}, {"", ""}}) {
    const Storefront* found = Storefronts::find(name);
    EXPECT_EQ(found ? found->code : "", code) << name;
  }
}

TEST(RegionWords, NameTheirCountries) {
  for (const auto& [word, count, first, last] :
       Rows<const char*, std::size_t, const char*, const char*>{{"SWE", 1, "se", "se"},
                                                                {" eu ", 27, "at", "sk"},
                                                                {"EUR", 21, "at", "sk"},
                                                                {"europe", 50, "al", "xk"},
                                                                {"AsiaPacific", 33, "af", "vu"},
                                                                {"latinamerica", 37, "ag", "vg"},
                                                                {"uscanada", 2, "ca", "us"},
                                                                {"africamiddleeast", 53, "ae", "zw"}}) {
    SCOPED_TRACE(word);
    auto read = RegionWord::read(word);
    ASSERT_EQ(read.storefronts.size(), count);
    EXPECT_EQ(read.isRegion, count > 1);
    EXPECT_EQ(read.storefronts.front(), first);
    EXPECT_EQ(read.storefronts.back(), last);
  }
}

TEST(RegionWords, ListsHaveEachCountryOnceAndTellOfAllThatIsWrong) {
  EXPECT_EQ(RegionWords::storefronts("us, USA,uscanada,my,,"), (std::vector<std::string>{"ca", "my", "us"}));
  const std::string isNone = RegionWords::isNone();
  for (const auto& [list, message] : Rows<std::string, std::string>{
           {"my,sweden,x\ny,eu", "sweden" + isNone + "\nx y" + isNone}, {" ,", "\"\"" + isNone}})
    EXPECT_EQ(outcomeOf([words = list] { RegionWords::storefronts(words); }), message);
}

} // namespace kestu::tests
