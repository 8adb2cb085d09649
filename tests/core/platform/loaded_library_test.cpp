#include "core/platform/loaded_library.hpp"
#include "tests/support/tables.hpp"

#include <gtest/gtest.h>

namespace kestu::tests {

TEST(LoadedLibrary, SaysWhatIsMissing) {
  struct Row {
    std::initializer_list<const char*> names;
    const char* function;
    std::string missing; // in the message; empty where it can be called
  };
  for (const Row& row : {Row{{"libkestu-none.so", "libm.so.6", "libSystem.dylib"}, "floor", ""},
                         Row{{"libm.so.6", "libSystem.dylib"}, "kestuNone", "kestuNone"},
                         Row{{"libkestu-none.so", "libkestu-other.so"}, "floor", "libkestu-other.so"}}) {
    auto call = [&] { EXPECT_EQ(LoadedLibrary(row.names).function<double (*)(double)>(row.function)(2.5), 2); };
    EXPECT_TRUE(tells(outcomeOf<NotLoaded>(call), row.missing));
  }
}

} // namespace kestu::tests
