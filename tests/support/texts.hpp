#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace kestu::tests {

/// Whether the text has the part, or begins or ends with it; the text is shown where it was expected otherwise.
inline testing::AssertionResult has(const std::string& text, const std::string& part) {
  return testing::AssertionResult(text.find(part) != std::string::npos) << text;
}
inline testing::AssertionResult begins(const std::string& text, const std::string& part) {
  return testing::AssertionResult(text.starts_with(part)) << text;
}
inline testing::AssertionResult ends(const std::string& text, const std::string& part) {
  return testing::AssertionResult(text.ends_with(part)) << text;
}
/// Of what tells only of troubles: it has the part, or is empty where the part is.
inline testing::AssertionResult tells(const std::string& text, const std::string& part) {
  return testing::AssertionResult(text.find(part) != std::string::npos && text.empty() == part.empty()) << text;
}

inline std::string repeated(std::string_view text, std::size_t count) {
  std::string all;
  for (std::size_t i = 0; i < count; ++i) all += text;
  return all;
}

} // namespace kestu::tests
