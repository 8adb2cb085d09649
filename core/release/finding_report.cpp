#include "core/release/finding_report.hpp"

#include "core/console/printable.hpp"
#include "core/console/readable.hpp"
#include "core/support/text.hpp"
#include "core/support/utf8.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <utility>

namespace kestu::ReleaseCheck {

namespace {

/// All that was found of one rule in one language, or of none.
struct Case {
  std::string rule;
  std::optional<std::string> locale;
  std::vector<const Finding*> found{};

  std::string name() const { return rule + (locale ? " " + *locale : ""); }
};

bool failsCheck(const Finding& finding, bool strict) {
  return finding.level == Level::error || (strict && finding.level == Level::warning);
}

std::string pathOf(const Finding& finding, const Reporting& reporting) {
  return reporting.folder.empty() ? *finding.file : reporting.folder + "/" + *finding.file;
}

bool has(const Findings& findings, const std::string& rule, const std::optional<std::string>& locale) {
  return std::any_of(findings.begin(), findings.end(),
                     [&](const Finding& each) { return each.rule == rule && each.locale == locale; });
}

std::vector<Case> casesOf(const Findings& findings, const Checked& checked) {
  std::vector<Case> cases;
  for (const Finding& finding : findings) {
    auto known = std::find_if(cases.begin(), cases.end(), [&](const Case& each) {
      return each.rule == finding.rule && each.locale == finding.locale;
    });
    if (known == cases.end()) known = cases.insert(cases.end(), {finding.rule, finding.locale});
    known->found.push_back(&finding);
  }
  for (const std::string& locale : checked.languages) {
    for (const std::string& rule : checked.textRules) {
      // A finding of no language tells that the rule wasn't looked at.
      if (!has(findings, rule, locale) && !has(findings, rule, std::nullopt)) cases.push_back({rule, locale});
    }
  }
  for (const std::string& rule : checked.rules) {
    bool isFound = std::any_of(findings.begin(), findings.end(), [&](const auto& each) { return each.rule == rule; });
    if (!isFound) cases.push_back({rule, std::nullopt});
  }
  return cases;
}

/// Text for an element or an attribute; characters that XML can't have are left out.
std::string xml(std::string_view text) {
  std::string result;
  for (std::size_t at = 0; at < text.size();) {
    UTF8::Decoded decoded = UTF8::decode(text, at);
    at += decoded.length;
    switch (decoded.value) {
    case '&':
      result += "&amp;";
      break;
    case '<':
      result += "&lt;";
      break;
    case '>':
      result += "&gt;";
      break;
    case '"':
      result += "&quot;";
      break;
    default:
      bool control = decoded.value < 0x20 && decoded.value != '\n';
      if (!control && decoded.value != 0xFFFE && decoded.value != 0xFFFF) UTF8::append(result, decoded.value);
    }
  }
  return result;
}

std::string attribute(std::string_view name, std::string_view text) {
  return fmt::format(" {}=\"{}\"", name, xml(printable(text)));
}

std::string linesOf(const Case& each) {
  std::vector<std::string> lines;
  for (const Finding* finding : each.found) {
    lines.push_back(fmt::format("{}: {}", rawValue(finding->level), printable(readableStart(finding->message))));
  }
  return xml(Text::joined(lines, "\n"));
}

const Finding* failureOf(const Case& each, bool strict) {
  auto found = std::find_if(each.found.begin(), each.found.end(),
                            [&](const Finding* finding) { return failsCheck(*finding, strict); });
  return found == each.found.end() ? nullptr : *found;
}

std::string element(const Case& each, const std::string& className, const Reporting& reporting) {
  std::string head = "    <testcase" + attribute("classname", className) + attribute("name", each.name());
  auto placed =
      std::find_if(each.found.begin(), each.found.end(), [](const Finding* finding) { return bool(finding->file); });
  if (placed != each.found.end()) {
    head += attribute("file", pathOf(**placed, reporting));
    if ((*placed)->line > 0) head += attribute("line", std::to_string((*placed)->line));
  }
  if (each.found.empty()) return head + "/>\n";
  const Finding* failure = failureOf(each, reporting.strict);
  std::string body =
      failure ? fmt::format("<failure{}{}>{}</failure>", attribute("message", readableStart(failure->message)),
                            attribute("type", rawValue(failure->level)), linesOf(each))
              : "<system-out>" + linesOf(each) + "</system-out>";
  return head + ">\n      " + body + "\n    </testcase>\n";
}

/// "kestu.release-check" of "kestu release check 1.2", which stays the same from version to version.
std::string classNameOf(const std::string& command) {
  auto words = Text::words(command);
  words.resize(std::min<std::size_t>(words.size(), 3));
  std::string name = words.front() + ".";
  words.erase(words.begin());
  return name + Text::joined(words, "-");
}

/// As GitHub reads a command's text, and with `property` what stands before it too.
std::string escaped(std::string_view text, bool property) {
  std::string result;
  for (char c : printable(text)) {
    bool special = c == '%' || (property && (c == ':' || c == ','));
    result += special ? fmt::format("%{:02X}", static_cast<unsigned char>(c)) : std::string(1, c);
  }
  return result;
}

std::string_view annotationOf(const Finding& finding, bool strict) {
  if (failsCheck(finding, strict)) return "error";
  return finding.level == Level::warning ? "warning" : "notice";
}

} // namespace

std::string junit(const Findings& findings, const Checked& checked, const Reporting& reporting) {
  std::vector<Case> cases = casesOf(findings, checked);
  if (cases.empty()) cases.push_back({"check", std::nullopt}); // some systems take a report without a case for a fault
  auto failures = std::count_if(cases.begin(), cases.end(),
                                [&](const Case& each) { return failureOf(each, reporting.strict) != nullptr; });
  std::string counts = attribute("name", reporting.command) + attribute("tests", std::to_string(cases.size())) +
                       attribute("failures", std::to_string(failures)) + attribute("errors", "0");
  std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites" + counts + ">\n  <testsuite" + counts +
                     attribute("skipped", "0") + ">\n";
  for (const Case& each : cases) text += element(each, classNameOf(reporting.command), reporting);
  return text + "  </testsuite>\n</testsuites>\n";
}

std::string githubAnnotations(const Findings& findings, const Reporting& reporting) {
  Findings sorted = findings;
  std::stable_sort(sorted.begin(), sorted.end(), [](const auto& a, const auto& b) { return a.level < b.level; });
  std::string text;
  for (const Finding& finding : sorted) {
    text += fmt::format("::{} ", annotationOf(finding, reporting.strict));
    if (finding.file) text += "file=" + escaped(pathOf(finding, reporting), true) + ",";
    if (finding.file && finding.line > 0) text += fmt::format("line={},", finding.line);
    std::string title = "kestu: " + finding.rule + (finding.locale ? " " + *finding.locale : "");
    text += "title=" + escaped(title, true) + "::" + escaped(finding.message, false) + "\n";
  }
  return text;
}

} // namespace kestu::ReleaseCheck
