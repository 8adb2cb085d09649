#pragma once

#include "core/support/error.hpp"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <vector>

/// What the tables of tests are written with.
namespace kestu::tests {

/// A table's rows, whose columns the loop over them names.
template <class... Columns>
using Rows = std::vector<std::tuple<Columns...>>;

/// What the work gives, "" where that is nothing, or what is said where it is refused.
template <class Error = CLIError, class Work>
std::string outcomeOf(const Work& work) {
  try {
    if constexpr (std::is_void_v<decltype(work())>) {
      work();
      return "";
    } else {
      return work();
    }
  } catch (const Error& error) {
    return error.what();
  }
}

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
