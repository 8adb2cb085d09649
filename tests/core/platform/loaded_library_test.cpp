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

TEST(LoadedLibrary, LooksForPartsWhereTheyAreInstalled) {
  auto files = LoadedLibrary::partFiles("/opt/my apps/bin", "libkestu-part");
  std::vector<std::filesystem::path> folders;
  for (const auto& file : files) {
    EXPECT_EQ(file.stem(), "libkestu-part");
    if (folders.empty() || folders.back() != file.parent_path()) folders.push_back(file.parent_path());
  }
  EXPECT_EQ(folders,
            (std::vector<std::filesystem::path>{"/opt/my apps/lib", "/opt/my apps/lib/kestu", "/opt/my apps/bin"}));
  try {
    LoadedLibrary::part("libkestu-none");
    FAIL();
  } catch (const NotLoaded& error) {
    EXPECT_STREQ(error.what(), "libkestu-none isn't there");
  }
}

} // namespace
} // namespace kestu::tests
