#include "core/release/finding_table.hpp"

#include "core/console/printable.hpp"
#include "core/console/readable.hpp"

#include <algorithm>

namespace kestu::ReleaseCheck {

namespace {

std::string styled(Level level, const TextStyles& style) {
  switch (level) {
  case Level::error:
    return style.red(rawValue(level));
  case Level::warning:
    return style.amber(rawValue(level));
  case Level::note:
    return style.dim(rawValue(level));
  }
  return {};
}

} // namespace

Table rows(const Findings& findings) {
  Table table;
  table.headings = {"Level", "Language", "Message"};
  for (const Finding& finding : findings) {
    table.rows.push_back(
        {std::string(rawValue(finding.level)), printable(finding.locale.value_or("")), printable(finding.message)});
  }
  return table;
}

std::string table(const Findings& findings, const TextStyles& style) {
  bool anyLanguage = std::any_of(findings.begin(), findings.end(), [](const auto& each) { return each.locale; });
  std::vector<std::vector<std::string>> lines;
  for (const Finding& finding : findings) {
    std::vector<std::string>& line = lines.emplace_back();
    line.push_back(styled(finding.level, style));
    if (anyLanguage) line.push_back(printable(finding.locale.value_or(""))); // none anywhere needs no column
    line.push_back(printable(readableStart(finding.message)));
  }
  return Format::table(lines);
}

} // namespace kestu::ReleaseCheck
