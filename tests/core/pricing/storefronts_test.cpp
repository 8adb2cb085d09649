#include "core/pricing/region_words.hpp"
#include "core/pricing/storefronts.hpp"
#include "core/support/error.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <vector>

namespace kestu::tests {
namespace {

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
  for (const auto& [name, code] : std::vector<std::pair<std::string, std::string>>{
           {"se", "se"}, {"SE", "se"}, {"SWE", "se"}, {"swe", "se"}, {"XKS", "xk"}, {"uk", ""}, {"eu", ""}, {"", ""}}) {
    const Storefront* found = Storefronts::find(name);
    EXPECT_EQ(found ? found->code : "", code) << name;
  }
}

TEST(RegionWords, NameTheirCountries) {
  struct Row {
    const char* word;
    std::size_t count;
    const char *first, *last;
  };
  for (const Row& row : std::vector<Row>{{"SWE", 1, "se", "se"},
                                         {" eu ", 27, "at", "sk"},
                                         {"EUR", 21, "at", "sk"},
                                         {"europe", 50, "al", "xk"},
                                         {"AsiaPacific", 33, "af", "vu"},
                                         {"latinamerica", 37, "ag", "vg"},
                                         {"uscanada", 2, "ca", "us"},
                                         {"africamiddleeast", 53, "ae", "zw"}}) {
    SCOPED_TRACE(row.word);
    auto word = RegionWord::read(row.word);
    ASSERT_EQ(word.storefronts.size(), row.count);
    EXPECT_EQ(word.isRegion, row.count > 1);
    EXPECT_EQ(word.storefronts.front(), row.first);
    EXPECT_EQ(word.storefronts.back(), row.last);
  }
}

TEST(RegionWords, ListsHaveEachCountryOnceAndTellOfAllThatIsWrong) {
  EXPECT_EQ(RegionWords::storefronts("us, USA,uscanada,my,,"), (std::vector<std::string>{"ca", "my", "us"}));
  const std::string isNone = RegionWords::isNone();
  for (const auto& [list, message] : std::vector<std::pair<std::string, std::string>>{
           {"my,sweden,x\ny,eu", "sweden" + isNone + "\nx y" + isNone}, {" ,", "\"\"" + isNone}}) {
    try {
      RegionWords::storefronts(list);
      ADD_FAILURE() << list;
    } catch (const CLIError& error) {
      EXPECT_EQ(error.kind, CLIError::Kind::usage);
      EXPECT_EQ(error.description, message);
    }
  }
}

} // namespace
} // namespace kestu::tests
