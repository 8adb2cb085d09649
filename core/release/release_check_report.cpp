#include "core/release/release_check.hpp"

#include <fmt/format.h>

#include <algorithm>

namespace kestu::ReleaseCheck {

Finding unchecked(std::string rule, std::string_view what, const CLIError& reason) {
  return {Level::warning, std::move(rule), std::nullopt, fmt::format("{} checked: {}", what, reason.description)};
}

bool fails(const Findings& findings, bool strict) {
  return std::any_of(findings.begin(), findings.end(), [&](const Finding& finding) {
    return finding.level == Level::error || (strict && finding.level == Level::warning);
  });
}

std::string summary(const Findings& findings) {
  auto counted = [&](Level level) {
    auto count = std::count_if(findings.begin(), findings.end(), [&](const auto& each) { return each.level == level; });
    return count == 0 ? "" : fmt::format("{} {}{}", count, rawValue(level), count == 1 ? "" : "s");
  };
  std::string errors = counted(Level::error);
  std::string warnings = counted(Level::warning);
  return errors + (errors.empty() || warnings.empty() ? "" : ", with ") + warnings;
}

std::string list(const std::vector<std::string>& words, bool isOr) {
  std::string text;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (i > 0) text += i + 1 < words.size() ? ", " : isOr ? " or " : " and ";
    text += words[i];
  }
  return text;
}

} // namespace kestu::ReleaseCheck
