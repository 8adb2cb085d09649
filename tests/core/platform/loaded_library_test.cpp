#include "core/platform/loaded_library.hpp"

#include <gtest/gtest.h>

namespace kestu::tests {
namespace {

TEST(LoadedLibrary, SaysWhatIsMissing) {
  struct Row {
    std::initializer_list<const char*> names;
    const char* function;
    std::string missing; // in the message; empty where it can be called
  };
  for (const Row& row : {Row{{"libkestu-none.so", "libm.so.6", "libSystem.dylib"}, "floor", ""},
                         Row{{"libm.so.6", "libSystem.dylib"}, "kestuNone", "kestuNone"},
                         Row{{"libkestu-none.so", "libkestu-other.so"}, "floor", "libkestu-other.so"}}) {
    SCOPED_TRACE(row.missing);
    std::string message;
    try {
      EXPECT_EQ(LoadedLibrary(row.names).function<double (*)(double)>(row.function)(2.5), 2);
    } catch (const NotLoaded& error) {
      message = error.what();
    }
    EXPECT_EQ(message.empty(), row.missing.empty()) << message;
    EXPECT_NE(message.find(row.missing), std::string::npos) << message;
  }
}

} // namespace
} // namespace kestu::tests
