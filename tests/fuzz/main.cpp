#include "tests/fuzz/fuzz.hpp"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

const kestu::fuzz::Target* target = nullptr;

} // namespace

/// One program for all targets: KESTU_FUZZ_TARGET names the one, and without it their names are printed.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
  const char* wanted = std::getenv("KESTU_FUZZ_TARGET");
  for (const auto& each : kestu::fuzz::targets()) {
    if (!wanted) std::puts(std::string(each.name).c_str());
    if (wanted && each.name == wanted) target = &each;
  }
  if (!target) std::exit(wanted ? 2 : 0);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // A copy of exactly this size, so that reading past it is seen.
  std::string bytes(reinterpret_cast<const char*>(data), size);
  bytes.shrink_to_fit();
  target->run(bytes);
  return 0;
}
