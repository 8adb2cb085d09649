#pragma once

#include "core/release/finding.hpp"

#include <string>
#include <string_view>
#include <vector>

namespace kestu::ReleaseCheck {

/// What a check looked at, so that a report can say what passed.
struct Checked {
  std::vector<std::string> languages{}; ///< whose texts
  std::vector<std::string> textRules{}; ///< for each of them
  std::vector<std::string> rules{};     ///< beside the texts
};

/// How findings are reported to a CI.
struct Reporting {
  std::string command; ///< "kestu release check 1.2"
  std::string folder;  ///< of the project within its repository, which a CI's paths begin at; empty for the top
  bool strict = false; ///< warnings fail too
};

/// JUnit's XML: a test case for each rule and language, in which what fails the check is a failure and all else passed.
std::string junit(const Findings& findings, const Checked& checked, const Reporting& reporting);

/// A line for each finding that GitHub Actions shows beside its file, the heaviest first, since it shows ten of a kind.
std::string githubAnnotations(const Findings& findings, const Reporting& reporting);

} // namespace kestu::ReleaseCheck
