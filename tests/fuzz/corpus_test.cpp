#include "core/support/files.hpp"
#include "tests/fuzz/fuzz.hpp"

#include <gtest/gtest.h>

#include <algorithm>

namespace fs = std::filesystem;

namespace kestu::tests {
namespace {

/// What the fuzzer found worth keeping, and what once broke a rule.
TEST(FuzzCorpus, EveryTargetsInputsKeepItsRules) {
  const fs::path corpus = KESTU_CORPUS;
  for (const fuzz::Target& target : fuzz::targets()) {
    SCOPED_TRACE(target.name);
    auto names = Files::entries(corpus / target.name);
    EXPECT_FALSE(names.empty());
    std::sort(names.begin(), names.end());
    for (const std::string& name : names) {
      EXPECT_NO_THROW(target.run(*Files::read(corpus / target.name / name, 1 << 20))) << name;
    }
  }
  EXPECT_EQ(Files::entries(corpus).size(), fuzz::targets().size());
}

} // namespace
} // namespace kestu::tests
